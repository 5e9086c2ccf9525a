#!/usr/bin/python3
"""Runs the conformance check against hosts with one fault each, which it must find.

A fault is a small change that a proxy makes, or a fault rule of showhost (Docs/Traffic.md). The rule that is named beside it must fail, and hold without the fault.
Docs/Conformance.md has the number of faults.
"""

import json
import re
import unittest
import uuid

from Support import SOURCE_FOLDER, TIMEOUT, Folder, ShowHost, wait_until
from WrongHost import Fault, WrongCloud, WrongHost
from zentravox import CloudReply, FpController, Message
from zentravox.conformance import HOST_RULES, Outcome, Target, check_host
from zentravox.wire import (BULK_PORT, CENTRAL_PORT, CLOUD_PORT, DISCOVERY_PORT, DISCOVERY_REQUEST, FP_PORT, REPLY, id_form,
                            read_id_form)

HOST, WRONG, PEERS = "127.0.0.151", "127.0.0.152", "127.0.0.153"
PNG = b"\x89PNG\r\n\x1a\n\0\0\0\rIHDR\0\0\1\x40\0\0\0\xb4\x08\6\0\0\0"
# The port of an FP link in the proxy.
FP = 0
HEARTBEAT, LOGIN, SCENE_PLAY, APP_GONE, NO_MEDIUM = 0x001, 0x003, 0x306, 0x012, "00000000-0000-0000-0000-000000000001"


class On(Fault):
    """Changes the host's replies with one code; change takes the body as JSON, or as bytes if it isn't JSON."""

    def __init__(self, code, change=None, code_after=None, times=1, port=None, notices=False):
        self.code, self.change, self.code_after, self.times, self.port = code, change, code_after, times, port
        self.notices = notices

    def reply(self, link, message):
        is_notice = message.code == SCENE_PLAY | REPLY and b"errorMsg" not in message.body
        if message.code & ~REPLY != self.code or is_notice != self.notices or self.port not in (None, link.port):
            return [message]
        body = message.body
        if self.change:
            value = json.loads(body) if body.startswith(b"{") else body
            value = self.change(value)
            body = value if isinstance(value, bytes) else json.dumps(value, indent=4).encode()
        return self.times * [Message(message.code if self.code_after is None else self.code_after, body)]


class OtherChannel(On):
    def reply(self, link, message):
        return [(link.other(), message) if message.code == self.code | REPLY else message]


class OtherApp(On):
    """Sends an app's second picture to the app that connected before it."""

    def reply(self, link, message):
        others = [other for other in link.proxy.links if other.port == BULK_PORT and other is not link]
        return [(others[-1], message)] if message.code & ~REPLY in (0x308, 0x403) and others else [message]


class Swapped(On):
    """Holds a reply back until the next one has been sent."""

    held = None

    def reply(self, link, message):
        if message.code & ~REPLY == self.code and not self.held:
            self.held = message
            return []
        held, self.held = self.held, None
        return [message, held] if held else [message]


class Requests(Fault):
    """Changes the bytes of requests on the app's channels."""

    def __init__(self, change):
        self.request = lambda link, data: change(data)


class Closes(Fault):
    """Closes the connection of a request that contains these bytes; or, with code, instead of the reply."""

    def __init__(self, part):
        self.part = part

    def request(self, link, data):
        if self.part in data:
            link.close()
        return data


class ClosesAfter(On):
    def reply(self, link, message):
        if message.code == self.code | REPLY:
            link.close()
        return [message]


class Answers(Fault):
    """Answers requests that contain these bytes, in place of the host."""

    def __init__(self, part, code, body):
        self.part, self.message = part, Message(code | REPLY, body)

    def request(self, link, data):
        if self.part in data:
            link.send(self.message)
        return data


class Central(Fault):
    """Changes the host's datagrams that contain these bytes."""

    def __init__(self, part, change, port=CENTRAL_PORT):
        def datagram(at, data):
            return change(data) if at == port and part in data else [data]
        self.datagram = datagram


class Asked(Fault):
    """Changes the remotes' datagrams that contain these bytes; a list is the proxy's own answer."""

    def __init__(self, part, change, port=CENTRAL_PORT):
        self.asked = lambda at, data: change(data) if at == port and part in data else data


class Cloud(Fault):
    def __init__(self, change):
        self.cloud = change


def without(key, *path):
    return changed(lambda value: value.pop(key), *path)


def having(*path, **keys):
    return changed(lambda value: value.update(keys), *path)


def changed(change, *path):
    """Returns a function that changes the value at the path of a body."""
    def apply(body):
        value = body
        for key in path:
            value = value[key]
        change(value)
        return body
    return apply


def picture(change):
    return lambda body: change(*read_id_form(body))


def replaced(old, new):
    return lambda data: [data.replace(old, new)]


