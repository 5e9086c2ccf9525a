#!/usr/bin/python3
"""Asks a host with the demo show everything that Docs/Protocol.md gives as an example, in its order, and compares the
replies. ProtocolTest.py --update writes the replies that don't fit any more into the page instead.
"""

import json
import re
import struct
import sys
import unittest
import uuid
from pathlib import Path

from Support import REPLY, App, Central, Folder, FPController, ShowHost, showremote

ADDRESS = "127.0.0.45"
PAGE = Path(__file__).resolve().parents[2] / "Docs" / "Protocol.md"
EXAMPLE = re.compile(r"```(?:json|text) ask (?P<who>\w+)(?: (?P<code>0x\w+))?\n(?P<body>.*?)\n```\n"
                     r"(?P<replies>(?:\n```(?:json|text) reply .*?\n```\n)*)", re.S)
ANSWER = re.compile(r"```(?:json|text) reply (?P<from>[^\n]+)\n(?P<text>.*?)\n```\n", re.S)

HEARTBEAT, FENCE, SCENE_PLAY, RESOURCE_USED = 0x001, 0x0fe, 0x306, 0x421
LONGEST_SHOWN, SHOWN_OF_LONG = 55, 28
# What is different each time, or on each machine.
VOLATILE = [(r'("currentTime": )\d+', r"\1..."), (r'("AppQRCode": ").*"', r'\1..."'), (r'("path": ").+"', r'\1..."'),
            (r'("resPath": ").+/', r"\1.../"), (r'("data": ").+"', r'\1..."'), (r'("publicKey": ").+"', r'\1..."')]


def picture_text(body):
    """What the page says of a picture: its id, format and size."""
    picture = body[24:]
    if picture[1:4] == b"PNG":
        kind, (width, height) = "PNG", struct.unpack(">II", picture[16:24])
    else:
        place = 2
        while picture[place + 1] not in (0xc0, 0xc2):
            place += 2 + struct.unpack(">H", picture[place + 2:place + 4])[0]
        kind, (height, width) = "JPEG", struct.unpack(">HH", picture[place + 5:place + 9])
    return f"id {uuid.UUID(bytes=body[4:20])}, {kind} {width} x {height}"


def text_of(body):
    return picture_text(body) if body.startswith(b"ZXID") else body.decode().rstrip("\n")


class Remotes:
    """One remote of each kind; ask() returns what came as (from, text) until all that was on its way has come."""

    def __init__(self, app, central, fp):
        self.app, self.central, self.fp = app, central, fp
        self.fences = 0

    def ask(self, who, code, body):
        return getattr(self, f"ask_{who}")(code and int(code, 16), body.encode())

    def ask_app(self, code, body):
        self.app.control.send_bytes(code, body)
        fence = self.next_fence()
        self.app.control.send_bytes(FENCE, fence)
        came = self.until(self.app.control, lambda code, text: code == REPLY | FENCE, "app")
        self.app.bulk.send(HEARTBEAT)
        return came + self.until(self.app.bulk, lambda code, text: code == REPLY | HEARTBEAT, "app, bulk")

    def ask_fp(self, code, body):
        self.fp.send_bytes(code, body)
        self.fp.send_bytes(FENCE, self.next_fence())
        return self.until(self.fp, lambda code, text: code == FENCE, "fp")

    def ask_central(self, _, body):
        self.central.send(body)
        fence = self.next_fence()
        self.central.send(fence)
        came = []
        while fence[2:-2] not in (answer := self.central.receive()):
            came.append(("central", text_of(answer)))
        return came

    def next_fence(self):
        self.fences += 1
        return json.dumps({"cmd": f"fence {self.fences}"}).encode()

    @staticmethod
    def until(channel, is_fence, name):
        came = []
        while True:
            code, body = channel.receive_bytes()
            if is_fence(code, body):
                return came
            notice = (code == REPLY | SCENE_PLAY and json.loads(body) == {"result": 1}) or code == REPLY | RESOURCE_USED
            if not notice:
                came.append((f"{name} 0x{code:03x}", text_of(body)))


def fits(shown, text):
    """Whether the page's text is the reply; a line of dots stands for any lines, dots in a line for any text."""
    lines = [r"(?:.*\n)*?" if line.strip() == "..." else re.escape(line).replace(r"\.\.\.", ".*") + r"\n"
             for line in shown.split("\n")]
    return re.fullmatch("".join(lines), text + "\n") is not None


def shorten(text):
    for pattern, replacement in VOLATILE:
        text = re.sub(pattern, replacement, text)
    lines = text.split("\n")
    if len(lines) > LONGEST_SHOWN:
        lines = lines[:SHOWN_OF_LONG] + ["..."] + lines[-2:]
    return "\n".join(lines)


def updated(example, came):
    shown = [(answer["from"], answer["text"]) for answer in ANSWER.finditer(example["replies"])]
    text = example[0][:len(example[0]) - len(example["replies"])]
    for place, (sender, body) in enumerate(came):
        if place < len(shown) and shown[place][0] == sender and fits(shown[place][1], body):
            body = shown[place][1]
        else:
            body = shorten(body)
        text += f"\n```{'json' if body.startswith('{') else 'text'} reply {sender}\n{body}\n```\n"
    return text


class ProtocolTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.page = PAGE.read_text(encoding="utf-8")
        state = cls.enterClassContext(Folder())
        controller = cls.enterClassContext(FPController(ADDRESS))
        cls.enterClassContext(ShowHost(ADDRESS, state, "--fp", f"{ADDRESS}:{controller.port}"))
        fp = cls.enterClassContext(controller.accept())
        app = cls.enterClassContext(App(ADDRESS))
        central = cls.enterClassContext(Central(ADDRESS))
        cls.remotes = Remotes(app, central, fp)

    def test_the_examples_are_what_the_host_answers(self):
        asked = 0
        for example in EXAMPLE.finditer(self.page):
            asked += 1
            shown = [(answer["from"], answer["text"]) for answer in ANSWER.finditer(example["replies"])]
            with self.subTest(who=example["who"], code=example["code"], body=example["body"]):
                came = self.remotes.ask(example["who"], example["code"], example["body"])
                self.assertEqual([sender for sender, _ in came], [sender for sender, _ in shown])
                for (_, text), (_, expected) in zip(came, shown):
                    self.assertTrue(fits(expected, text), f"the page has\n{expected}\nand the host says\n{text}")
        self.assertGreater(asked, 60)

    def test_every_request_and_keyword_is_described(self):
        headings = "\n".join(re.findall(r"^### .*", self.page, re.M))
        for line in showremote("app", "--list").stdout.splitlines():
            self.assertIn(" ".join(line.split()), headings)
        for line in showremote("central", "--list").stdout.splitlines():
            self.assertIn(f"`{line.split()[-1]}`", self.page)


def update():
    ProtocolTest.setUpClass()
    try:
        remotes = ProtocolTest.remotes
        page = EXAMPLE.sub(
            lambda example: updated(example, remotes.ask(example["who"], example["code"], example["body"])),
            ProtocolTest.page)
        PAGE.write_text(page, encoding="utf-8")
    finally:
        ProtocolTest.doClassCleanups()


if __name__ == "__main__":
    if sys.argv[1:] == ["--update"]:
        update()
    else:
        unittest.main()
