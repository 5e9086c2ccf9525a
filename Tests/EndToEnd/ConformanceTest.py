#!/usr/bin/python3
"""Runs zentravox-kit against a host with the demo show, and against recordings of remotes with one fault each."""

import copy
import json
import os
import subprocess
import unittest
from pathlib import Path
from xml.etree import ElementTree

from Support import TIMEOUT, Folder, ShowHost, environment
from zentravox import App
from zentravox.conformance import Outcome
from zentravox.conformance.recording_rules import check_recording
from zentravox.wire import CLOUD_PORT, FP_PORT

HOST, PEERS, NO_HOST = "127.0.0.155", "127.0.0.156", "127.0.0.157"
KIT = Path(os.environ["SHOWHOST"]).with_name("zentravox-kit")
HEARTBEAT, LOGIN, KEY, PROJECTS, PICTURE, SCENE_PLAY = 0x001, 0x003, 0x007, 0x109, 0x118, 0x306
ID = "06b21090-1257-47b3-8c95-420eefc52b90"
HOLDS, FAILS, NOT_CHECKED = range(3)


def kit(*arguments):
    return subprocess.run([KIT, *map(str, arguments)], capture_output=True, encoding="utf-8", timeout=8 * TIMEOUT,
                          env=environment(SHOWREMOTE_PASSWORD="demo"))


class HostTest(unittest.TestCase):
    def test_all_rules_hold_for_the_demo_host_and_the_reports_have_all_results(self):
        with Folder() as folder:
            with ShowHost(HOST, folder / "state", "--fp", f"{PEERS}:{FP_PORT}", "--cloud", f"ws://{PEERS}:{CLOUD_PORT}"):
                result = kit("check", "--host", HOST, "--user", "demo", "--allow-changes", "--listen", PEERS, "--timeout", TIMEOUT,
                             "--report", folder / "report.html", "--junit", folder / "junit.xml", "--json", folder / "r.json")
            page = (folder / "report.html").read_text(encoding="utf-8")
            suite = ElementTree.parse(folder / "junit.xml").getroot()
            results = json.loads((folder / "r.json").read_text(encoding="utf-8"))

        self.assertEqual((result.returncode, result.stderr), (HOLDS, ""), result.stdout)
        self.assertIn(f"{results['summary']}\n", result.stdout)
        self.assertEqual([rule["rule"] for rule in results["rules"] if rule["outcome"] == "not tried"], ["CHG-017", "CHG-019"])
        numbers = {rule["rule"] for rule in results["rules"]}
        self.assertGreater(len(numbers), 300)
        self.assertEqual({case.get("name").split()[0] for case in suite.iter("testcase")}, numbers)
        self.assertTrue(all(f"<td>{number}<" in page for number in numbers))
        self.assertNotRegex(page, "(src|href)=")
        listed = {line.split()[0] for line in kit("rules").stdout.splitlines()}
        self.assertEqual({number for number in listed if not number.startswith("REM-")}, numbers)

    def test_wrong_usage_and_a_missing_host_are_reported_in_one_line(self):
        for arguments, text in ((("--host", NO_HOST), f"can't connect to the app's ports of {NO_HOST}"),
                                (("--host", "stage"), "--host: expected an IP address"),
                                (("--host", HOST, "--only", "XYZ"), "--only: expected the number of a rule"),
                                (("--host", HOST, "--channel", "x"), "--channel: expected one of app control"),
                                ((), "expected either --host ADDRESS or --recording FILE")):
            result = kit("check", *arguments)
            self.assertEqual((result.returncode, result.stderr.count("\n")), (NOT_CHECKED, 1), result.stderr)
            self.assertIn(text, result.stderr)


def good_traffic():
    """Returns the records of a remote without a fault, as (channel, sender, kind, fields)."""
    login = {"username": "demo", "password": "***"}
    records = [("app discovery", "remote", "message", {"text": "App Server request Zentravox Controller"}),
               ("app control", "remote", "opened", {}), ("app bulk", "remote", "opened", {})]
    for code, body, reply in ((KEY, {}, {"publicKey": "x"}), (LOGIN, {**login}, {"result": 3}),
                              (LOGIN, {**login, "force": 1}, {"result": 0}), (HEARTBEAT, {}, {"result": 1}),
                              (PICTURE, {"mediaId": ID}, None), (SCENE_PLAY, {"sceneCol": 1}, {"result": 0}),
                              (HEARTBEAT, {}, {"result": 1})):
        records.append(("app control", "remote", "message", {"code": f"0x{code:03x}", "body": body}))
        records.append(("app bulk" if reply is None else "app control", "host", "message",
                        {"code": f"0x{code:03x}", "replyTo": len(records), "body": reply or {}}))
    return records + [
        ("app bulk", "remote", "message", {"code": "0x001"}), ("app control", "host", "message", {"code": "0x012"}),
        ("app control", "host", "closed", {"note": "the peer closed the connection"}), ("central control", "remote", "message", {"body": {"cmd": "getHDR"}}),
        ("central control", "remote", "message", {"text": "getHDR"}), ("cloud", "remote", "message", {"body": {"cmdType": 0x16}}),
        ("FP", "remote", "message", {"code": f"0x{PROJECTS:03x}", "body": {}})]


