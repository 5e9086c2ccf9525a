#!/usr/bin/python3
"""Tests each fault rule on each channel, rules that are refused, and notices that the console sends."""

import contextlib
import json
import time
import unittest

from Support import Folder, ShowHost, wait_until
from zentravox import App, CentralControl, CloudService, FpController, discover
from zentravox.app import HEARTBEAT
from zentravox.wire import CLOUD_PORT, DISCOVERY_PORT, REPLY, DatagramPeer, ProtocolError

HOST = "127.0.0.140"
PICTURE_ADJUSTMENT, SYSTEM_INFORMATION, SCENE_PLAY, APP_GONE, RESOURCE_USED, RESOURCE_DEMUXED = (
    0x112, 0x016, 0x306, 0x012, 0x421, 0x422)
DELAY = 0.3
BYTES = 20
MADE_UP = {"made": "up"}
DATAGRAMS = ("app discovery", "central control")


class Envelopes:
    def __init__(self, channel, code):
        self.channel, self.code = channel, code

    def ask(self):
        self.channel.send(self.code)

    def answer(self):
        return self.channel.receive()[1]

    def end(self):
        """Returns the bytes until the end of the connection."""
        received = b""
        while some := self.channel.socket.recv(4096):
            received += some
        return received


class Datagrams:
    def __init__(self, peer, text):
        self.peer, self.text = peer, text

    def ask(self):
        self.peer.send(self.text)

    def answer(self):
        return json.loads(self.peer.receive())


class Cloud:
    def __init__(self, link):
        self.link = link

    def ask(self):
        self.link.send(cmdType=SYSTEM_INFORMATION)

    def answer(self):
        return self.link.receive().route

    def end(self):
        try:
            self.link.receive()
        except ProtocolError:
            return b"x" * BYTES  # the frame was not complete
        raise AssertionError("a complete reply")


class FaultsTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.controller = cls.enterClassContext(FpController(HOST))
        cls.service = cls.enterClassContext(CloudService(HOST))
        cls.host = cls.enterClassContext(ShowHost(HOST, cls.enterClassContext(Folder()), "--fp", f"{HOST}:{cls.controller.port}",
                                                  "--cloud", f"ws://{HOST}:{CLOUD_PORT}"))
        cls.other = cls.enterClassContext(App(HOST))
        cls.links = {"FP": cls.controller.accept(), "cloud": cls.service.accept()}

    def setUp(self):
        self.console("fault clear", "removed all fault rules")

    def console(self, command, answer):
        """Writes a line to the console and waits for a new line that ends with the answer."""
        before = len(self.host.lines)
        self.host.write_line(command)
        wait_until(lambda: any(line.endswith(answer) for line in self.host.lines[before:]), answer)

    def remote(self, channel, stack):
        if channel in ("app control", "app bulk"):
            app = stack.enter_context(App(HOST))
            return Envelopes(app.control if channel == "app control" else app.bulk, HEARTBEAT)
        if channel == "FP":
            return Envelopes(self.links[channel], PICTURE_ADJUSTMENT)
        if channel == "cloud":
            return Cloud(self.links[channel])
        if channel == "central control":
            return Datagrams(stack.enter_context(CentralControl(HOST)), b"getBlackAll")
        return Datagrams(stack.enter_context(DatagramPeer(HOST, DISCOVERY_PORT)), b"App Server request Zentravox Controller")

    def test_each_fault_on_each_channel(self):
        actions = {"delay": ({"milliseconds": int(DELAY * 1000)}, "delayed 300 ms"), "ignore": ({}, "request ignored"),
                   "drop": ({}, "reply dropped"), "duplicate": ({}, "reply sent twice"),
                   "reply": ({}, "answered"), "truncate": ({"bytes": BYTES}, f"reply truncated to {BYTES} bytes"),
                   "reset": ({}, "connection reset")}
        for channel in ("app control", "app bulk", "app discovery", "central control", "FP", "cloud"):
            for action, (keys, note) in actions.items():
                if channel in DATAGRAMS and action in ("truncate", "reset"):
                    continue
                with self.subTest(channel=channel, action=action), contextlib.ExitStack() as stack:
                    remote = self.remote(channel, stack)
                    remote.ask()
                    usual = remote.answer()
                    made_up = 9 if channel == "cloud" else MADE_UP
                    if action == "reply":
                        keys = {"body": {"route": 9, "data": "made up"} if channel == "cloud" else MADE_UP}
                    self.host.write_line("fault add " + json.dumps({"channel": channel, "action": action, "first": 1, **keys}))
                    self.console("fault list", "1 fault rules")

                    start = time.monotonic()
                    remote.ask()
                    if action in ("truncate", "reset"):
                        self.check_end(channel, action, remote)
                    else:
                        self.other.request(HEARTBEAT)
                        others = time.monotonic() - start
                        remote.ask()
                        remote.ask()
                        expected = {"ignore": [usual] * 2, "drop": [usual] * 2, "duplicate": [usual] * 4,
                                    "delay": [usual] * 3, "reply": [made_up, usual, usual]}[action]
                        first = remote.answer()
                        if action == "delay":
                            self.assertGreaterEqual(time.monotonic() - start, DELAY)
                            self.assertLess(others, DELAY)
                        self.assertEqual([first] + [remote.answer() for _ in expected[1:]], expected)
                    self.console("fault list", "1 fault rules")
                    self.assertTrue(any(f"{channel} " in line and line.endswith(note) for line in self.host.lines), note)
                    self.console("fault clear", "removed all fault rules")

    def check_end(self, channel, action, remote):
        if action == "truncate":
            self.assertEqual(len(remote.end()), BYTES)
        else:
            with self.assertRaises(ConnectionError):
                remote.end()
        accepts = {"FP": self.controller, "cloud": self.service}
        if channel in accepts:  # the host connects again
            self.links[channel].close()
            self.links[channel] = accepts[channel].accept()

    def test_a_rule_applies_to_the_requests_that_it_names(self):
        rule = {"channel": "app control", "action": "reply", "body": MADE_UP}
        for more, affected in (({"request": "host-name-and-version"}, 0), ({"request": "heartbeat", "every": 3}, 2),
                               ({"request": "0x001", "first": 2}, 2), ({"peer": "127.0.0.145"}, 0), ({"peer": "127.0.0.1"}, 6),
                               ({"probability": 0.5, "seed": 3}, None)):
            counts = []
            for _ in range(2):
                with self.subTest(more=more), App(HOST, "127.0.0.1") as app:
                    self.host.write_line("fault add " + json.dumps({**rule, **more}))
                    self.console("fault list", "1 fault rules")
                    counts.append(sum(app.request(HEARTBEAT) == MADE_UP for _ in range(6)))
                    self.console("fault clear", "removed all fault rules")
            self.assertEqual(counts[0], counts[1] if affected is None else affected, more)

    def test_a_rule_that_cannot_work_is_refused_with_its_position_and_the_reason(self):
        reset = {"channel": "app control", "action": "reset"}
        for rule, reason in (({"action": "reset"}, "channel: "), ({**reset, "channel": "devices"}, "channel: devices send no requests"),
                             ({**reset, "channel": "app upload"}, "channel: the FTP server"),
                             ({**reset, "channel": "central control"}, "action: datagrams have no connection"),
                             ({**reset, "action": "delay"}, "milliseconds: is required"), ({**reset, "bytes": 3}, "bytes: "),
                             ({**reset, "action": "delay", "milliseconds": 600_001}, "milliseconds: must not exceed 600000"),
                             ({**reset, "request": "nonsense"}, "request: "), ({**reset, "first": 1, "every": 2}, "first: "),
                             ({**reset, "chanel": 1}, "chanel"), ({**reset, "peer": "host:1"}, "peer: ")):
            with self.subTest(rule=rule):
                self.host.write_line("fault add " + json.dumps(rule))
                self.host.wait_for_line(lambda line: line.startswith("fault add: ") and reason in line, reason)
        self.console("fault remove 77", "fault remove: no fault \"77\"")
        self.host.write_line("fault add " + json.dumps({**reset, "action": "delay", "milliseconds": 600_000}))
        self.console("fault list", "1 fault rules")

    def test_the_console_notifies_the_apps(self):
        resource = "{1b4e28ba-2fa1-11d2-883f-0016d3cca427}"
        bare = resource.strip("{}")
        for command, code, body in (("scene-changed", SCENE_PLAY, {"result": 1}), ("app-displaced", APP_GONE, None),
                                    (f"resource-used {resource} false", RESOURCE_USED, {"resId": bare, "usedFlag": False}),
                                    (f"resource-demuxed {resource}", RESOURCE_DEMUXED, {"resId": bare, "dexumerFlag": True})):
            self.console("notify " + command, "notified: " + command)
            self.assertEqual(self.other.control.receive(), (REPLY | code, body))
        for wrong in ("nonsense", f"resource-used {resource} no"):
            self.console("notify " + wrong, "resource-used ID or resource-demuxed ID")


class FaultFileTest(unittest.TestCase):
    def test_the_rules_of_a_file_are_used_and_a_bad_file_is_refused(self):
        with Folder() as folder:
            rules = folder / "faults.json"
            rules.write_text(json.dumps({"faults": [{"channel": "app discovery", "action": "reply", "body": MADE_UP}]}))
            with ShowHost(HOST, folder / "state", "--faults", rules):
                self.assertEqual(discover(HOST), MADE_UP)
            rules.write_text(json.dumps({"faults": [{"channel": "cloud"}]}))
            with self.assertRaisesRegex(AssertionError, r"faults\.json: faults\[0\]\.action: "):
                ShowHost(HOST, folder / "state", "--faults", rules)


if __name__ == "__main__":
    unittest.main()
