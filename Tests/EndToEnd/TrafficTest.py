#!/usr/bin/python3
"""Tests recordings of the traffic: secrets, replay, summary, and the capture in tshark."""

import contextlib
import ftplib
import json
import os
import shutil
import signal
import struct
import subprocess
import unittest

import ProtocolTest as protocol
from Support import TIMEOUT, Folder, ShowHost, environment, showremote, wait_until
from zentravox import App, CentralControl, CloudService, FpController, discover
from zentravox.contract import Contract
from zentravox.recording import Recording
from zentravox.wire import CLOUD_PORT, CONTROL_PORT, FP_PORT, FTP_PORT, REPLY, envelope

HOST, SECOND, REMOTES = "127.0.0.142", "127.0.0.143", "127.0.0.144"
REMOTES_OPTIONS = ("--fp", f"{REMOTES}:{FP_PORT}", "--cloud", f"ws://{REMOTES}:{CLOUD_PORT}")
APP_SECRET, FTP_SECRET, WRONG_SECRET = "Probe-4711", "Ballon-4712", "Falsch-4713"
LOGIN_IDENTITY, FP_PAIRING_CODE, SYSTEM_INFORMATION = 0x006, 0x013, 0x016
MAX_PACKET = 262_000  # bytes; larger packets are cut off
ENVELOPES = ("app control", "app bulk", "FP")


def tshark(dissector, capture, *fields):
    command = ["tshark", "-X", f"lua_script:{dissector}", "-r", str(capture), "-T", "fields", "-E", "occurrence=a",
               "-E", "aggregator=|"]
    result = subprocess.run([*command, *(part for field in fields for part in ("-e", field))], capture_output=True,
                            encoding="utf-8", check=True, timeout=TIMEOUT)
    return [dict(zip(fields, line.split("\t"))) for line in result.stdout.splitlines()]


def segments(data, port, *splits):
    """Returns a capture (pcapng, raw IPv4) of a TCP stream to the port, one packet per part."""
    def block(kind, body):
        body += b"\0" * (-len(body) % 4)
        return struct.pack("<II", kind, len(body) + 12) + body + struct.pack("<I", len(body) + 12)

    capture = block(0x0a0d0d0a, struct.pack("<IHHq", 0x1a2b3c4d, 1, 0, -1)) + block(1, struct.pack("<HHI", 101, 0, 0))
    for start, end in zip((0, *splits), (*splits, len(data))):
        part = struct.pack(">HHIIBBHHH", 50000, port, 1 + start, 1, 0x50, 0x18, 65535, 0, 0) + data[start:end]
        packet = struct.pack(">BBHHHBBHII", 0x45, 0, 20 + len(part), 0, 0, 64, 6, 0, 0x7f000001, 0x7f000001) + part
        capture += block(6, struct.pack("<IIIII", 0, 0, start, len(packet), len(packet)) + packet)
    return capture


class RecordingTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = cls.enterClassContext(Folder())
        cls.file = cls.folder / "evening.jsonl"
        cls.state = cls.folder / "state"
        read, write = os.pipe()
        os.write(write, APP_SECRET.encode() + b"\n")
        os.close(write)
        subprocess.run([os.environ["SHOWHOST"], "--state", cls.state, "--add-user", "Ines", "--password-fd", str(read)],
                       pass_fds=[read], check=True, env=environment(), capture_output=True)
        settings = cls.folder / "settings.json"
        settings.write_text(json.dumps({**json.loads((cls.state / "settings.json").read_text(encoding="utf-8")),
                                        "ftp": {"user": "uploads", "password": FTP_SECRET}}))
        cls.play(settings)
        cls.recording = Recording(cls.file)

    @classmethod
    def play(cls, settings):
        """Records requests on all channels."""
        with FpController(REMOTES) as controller, CloudService(REMOTES) as service, contextlib.ExitStack() as stack:
            options = ("--record", cls.file, "--settings", settings, *REMOTES_OPTIONS)
            stack.enter_context(ShowHost(HOST, cls.state, *options))
            fp, link = stack.enter_context(controller.accept()), stack.enter_context(service.accept())
            cls.cloud_secret = link.login[1]
            with App(HOST) as app:
                cls.login_secret = app.request(LOGIN_IDENTITY)["password"]
                app.try_log_in("Ines", WRONG_SECRET)
                app.log_in("Ines", APP_SECRET)
                app.stop_heartbeats()
                app.request("stage-snapshot")
            discover(HOST)
            with CentralControl(HOST) as central:
                central.ask(cmd="getBlackAll")
                central.ask(cmd="nonsense")
            fp.send(FP_PAIRING_CODE)
            cls.pairing_secret = fp.receive()[1]["AppQRCode"].split(",")[1]
            link.send(cmdType=SYSTEM_INFORMATION)
            link.receive()
            with ftplib.FTP() as ftp:
                ftp.connect(HOST, FTP_PORT)
                with contextlib.suppress(ftplib.error_perm):
                    ftp.login("uploads", WRONG_SECRET)
                ftp.login("uploads", FTP_SECRET)
                ftp.quit()

    def test_the_recording_has_all_channels_and_links_replies_to_requests(self):
        messages = [record for record in self.recording if record.kind == "message"]
        self.assertEqual({record.channel for record in messages},
                         {"app control", "app discovery", "app upload", "central control", "cloud", "FP"})
        numbers = {record.n: record for record in messages}
        for record in messages:
            if record.sender == "host" and record.channel != "app upload":
                request = numbers[record.reply_to]
                self.assertEqual((request.sender, request.code), ("remote", record.code))
        self.assertEqual(self.recording.header["contract"], Contract().text["version"])

    def test_the_recording_has_no_secret(self):
        text = self.file.read_text(encoding="utf-8")
        self.assertTrue(self.login_secret and self.cloud_secret and self.pairing_secret)
        hidden = [key for key, value in secrets(Contract().text)]
        self.assertEqual(sorted(hidden), ["AppQRCode", "PASS", "password", "password", "password"])
        for secret in (APP_SECRET, FTP_SECRET, WRONG_SECRET, f'"{self.login_secret}"', f"PASS {self.cloud_secret}",
                       self.pairing_secret):
            self.assertNotIn(secret, text)
        passwords = [record.payload["password"] for record in self.recording
                     if isinstance(record.payload, dict) and "password" in record.payload]
        self.assertEqual(passwords, ["***"] * 3)
        self.assertIn("PASS ***", [record.payload for record in self.recording])

    def replay(self, file, *options, host=(), password=APP_SECRET):
        """Replays the file to a new host."""
        shutil.rmtree(self.folder / "second", ignore_errors=True)
        shutil.copytree(self.state, self.folder / "second")
        with ShowHost(SECOND, self.folder / "second", *REMOTES_OPTIONS, *host):
            return showremote("replay", file, "--host", SECOND, "--listen", REMOTES, "--speed", "max", *options,
                              SHOWREMOTE_PASSWORD=password)

    def test_a_replay_reports_what_differs(self):
        clean = self.replay(self.file)
        self.assertEqual((clean.returncode, clean.stderr), (0, ""), clean.stdout)
        # The wrong password was replaced by the right one.
        strict = self.replay(self.file, "--strict", "--channel", "app control")
        self.assertEqual(strict.returncode, 1)
        self.assertIn("app control, login (0x003): $.result: 0 instead of 2", strict.stdout)

        changed = {"channel": "app control", "request": "stage-snapshot", "action": "reply", "body": {"result": "1"}}
        rules = self.folder / "faults.json"
        rules.write_text(json.dumps({"faults": [changed]}))
        other = self.replay(self.file, "--channel", "app control", host=("--faults", rules))
        self.assertEqual(other.returncode, 1)
        self.assertRegex(other.stdout, r"record \d+, app control, stage-snapshot \(0x100\): \$\.\w+: missing\n")

    def test_a_bad_recording_is_refused_with_its_line_and_the_reason(self):
        first = self.file.read_text(encoding="utf-8").splitlines()[0]
        bad = self.folder / "bad.jsonl"
        for text, reason in (("", ":1: not a recording"), ("{}\n", ":1: not a recording"), (first + "\n{\n", ":2: "),
                             (first + '\n{"n": 1}\n', ":2: \"t\" must be"), (first.replace("1", "2", 1) + "\n", ":1: \"recording\" must be 1")):
            bad.write_text(text)
            for command in ("replay", "recording"):
                result = showremote(command, bad)
                self.assertEqual((result.returncode, result.stdout), (2, ""))
                self.assertIn(f"bad.jsonl{reason}", result.stderr)

    def test_the_summary_counts_messages_and_refusals(self):
        result = showremote("recording", self.file)
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertRegex(result.stdout, r"(?m)^app control, login +2 +2 +1 +\d")
        self.assertRegex(result.stdout, r"(?m)^central control, - +1 +1 +1 +\d")

    def test_tshark_shows_what_the_recording_of_all_examples_has(self):
        file, capture, dissector = (self.folder / name for name in ("all.jsonl", "all.pcapng", "zxap.lua"))
        with contextlib.ExitStack() as stack:
            remotes = protocol.Remotes(REMOTES, stack.enter_context, "--record", file)
            protocol.Replay(Contract(), remotes, protocol.PAGE.read_text(encoding="utf-8"))
        result = showremote("recording", file, "--pcapng", capture)
        self.assertEqual(result.returncode, 0, result.stderr)
        dissector.write_text(showremote("dissector").stdout)
        packets = tshark(dissector, capture, "zxap.code", "zxap.name", "zxap.reply", "zxap.length", "zxap.id",
                         "json.key", "json.value.number", "frame.packet_flags_direction", "frame.time_epoch")
        messages = [record for record in Recording(file) if record.kind == "message"]
        self.assertEqual(len(packets), len(messages))
        self.assertLessEqual({*ENVELOPES, "central control", "cloud"}, {record.channel for record in messages})
        start = float(packets[0]["frame.time_epoch"]) - messages[0].t
        for packet, record in zip(packets, messages):
            self.assertEqual(packet["frame.packet_flags_direction"][-1:], "2" if record.sender == "host" else "1")
            self.assertAlmostEqual(float(packet["frame.time_epoch"]) - start, record.t, places=5)
            self.check(packet, record)

        # The same envelopes in a capture of the network interface, split anywhere.
        envelopes = [record for record in messages if record.channel in ENVELOPES[:2] and record.sender == "host"
                     and record.id is None]
        stream = b"".join(envelope(REPLY | record.code, json.dumps(record.payload).encode() if record.payload else b"")
                          for record in envelopes)
        capture.write_bytes(segments(stream, CONTROL_PORT, 2, 15, *range(50, len(stream), 997)))
        found = [pair for packet in tshark(dissector, capture, "zxap.code", "zxap.name") if packet["zxap.code"]
                 for pair in zip(packet["zxap.code"].split("|"), packet["zxap.name"].split("|"))]
        self.assertEqual([(int(code, 16), name) for code, name in found],
                         [(record.code, record.name or "unknown") for record in envelopes])

    def check(self, packet, record):
        """Compares the dissected fields with the record."""
        if record.channel in ENVELOPES:
            self.assertEqual((int(packet["zxap.code"], 16), packet["zxap.name"]), (record.code, record.name or "unknown"))
            is_reply = record.sender == "host" and record.channel != "FP"
            self.assertEqual(packet["zxap.reply"] in ("1", "True"), is_reply)
            self.assertEqual(packet["zxap.id"], str(record.id or ""))
            if not isinstance(record.payload, dict):  # a recording has JSON without white space
                self.assertEqual(int(packet["zxap.length"]), record.size - 12)
        if isinstance(record.payload, dict) and record.size < MAX_PACKET:
            self.assertLessEqual(set(record.payload), set(packet["json.key"].split("|")))
            numbers = [float(number) for number in packet["json.value.number"].split("|") if number]
            for value in record.payload.values():
                if isinstance(value, (int, float)) and not isinstance(value, bool):
                    self.assertIn(value, numbers)