PLACE = {name: place for place, name in enumerate((
    "discovery", "opened", "bulk opened", "key", "key reply", "login", "refusal", "forced", "forced reply", "beat", "beat reply",
    "picture", "picture reply", "play", "play reply", "last beat", "last reply", "bulk beat", "gone", "closed", "query",
    "keyword", "information", "projects"))}
# The rule that must fail, and the changes: the record's name with the fields that replace its own, or the time in seconds.
FAULTS = {
    "REM-001": {"beat": {"code": "0x191"}}, "REM-002": {"bulk beat": {"code": "0x300"}}, "REM-003": {"projects": {"code": "0x100"}},
    "REM-004": {"play": {"body": {"sceneCol": "1"}}}, "REM-005": {"bulk beat": {"body": {"a": 1}}},
    "REM-006": {"query": {"body": {"cmd": "globalVolume", "param": "50"}}},
    "REM-007": {"information": {"body": {"cmd": "globalVolume", "param": 101}}}, "REM-008": {"projects": {"body": {"a": 1}}},
    "REM-009": {"beat": {"body": None, "text": "x"}}, "REM-010": {"projects": {"body": [1]}},
    "REM-011": {"information": {"body": None, "text": "x"}}, "REM-012": {"keyword": {"text": "getHdr"}},
    "REM-013": {"information": {"body": {"cmdType": "0x16"}}}, "REM-014": {"key": {"code": "0x005"}},
    "REM-015": {"last beat": 9.0}, "REM-016": {"last beat": 3.5}, "REM-017": {"gone": None},
    "REM-018": {"refusal": {"body": {"result": 2}}}, "REM-019": {"play reply": {"replyTo": 1}},
    "REM-020": {}, "REM-021": {"bulk opened": None}, "REM-022": {"discovery": {"text": "app server"}},
}


def recording(changes, flood=False):
    """Returns the text of a recording with these changes. flood: it ends with many requests without a reply."""
    records = copy.deepcopy(good_traffic())
    lines, late = [{"recording": 1, "contract": "1.0.0", "program": "test", "started": "2026-11-23T16:00:00Z"}], 0
    for number, (channel, sender, kind, fields) in enumerate(records, 1):
        change = changes.get(next(name for name, place in PLACE.items() if place == number - 1), {})
        late = change if isinstance(change, float) else late
        if change is None and kind == "opened":
            continue
        if isinstance(change, dict):
            fields = {key: value for key, value in {**fields, **change}.items() if value is not None}
        lines.append({"n": number, "t": number / 100 + late, "channel": channel, "connection": 1, "peer": "127.0.0.1:5000",
                      "from": sender, "kind": kind, **fields})
    if "gone" in changes:  # a request after the notice
        lines.append({**lines[4], "n": 99, "code": "0x300"})
    lines += [{**lines[4], "n": 100 + number, "body": {}} for number in range(40 if flood else 0)]
    return "".join(json.dumps(line) + "\n" for line in lines)


class RecordingTest(unittest.TestCase):
    def setUp(self):
        self.file = self.enterContext(Folder()) / "traffic.jsonl"

    def check(self, text):
        self.file.write_text(text, encoding="utf-8")
        return kit("check", "--recording", self.file)

    def test_a_correct_remote_passes_and_each_fault_is_found_by_its_rule(self):
        result = self.check(recording({}))
        self.assertEqual((result.returncode, result.stderr), (HOLDS, ""), result.stdout)
        self.assertIn("22 of 22 rules hold\n", result.stdout)
        for rule, changes in FAULTS.items():
            with self.subTest(rule=rule):
                self.file.write_text(recording(changes, flood=not changes), encoding="utf-8")
                result = next(result for result in check_recording(self.file) if result.rule.number == rule)
                self.assertIs(result.outcome, Outcome.FAILS)
                self.assertRegex(result.reason, r"^record \d+ \(")
        self.assertEqual(self.check(recording(FAULTS["REM-015"])).returncode, FAILS)
        self.assertEqual(self.check(recording(FAULTS["REM-016"])).returncode, HOLDS)

    def test_the_recording_of_the_package_s_app_has_no_fault(self):
        with ShowHost(HOST, self.file.parent / "state", "--record", self.file), App(HOST) as app:
            app.log_in("demo", "demo")
            medium = app.request("media-list")["mediaList"]["0"]["mediaId"]
            app.picture("media-thumbnail", mediaId=medium)
            app.request("scene-play", sceneGrpCol=1, sceneCol=2)
            app.wait_for_notice("scene-play")
        results = {result.rule.number: result for result in check_recording(self.file)}

        self.assertEqual([result.reason for result in results.values() if result.outcome is Outcome.FAILS], [])
        self.assertTrue(all(results[rule].outcome is Outcome.HOLDS for rule in ("REM-001", "REM-004", "REM-014", "REM-015", "REM-021")))

    def test_a_bad_file_is_reported_with_line_and_reason(self):
        good = recording({})
        for text, reason in (("", "line 1: the header is missing"), (good.replace('"message"', '"talk"', 1), 'line 2: "kind": expected'),
                             (good + "{", "line 26: "), ('{"recording": 2}\n', "line 1: expected a recording of format 1")):
            result = self.check(text)
            self.assertEqual(result.returncode, NOT_CHECKED)
            self.assertIn(f"traffic.jsonl: {reason}", result.stderr)


if __name__ == "__main__":
    unittest.main()