def braced(body):
    scene = body["sceneMgrData"]
    scene["currentSceneId"] = "{%s}" % scene["currentSceneId"]
    return body


def nothing(data):
    return []


def twice(data):
    return [data, data]


def edit_cloud(route, change):
    """Returns a function that changes the data of the cloud's replies with this route."""
    def cloud(reply):
        return [change(reply)] if reply.route == route else [reply]
    return cloud


def project_first():
    held = []

    def cloud(reply):
        if reply.route == 2:
            held.append(reply)
            return []
        pictures, held[:] = list(held), []
        return [reply, *pictures]
    return cloud


def rule(channel, request, action, **keys):
    return {"channel": channel, "request": request, "action": action, **keys}


# The rule that must find the fault, what it is, and the fault.
FAULTS = (
    ("DISC-001", "a key of the answer is missing", Central(b"{", replaced(b'"id"', b'"uuid"'), DISCOVERY_PORT)),
    ("DISC-002", "another text is answered", Asked(b"app server", lambda data: DISCOVERY_REQUEST, DISCOVERY_PORT)),
    ("DISC-003", "another name", Central(b"{", replaced(b'"name": "', b'"name": "x'), DISCOVERY_PORT)),
    ("APP-2005", "a key is missing", On(0x005, without("version"))),
    ("APP-2005", "a key is added", On(0x005, having(build=7))),
    ("APP-2109", "a number is a text", On(0x109, having(count="2"))),
    ("APP-1100", "the code of another request", On(0x100, code_after=0x107 | REPLY)),
    ("APP-012", "a code without the reply bit", On(0x101, code_after=0x101)),
    ("APP-2300", "an id in braces", On(0x300, braced)),
    ("APP-2109", "an id in upper case", On(0x109, changed(lambda body: body.update(currentProId=body["currentProId"].upper())))),
    ("APP-1101", "a reply on the bulk channel", OtherChannel(0x101)),
    ("APP-1118", "a picture on the control channel", OtherChannel(0x118)),
    ("APP-1119", "a reply twice", On(0x119, times=2)),
    ("APP-1121", "no reply", On(0x121, times=0)),
    ("APP-1112", "a late reply", Swapped(0x112)),
    ("APP-014", "two replies in the wrong order", Swapped(0x405)),
    ("APP-2403", "a wrong length in the id form", On(0x403, lambda body: body[:20] + b"\0\0\0\1" + body[24:])),
    ("APP-2308", "a picture in another format", On(0x308, picture(lambda id, data: id_form(id, PNG)))),
    ("APP-2403", "an empty picture", On(0x403, picture(lambda id, data: id_form(id, b"")))),
    ("APP-1417", "one picture of seven is missing", On(0x417, lambda body: {**body, "resType": 0}, times=2)),
    ("APP-015", "a picture with another id", On(0x118, picture(lambda id, data: id_form(uuid.UUID(int=7), data)))),
    ("APP-016", "a picture of another size", On(0x118, picture(lambda id, data: id_form(id, data[:19] + b"\x41" + data[20:])))),
    ("APP-017", "a picture for another app", OtherApp(0x118)),
    ("APP-3105", "another result of a wrong value", On(0x105, having(result=7, errorMsg="COMMAND ERROR"))),
    ("APP-3306", "a refusal without the request's keys", On(0x306, without("sceneCol"))),
    ("APP-2104", "a refusal without a text", On(0x104, without("errorMsg"))),
    ("APP-1199", "a command without a reply", On(0x199, times=0)),
    ("APP-2405", "half a body", On(0x405, lambda body: json.dumps(body).encode()[:-20])),
    ("APP-1416", "the connection closes", ClosesAfter(0x416)),
    ("BULK-1001", "a heartbeat without a reply", On(HEARTBEAT, times=0, port=BULK_PORT)),
    ("BULK-2001", "a heartbeat with another result", On(HEARTBEAT, having(result=0), port=BULK_PORT)),
    ("APP-001", "half envelopes are dropped", Requests(lambda data: data if len(data) > 12 else b"")),
    ("APP-002", "one envelope of a packet is read", Requests(lambda data: data[:12] if len(data) == 600 else data)),
    ("APP-003", "a wrong mark is ignored", Requests(lambda data: b"" if data.startswith(b"ZXAQ") else data)),
    ("APP-004", "a too long envelope is ignored", Requests(lambda data: b"" if b"\xff\xff\xff\xff" in data else data)),
    ("APP-006", "half an envelope is closed at once", Closes(b"ZXAP\0\0")),
    ("APP-008", "a malformed body closes the connection", Closes(b"\xff\xfe")),
    ("APP-009", "a duplicate key is accepted", Requests(lambda data: data.replace(b'"id": "x", "id"', b'"ix": "x", "id"'))),
    ("APP-010", "an unknown code succeeds", On(0x1ff, having(result=0, errorMsg="SUCCESS"))),
    ("APP-011", "a code of central control succeeds", On(0x196, having(result=0, errorMsg="SUCCESS"))),
    ("APP-013", "ids in braces are unknown", Requests(lambda data: data.replace(b'{"mediaId": "{', b'{"mediaId": "('))),
    ("APP-018", "an unknown medium has a result", On(0x201, having(result=4))),
    ("APP-019", "an unknown text has another result", On(0x404, having(result=4004))),
    ("APP-020", "an unknown resource is answered", Answers(NO_MEDIUM.encode(), 0x401, b"{}")),
    ("APP-023", "a reply without indentation", On(0x119, lambda body: json.dumps(body).encode())),
    ("APP-024", "a wrong count", On(0x101, changed(lambda list: list.update(count=9), "screenMgrData"))),
    ("APP-024", "a gap in the numbers", On(0x109, changed(lambda list: list.update({"7": list.pop("1")})))),
    ("APP-025", "the stage's media in another order", On(0x100, changed(lambda stage: stage["mediaIdList"].reverse(), "stageData"))),
    ("APP-026", "0x107 differs from 0x100", On(0x107, changed(lambda stage: stage.update(ratio="1%"), "stageData"))),
    ("APP-027", "a medium differs from its list entry", On(0x201, changed(lambda medium: medium.update(rotation=7), "mediaData"))),
    ("LOGIN-001", "the account is missing", On(LOGIN, having(account=""))),
    ("LOGIN-002", "an unknown user has the result 2", On(LOGIN, having(result=2))),
    ("LOGIN-003", "any password is right", On(LOGIN, having(result=0))),
    ("LOGIN-004", "two apps are logged in", On(LOGIN, having(result=0))),
    ("LOGIN-005", "the replaced app isn't notified", On(APP_GONE, times=0)),
    ("LOGIN-005", "the notice to the replaced app has a body", On(APP_GONE, lambda body: b"{}")),
    ("LOGIN-007", "the key is incomplete", On(0x007, changed(lambda body: body.update(publicKey=body["publicKey"][:100])))),
    ("LOGIN-010", "the login isn't noticed", Central(b'"Connected"', replaced(b'"Connected"', b'"NotConnected"'))),
    ("CENT-2020", "another key", Central(b"ProjectName", replaced(b"ProjectName", b"projectName"))),
    ("CENT-2122", "another text", Central(b'"Play"', replaced(b'"Play"', b'"play"'))),
    ("CENT-2105", "an object as reply to a command", Central(b"PARAMETER", lambda data: [b'{"result": 8}'])),
    ("CENT-1196", "no reply", Central(b"HDRState", nothing)),
    ("CENT-1198", "a reply twice", Central(b"globalMuteState", twice)),
    ("CENT-3113", "a wrong value succeeds", Central(b"PARAMETER", lambda data: [b"SUCCESS"])),
    ("CENT-002", "FORMAT ERROR as text", Central(b"FORMAT ERROR", lambda data: [b"FORMAT ERROR"])),
    ("CENT-003", "the refusal has no keyword", Central(b"noSuchKeyword", lambda data: [b'{"result": 7, "errorMsg": "COMMAND ERROR"}'])),
    ("CENT-004", "an error is answered", Asked(b'"errorMsg"', lambda data: [b'{"result": 6, "errorMsg": "FORMAT ERROR"}'])),
    ("CENT-005", "a keyword without a command succeeds", Asked(b'"turnPPT"', lambda data: [b"SUCCESS"])),
    ("CENT-009", "a missing screen is closed", Central(b"NotFound", replaced(b"NotFound", b"Closed"))),
    ("FP-1191", "a reply with the reply bit", On(0x191, code_after=0x191 | REPLY)),
    ("FP-2192", "a number is a text", On(0x192, having(globalVolume="80 %"))),
    ("FP-1304", "0x304 is answered with its own code", On(0x302, code_after=0x304)),
    ("FP-004", "two replies in the wrong order", Swapped(0x193)),
    ("FP-005", "another list of projects", On(0x109, having(currentProName="x"), port=FP)),
    ("CLOUD-1016", "another route", Cloud(edit_cloud(0, lambda reply: CloudReply(1, reply.data)))),
    ("CLOUD-2189", "a key is missing", Cloud(edit_cloud(2, lambda reply: CloudReply(2, reply.data.replace('"id"', '"uuid"'))))),
    ("CLOUD-006", "pictures that aren't base64", Cloud(edit_cloud(2, lambda reply: CloudReply(2, reply.data.replace("/9j/", "*"))))),
    ("CLOUD-007", "the project before its pictures", Cloud(project_first())),
    ("CHG-001", "a command without an effect", Asked(b'"globalVolume"', lambda data: [b"SUCCESS"])),
    ("CHG-005", "a black stage isn't reported", Central(b"balck", replaced(b"balck", b"unBlack"))),
    ("CHG-007", "no notice of a scene change", On(SCENE_PLAY, times=0, notices=True)),
    ("CHG-007", "two notices of a scene change", On(SCENE_PLAY, times=2, notices=True)),
    ("CHG-008", "no notice of the use of a resource", On(0x421, times=0)),
    ("CHG-014", "the name isn't cut", On(0x005, changed(lambda body: body.update(name=body["name"][:100])))),
    ("CHG-015", "an empty name has two replies", On(0x005, times=2)),
    ("APP-1302", "the reply is lost", rule("app control", "main-scene-group", "drop")),
    ("APP-1304", "the request is lost", rule("app control", "main-scene-group-again", "ignore")),
    ("APP-1006", "the reply is sent twice", rule("app control", "login-identity", "duplicate")),
    ("APP-1200", "the reply is cut", rule("app control", "media-list", "truncate", bytes=40)),
    ("APP-1400", "the connection is reset", rule("app control", "resource-list", "reset")),
    ("APP-2418", "another reply", rule("app control", "shared-folder-list", "reply", body={"result": 1})),
    ("FP-1109", "the reply is sent twice", rule("FP", "project-list", "duplicate")),
    ("FP-1300", "the connection is reset", rule("FP", "scene-manager-data", "reset")),
    ("FP-2013", "another reply", rule("FP", "fp-pairing-code", "reply", body={"AppQRCode": 1})),
    ("CENT-1194", "the request is lost", rule("central control", "preview-path", "ignore")),
    ("CENT-1399", "the reply is sent twice", rule("central control", "playing-chapter", "duplicate")),
    ("CENT-2193", "another reply", rule("central control", "black-screen-state", "reply", body={"blackState": "black"})),
    ("CLOUD-1016", "the reply is lost", rule("cloud", "system-information", "drop")),
    ("CLOUD-2016", "another reply", rule("cloud", "system-information", "reply", body={"route": 0, "data": "{}"})),
)