def secrets(schema):
    """Yields the keys and schemas of the contract's secrets."""
    for key, value in schema.items() if isinstance(schema, dict) else enumerate(schema) if isinstance(schema, list) else ():
        if isinstance(value, dict) and value.get("writeOnly"):
            yield key, value
        yield from secrets(value)


class TourTest(unittest.TestCase):
    def test_the_tour_is_replayed_without_a_difference_and_survives_kill(self):
        requests = (("discover",), ("app", "heartbeat"), ("app", "--bulk", "heartbeat"), ("app", "host-name-and-version"),
                    ("app", "set-host-name", '{"name": "Stage left"}'), ("app", "stage-snapshot"),
                    ("app", "scene-play", '{"sceneGrpCol": 1, "sceneCol": 2}'), ("central", "getPlayingChapter", "{}"),
                    ("central", "globalVolume", '{"param": 40}'), ("upload", __file__))
        with Folder() as folder:
            file = folder / "tour.jsonl"
            with ShowHost(HOST, folder / "first", "--record", file) as host:
                for request in requests:
                    result = showremote(*request, "--host", HOST)
                    self.assertEqual(result.returncode, 0, result.stderr)
                wait_until(lambda: "QUIT" in file.read_text(encoding="utf-8"), "the last command is written")
                host.process.send_signal(signal.SIGKILL)
                host.expected_code = -signal.SIGKILL
            with ShowHost(SECOND, folder / "second"):
                for options in ((), ("--speed", "max"), ("--speed", "max", "--channel", "central control")):
                    result = showremote("replay", file, "--host", SECOND, *options)
                    self.assertEqual((result.returncode, result.stderr), (0, ""), result.stdout)
                    self.assertIn(" 0 differences", result.stdout)


if __name__ == "__main__":
    unittest.main()
