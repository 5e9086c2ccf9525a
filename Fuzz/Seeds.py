#!/usr/bin/env python3
"""Writes the seeds of every harness and their common dictionary.

Seeds.py SOURCE-FOLDER OUTPUT-FOLDER

The requests are the examples of Docs/Protocol.md and each message of Contract.json with a few bodies; files are those
of the demo show and the examples of the documents. The same sources always give the same seeds.
"""

import json
import re
import shutil
import struct
import sys
from pathlib import Path

sys.path.append(str(Path(__file__).resolve().parents[1] / "Src" / "Kit"))
from zentravox import Contract  # noqa: E402
from zentravox.wire import CODE_MARK, ID_MARK, envelope  # noqa: E402

SEPARATOR = b"\x1e"
# Flags of AppIntake.
BULK, CLOSE, LOG_IN, UPLOAD = 1, 4, 8, 16
REQUESTS_PER_SEQUENCE = 6

NUMBERS = ("0", "-1", "1.5", "-0", "1e300", "-1e300", "1e-320", "2147483648", "-2147483649", "9007199254740993")
TEXTS = ("null", "true", "false", "[[", "]]", "{}", "\\u0000", "\\ud800", CODE_MARK.decode(), ID_MARK.decode(), "demo", "#7b2d43", "../", "%s%n")
REFUSED_BODIES = (b"", b"{}", b'{"param": 101}', b'{"param": -1}', b'{"param": "x"}', b'{"param": 1e300}',
                  b'{"sceneGrpCol": 99, "sceneCol": 99}', b'{"projectId": "none", "sceneId": "none", "mediaId": "none"}')
ENVELOPE_KEYS = ("cmd", "cmdType", "param", "result", "respon", "errorMsg", "remoteIp", "remotePort")


class Sources:
    def __init__(self, folder):
        self.contract = Contract()
        self.protocol = (folder / "Docs/Protocol.md").read_text(encoding="utf-8")
        self.documents = {name: (folder / "Docs" / f"{name}.md").read_text(encoding="utf-8")
                          for name in ("ShowFile", "Settings", "Devices", "Traffic")}
        demo = folder / "Examples/DemoShow"
        self.show = (demo / "DemoShow.zxc").read_text(encoding="utf-8")
        self.devices = (demo / "Devices.json").read_text(encoding="utf-8")
        self.faults = (folder / "Examples/Faults.json").read_text(encoding="utf-8")
        self.recording = (folder / "Examples/Recordings/Tour.jsonl").read_text(encoding="utf-8")
        self.ids = sorted(set(re.findall(r"[0-9a-f]{8}(?:-[0-9a-f]{4}){3}-[0-9a-f]{12}", self.show)))

    def examples(self):
        """Yields the sender, the code or 0, and the body of each example, in the order of Docs/Protocol.md."""
        for asker, code, body in re.findall(r"```(?:json|text) ask (\S+) ?(0x[0-9a-fA-F]+)?\n(.*?)```", self.protocol,
                                            re.DOTALL):
            yield asker, int(code or "0", 16), compact(body.strip())

    def messages(self):
        """Yields the code and the keywords of central control and of the cloud of each message."""
        for code, message in self.contract.messages.items():
            yield code, {who: message.get(who, {}).get("keywords", []) for who in ("central", "cloud")}


def compact(body):
    try:
        return json.dumps(json.loads(body), ensure_ascii=False).encode()
    except ValueError:
        return body.encode()


def request(code, body, flags=0):
    return struct.pack(">HB", code & 0xFFFF, flags) + body


class Seeds:
    def __init__(self, folder):
        self.folder = folder
        self.counts = {}

    def add(self, harness, data):
        number = self.counts.get(harness, 0)
        self.counts[harness] = number + 1
        path = self.folder / harness / f"{number:03}"
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(data if isinstance(data, bytes) else data.encode())

    def add_request(self, code, body):
        for harness in ("AppIntake", "FP", "ShowChanges"):
            self.add(harness, request(code, body))

    def add_sequences(self, harness, requests):
        for first in range(0, len(requests), REQUESTS_PER_SEQUENCE):
            self.add(harness, SEPARATOR.join(requests[first:first + REQUESTS_PER_SEQUENCE]))


def add_examples(sources, seeds):
    asked, cloud = [], []
    for asker, code, body in sources.examples():
        if asker == "central":
            seeds.add("CentralControl", body)
        elif asker == "cloud":
            seeds.add("Cloud", body)
            cloud.append(body)
        else:
            seeds.add_request(code, body)
            seeds.add("AppStream", b"\x0f" + envelope(code, body))
            asked.append((code, body))
    for harness in ("AppIntake", "FP", "ShowChanges"):
        seeds.add_sequences(harness, [request(*example) for example in asked])
    seeds.add_sequences("Cloud", cloud)
    seeds.add("AppStream", b"\x03" + b"".join(envelope(*example) for example in asked[:8]))