class WrongHostsTest(unittest.TestCase):
    """One host, whose peers it reaches directly and through the proxy."""

    @classmethod
    def setUpClass(cls):
        cls.folder = cls.enterClassContext(Folder())
        cls.fp = cls.enterClassContext(FpController(PEERS))
        cls.proxy = cls.enterClassContext(WrongHost(WRONG, HOST, (PEERS, FP_PORT)))
        cls.cloud = cls.enterClassContext(WrongCloud(PEERS))
        cls.host = cls.enterClassContext(ShowHost(HOST, cls.folder / "state", "--fp", cls.proxy.fp_address,
                                       "--cloud", f"ws://{PEERS}:{CLOUD_PORT}"))

    def check(self, timeout, *numbers):
        rules = [rule for rule in HOST_RULES if rule.number in numbers]
        self.assertEqual(len(rules), len(set(numbers)))
        fp, cloud = (any(rule.channel == channel for rule in rules) for channel in ("FP", "cloud"))
        target = Target(WRONG, "demo", "demo", timeout=timeout, fp=self.fp if fp else None, cloud=self.cloud if cloud else None)
        return check_host(target, rules, allow_changes=True)

    def plant(self, fault):
        is_rule = isinstance(fault, dict)
        self.proxy.fault = WrongCloud.fault = Fault() if is_rule else fault
        start = len(self.host.lines)
        for line in ("fault clear", *(["fault add " + json.dumps(fault)] if is_rule else []), "fault list"):
            self.host.write_line(line)
        wait_until(lambda: any(f"{int(is_rule)} fault rules" in line for line in self.host.lines[start:]), "the fault rule")

    def test_all_rules_hold_without_a_fault_and_each_fault_is_found_by_its_rule(self):
        # Another test waits the 10 s of APP-006.
        without_fault = self.check(TIMEOUT, *(number for number, _, _ in FAULTS if number != "APP-006"))
        self.assertEqual([(result.rule.number, result.reason) for result in without_fault
                          if result.outcome is not Outcome.HOLDS], [])
        for number, what, fault in FAULTS:
            with self.subTest(rule=number, fault=what):
                self.plant(fault)
                try:
                    result, = self.check(1, number)
                finally:
                    self.plant(Fault())
                self.assertIs(result.outcome, Outcome.FAILS)
                self.assertNotIn("Errno", result.reason)
        page = (SOURCE_FOLDER / "Docs/Conformance.md").read_text(encoding="utf-8")
        self.assertEqual(re.search(r"(\d+) of (\d+) faults", page).groups(), 2 * (str(len(FAULTS)),))


if __name__ == "__main__":
    unittest.main()