def add_messages(sources, seeds):
    values = {"param": 1, "sceneGrpCol": 1, "sceneCol": 2, "resourceId": sources.ids[0], "mediaId": sources.ids[-1]}
    body = json.dumps(values).encode()
    for code, keywords in sources.messages():
        seeds.add_request(code, body)
        seeds.add("ShowChanges", SEPARATOR.join(request(code, body) for body in REFUSED_BODIES))
        seeds.add("Cloud", json.dumps({"cmdType": code, **values}))
        for keyword in keywords["central"]:
            seeds.add("CentralControl", json.dumps({"cmd": keyword, **values}))
        for keyword in keywords["cloud"]:
            seeds.add("Cloud", json.dumps({"cmd": keyword, "param": 1}))
    scene = request(0x306, b'{"sceneGrpCol": 1, "sceneCol": 2}')
    upload = request(0, b"Opening.png", UPLOAD)
    seeds.add("AppIntake", SEPARATOR.join([request(1, b"", LOG_IN), scene, request(0x107, b"", BULK)]))
    seeds.add("AppIntake", SEPARATOR.join([request(0x400, b"", LOG_IN), upload, request(0x400, b""), request(0, b"", CLOSE)]))


def add_others(sources, seeds):
    seeds.add("Discovery", sources.contract.text["discovery"]["request"])
    seeds.add("IdForm", bytes(16) + struct.pack(">I", 3) + b"abc")
    seeds.add("IdForm", sources.ids[0])
    seeds.add("IdForm", envelope(0x400, b"{}"))
    for password in ("", "aGFsbG8=", "A" * 172, "AAECAwQFBgcICQoLDA0ODw==" * 8):
        seeds.add("LoginCipher", password)


def add_files(sources, seeds):
    seeds.add("ShowFile", sources.show)
    for name, harness in (("ShowFile", "ShowFile"), ("Settings", "SettingsFile"), ("Devices", "DeviceFile")):
        for example in re.findall(r"```json\n(.*?)```", sources.documents[name], re.DOTALL):
            seeds.add(harness, example)
    seeds.add("DeviceFile", sources.devices)
    seeds.add("FaultFile", sources.faults)
    header, *records = sources.recording.splitlines()
    for record in (*records, *re.findall(r"```json\n(\{\"n\".*?)\n```", sources.documents["Traffic"])):
        seeds.add("Recording", f"{header}\n{record}\n")
    seeds.add("SettingsFile", json.dumps(json.loads(sources.show)["settings"]))
    seeds.add("SettingsFile", json.dumps({
        "hostName": "Stage left", "appSupport": True, "cloudSupport": True, "resourceFolder": "Media",
        "ftp": {"user": "demo", "password": "demo"}, "fp": {"address": "127.0.0.1", "port": 25510},
        "cloud": {"url": "ws://127.0.0.1:25511", "user": "demo", "account": "demo", "encryptedPassword": "A" * 172,
                  "caFile": "ca.pem", "verify": False},
        "users": [{"name": "demo", "encryptedPassword": "A" * 172, "access": 1}]}))


def property_names(value):
    if isinstance(value, dict):
        yield from value.get("properties", {}) if isinstance(value.get("properties"), dict) else ()
        value = list(value.values())
    if isinstance(value, list):
        for element in value:
            yield from property_names(element)


def dictionary(sources):
    """Returns the dictionary in libFuzzer's format: one quoted text on each line."""
    words = {*NUMBERS, *TEXTS, *ENVELOPE_KEYS, *property_names(sources.contract.text), *sources.ids[:12], "{%s}" % sources.ids[0]}
    codes = []
    for code, keywords in sources.messages():
        words.update(keywords["central"], keywords["cloud"])
        codes.append(struct.pack(">H", code))
    words.update(re.findall(r'"([A-Za-z]+)":', sources.show + sources.devices))
    for text in sources.documents.values():
        for cell in re.findall(r"^\| ((?:`\w+`(?:, )?)+)", text, re.MULTILINE):
            words.update(re.findall(r"\w+", cell))
    entries = [word.encode() for word in sorted(words)] + codes + [SEPARATOR + code + b"\0{" for code in codes]
    return "".join('"' + "".join(chr(byte) if 0x20 <= byte < 0x7F and chr(byte) not in '"\\' else f"\\x{byte:02x}"
                                 for byte in entry) + '"\n' for entry in entries)


def main():
    source_folder, output = map(Path, sys.argv[1:])
    shutil.rmtree(output, ignore_errors=True)
    sources, seeds = Sources(source_folder), Seeds(output)
    add_examples(sources, seeds)
    add_messages(sources, seeds)
    add_others(sources, seeds)
    add_files(sources, seeds)
    # Written last: the build uses this file as the output.
    (output / "Dictionary.txt").write_text(dictionary(sources), encoding="ascii")


if __name__ == "__main__":
    main()
