#!/usr/bin/python3
"""Sends a host with the demo show every example of Docs/Protocol.md, in the page's order, then the contract's remaining
messages. Compares the replies with the page and with the contract, and the page and the tools with the contract.
ProtocolTest.py --update writes the keys and replies that differ into the page instead; the build target update-protocol
runs it.
"""

import contextlib
import json
import os
import re
import subprocess
import sys
import unittest
from pathlib import Path

from Support import SOURCE_FOLDER, Folder, ShowHost, environment, showremote, wait_until
from zentravox import App, CentralControl, CloudService, Contract, FpController, discover
from zentravox.app import HEARTBEAT, LOGIN
from zentravox.contract import ASKERS
from zentravox.notation import section, shape_section
from zentravox.version import VERSION
from zentravox.wire import CLOUD_PORT, REPLY, hexadecimal, picture_size, read_id_form

ADDRESS, OTHER_APP, ENDED = "127.0.0.45", "127.0.0.121", "127.0.0.122"
PAGE = SOURCE_FOLDER / "Docs" / "Protocol.md"
SHARE = Path(os.environ["SHOWREMOTE"]).parents[1] / "share"
EXAMPLE = re.compile(r"```(?:json|text) ask (?P<who>\w+)(?: (?P<code>0x\w+))?\n(?P<body>.*?)\n```\n"
                     r"(?P<replies>(?:\n```(?:json|text) reply .*?\n```\n)*)", re.S)
ANSWER = re.compile(r"```(?:json|text) reply (?P<from>[^\n]+)\n(?P<text>.*?)\n```\n", re.S)
SECTION = re.compile(r"(?P<heading>### (?P<names>0x[^\n]+)\n\n)(?:```text keys\n.*?\n```\n\n?)?", re.S)
SHAPES = re.compile(r"```text shapes\n.*?\n```\n", re.S)

LOGS, RESTART, APP_GONE, FENCE = 0x017, 0x015, 0x012, 0x0fe
SCENE_PLAY, RESOURCE_USED, RESOURCE_DEMUXED = 0x306, 0x421, 0x422
NOTICES = {SCENE_PLAY, RESOURCE_USED, RESOURCE_DEMUXED, APP_GONE}
ENDING = {0x011, 0x015, 0x190}
LAST_CODE = 0x4ff
# The host refuses the cloud's commands when more than twice as many wait.
MAX_WAITING = 32
OPERATION_LOG = 4
MAX_SHOWN_LINES, SHOWN_LINES_OF_LONG = 55, 28
# Values that differ between runs or machines: the page shows "..." for them.
VOLATILE = [(r'("currentTime": )\d+', r"\1..."), (r'("AppQRCode": ").*"', r'\1..."'), (r'("path": ").+"', r'\1..."'),
            (r'("resPath": ").+/', r"\1.../"), (r'("data": ").+"', r'\1..."'), (r'("publicKey": ").+"', r'\1..."')]


def picture_text(body):
    """Returns the page's text for a picture: its id, format and size."""
    id, picture = read_id_form(body)
    kind, width, height = picture_size(picture)
    return f"id {id}, {kind} {width} x {height}"


def shown(where, place, payload):
    """Returns a reply as the page shows it: the sender and the text."""
    sender = where.replace("-", ", ")
    if where == "cloud":
        sender += f" route {place}"
    elif place is not None:
        sender += " " + hexadecimal(place)
    return sender, picture_text(payload) if payload.startswith(b"ZXID") else payload.decode().rstrip("\n")


def output(*command):
    """Returns the output of a command, which must succeed without a message on standard error."""
    ran = subprocess.run(command, env=environment(), capture_output=True, encoding="utf-8", check=True)
    assert not ran.stderr, ran.stderr
    return ran.stdout


def completed(*words):
    """Returns the completions of the last of these words after showremote. bash and fish must offer the same."""
    bash = (f'source {SHARE}/bash-completion/completions/showremote; COMP_WORDS=(showremote "$@"); COMP_CWORD=$#; '
            '_showremote; printf "%s\\n" "${COMPREPLY[@]}"')
    fish = f'source {SHARE}/fish/vendor_completions.d/showremote.fish; complete -C "showremote $argv" | cut -f1'
    offers = [set(output(*command, *words).split())
              for command in (("bash", "-c", bash, "bash"), ("fish", "--no-config", "-c", fish))]
    assert offers[0] == offers[1], offers
    return offers[0]


class Remotes:
    """One remote of each kind. ask() returns all replies as (where, code or route, payload); the app's notices are stored
    separately. After each request a "fence" is sent: a request whose reply shows that all earlier replies have arrived."""

    def __init__(self, address, enter, *options):
        controller = enter(FpController(address))
        cloud = enter(CloudService(address))
        self.host = enter(ShowHost(address, enter(Folder()), "--fp", f"{address}:{controller.port}",
                                   "--cloud", f"ws://{address}:{CLOUD_PORT}", *options))
        self.fp = enter(controller.accept())
        self.cloud = enter(cloud.accept())
        self.app = enter(App(address))
        self.central = enter(CentralControl(address))
        self.notices = []
        self.fences = 0

    def send(self, who, code, body):
        if who == "central":
            self.central.send(body.encode())
        elif who == "cloud":
            self.cloud.send(**json.loads(body))
        else:
            channel = {"app": self.app.control, "app-bulk": self.app.bulk, "fp": self.fp}[who]
            channel.send_bytes(code, body.encode())

    def ask(self, who, code, body):
        self.send(who, code, body)
        return self.replies_to(who, code)

    def replies_to(self, who, code=None):
        return getattr(self, "replies_to_" + who.replace("-", "_"))(code)

    def replies_to_app(self, _):
        self.app.control.send_bytes(FENCE, self.next_fence())
        received = self.until(self.app.control, REPLY | FENCE, "app")
        self.app.bulk.send(HEARTBEAT)
        return received + self.until(self.app.bulk, REPLY | HEARTBEAT, "app-bulk")

    def replies_to_app_bulk(self, _):
        # This channel has one request at a time: no fence is needed, and its reply would look like the answer.
        return [("app-bulk", *self.app.bulk.receive_bytes())]

    def replies_to_fp(self, _):
        self.fp.send_bytes(FENCE, self.next_fence())
        return self.until(self.fp, FENCE, "fp")

    def replies_to_central(self, _):
        fence = self.next_fence()
        self.central.send(fence)
        received = []
        while fence[2:-2] not in (answer := self.central.receive()):
            received.append(("central", None, answer))
        return received

    def replies_to_cloud(self, code):
        self.cloud.send(cmdType=LOGS)
        received = []
        while sum(route == OPERATION_LOG for _, route, _ in received) < 1 + (code == LOGS):
            route, data = self.cloud.receive()
            received.append(("cloud", route, data.encode()))
        return received[:-2]

    def next_fence(self):
        self.fences += 1
        return json.dumps({"cmd": f"fence {self.fences}"}).encode()

    def until(self, channel, fence, name):
        received = []
        while (message := channel.receive_bytes())[0] != fence:
            code, body = message
            if code & ~REPLY in NOTICES and b"errorMsg" not in body:
                self.notices.append((code & ~REPLY, body))
            else:
                received.append((name, code, body))
        return received


def fits(shown, text):
    """Returns whether the page's text matches the reply. A line "..." matches any lines, "..." in a line any text."""
    lines = [r"(?:.*\n)*?" if line.strip() == "..." else re.escape(line).replace(r"\.\.\.", ".*") + r"\n"
             for line in shown.split("\n")]
    return re.fullmatch("".join(lines), text + "\n") is not None


def shorten(text):
    for pattern, replacement in VOLATILE:
        text = re.sub(pattern, replacement, text)
    lines = text.split("\n")
    if len(lines) > MAX_SHOWN_LINES:
        lines = lines[:SHOWN_LINES_OF_LONG] + ["..."] + lines[-2:]
    return "\n".join(lines)


def updated(example, received):
    old = [(answer["from"], answer["text"]) for answer in ANSWER.finditer(example["replies"])]
    text = example[0][:len(example[0]) - len(example["replies"])]
    for place, (sender, body) in enumerate(received):
        if place < len(old) and old[place][0] == sender and fits(old[place][1], body):
            body = old[place][1]
        else:
            body = shorten(body)
        text += f"\n```{'json' if body.startswith('{') else 'text'} reply {sender}\n{body}\n```\n"
    return text


def with_keys(contract, page):
    """Returns the page with the contract's keys of each message and of the shared shapes."""
    def keys(match):
        codes = [int(code, 16) for code in re.findall(r"0x(\w+)", match["names"])]
        texts = [(f"{hexadecimal(code)}\n" if len(codes) > 1 else "") + section(contract, code) for code in codes]
        return match["heading"] + "```text keys\n" + "\n".join(texts) + "\n```\n\n"

    page = SECTION.sub(keys, page)
    return SHAPES.sub(lambda _: f"```text shapes\n{shape_section(contract)}\n```\n", page)


class Replay:
    """The page's examples and the host's replies to each."""

    def __init__(self, contract, remotes, page):
        self.replies = []
        for example in EXAMPLE.finditer(page):
            who, body = example["who"], example["body"]
            keyword = json.loads(body).get("cmd") if body.startswith("{") else body
            code = int(example["code"], 16) if example["code"] else contract.keywords(who).get(keyword)
            if who == "cloud" and code is None:
                code = json.loads(body)["cmdType"]
            self.replies.append((example, who, code, remotes.ask(who, code, body)))


class ProtocolTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.contract = Contract()
        cls.page = PAGE.read_text(encoding="utf-8")
        cls.remotes = Remotes(ADDRESS, cls.enterClassContext)
        cls.replay = Replay(cls.contract, cls.remotes, cls.page)

    def test_the_examples_are_what_the_host_answers(self):
        self.assertGreater(len(self.replay.replies), 60)
        for example, who, code, received in self.replay.replies:
            expected = [(answer["from"], answer["text"]) for answer in ANSWER.finditer(example["replies"])]
            with self.subTest(who=who, code=code if code is None else hexadecimal(code), body=example["body"]):
                replies = [shown(*reply) for reply in received]
                self.assertEqual([sender for sender, _ in replies], [sender for sender, _ in expected])
                for (_, text), (_, shown_text) in zip(replies, expected):
                    self.assertTrue(fits(shown_text, text), f"the page has\n{shown_text}\nand the host replies\n{text}")

    def test_all_remotes_receive_the_replies_of_the_contract_for_each_message(self):
        matched, bodies, asked = [], {}, set()
        refusals = [text for text in self.contract.shapes["resultText"]["enum"] if text != "SUCCESS"]

        def check(who, code, body, received):
            if body.get("cmd") in self.contract.text["keywordsWithoutCommand"] and who == "central":
                self.assertEqual(received, [("central", None, b"COMMAND ERROR")])
                return
            promises = self.contract.check_replies(who, code, received)
            if "command" in self.contract.messages[code] and who != "cloud":
                self.assertTrue(promises, "a command must be answered")
            matched.extend((who, code, promise) for promise in promises)
            asked.add((who, code, body.get("cmd")))

        for example, who, code, received in self.replay.replies:
            if code is None:
                continue
            body = json.loads(example["body"]) if example["body"].startswith("{") else {"cmd": example["body"]}
            check(who, code, body, received)
            bodies.setdefault(code, {key: value for key, value in body.items() if key not in ("cmd", "cmdType")})
            if code and not any(refusal.encode() in payload for refusal in refusals for _, _, payload in received):
                self.contract.check_request(who, code, body)
        for who, code, keyword in self.all_messages():
            if (who, code, keyword) in asked or (keyword is None and any(key[:2] == (who, code) for key in asked)):
                continue
            body = dict(bodies.get(code, {}))
            if keyword:
                body["cmd"] = keyword
            elif who == "cloud":
                body["cmdType"] = code
            with self.subTest(who=who, code=hexadecimal(code), body=body):
                check(who, code, body, self.remotes.ask(who, code, json.dumps(body)))
        for who, code in {(who, code) for who, code, _ in self.all_messages()}:
            for where, _, promise in self.contract.replies(who, code) if code else []:
                self.assertIn((who, code, promise), matched, f"{who} {hexadecimal(code)} never received this on {where}")

    def all_messages(self):
        """Yields each asker's messages that don't end the host, once for each of their keywords."""
        for code, message in self.contract.messages.items():
            for who in message.keys() & set(ASKERS) if code not in ENDING else ():
                for keyword in message[who].get("keywords") or [None]:
                    yield who, code, keyword
        for keyword in self.contract.text["keywordsWithoutCommand"]:
            yield "central", 0, keyword

    def test_codes_that_the_contract_does_not_know_are_refused(self):
        for who in ("app", "fp", "cloud"):
            received = []
            unknown = [code for code in range(LAST_CODE) if code != FENCE and code not in ENDING
                       and who not in self.contract.messages.get(code, {})]
            for start in range(0, len(unknown), MAX_WAITING):
                for code in unknown[start:start + MAX_WAITING]:
                    self.remotes.send(who, code, json.dumps({"cmdType": code}))
                received += self.remotes.replies_to(who)
            for place, _, payload in received:
                self.assertEqual((place, json.loads(payload).get("errorMsg")), (who, "COMMAND ERROR"), payload)
            for other in ("app", "fp", "central", "cloud"):
                self.assertEqual(self.remotes.replies_to(other), [], f"a request of {who} is answered to {other}")

    def test_notices_are_what_the_contract_says(self):
        def log_in(app):
            reply = app.try_log_in("demo", "demo", force=True)
            self.contract.check_replies("app", LOGIN, [("app", REPLY | LOGIN, json.dumps(reply).encode())])
            self.assertEqual(reply["result"], 0)

        log_in(self.remotes.app)
        self.remotes.app.upload(SOURCE_FOLDER / "Examples/DemoShow/Media/Balloons.jpg")
        with App(ADDRESS, OTHER_APP) as other:
            log_in(other)

            def received():
                self.remotes.ask("app", HEARTBEAT, "{}")
                return NOTICES <= {code for code, _ in self.remotes.notices}

            wait_until(received, "a notice of each kind")
        for code, body in self.remotes.notices:
            self.contract.check_notice(code, body)
        self.contract.check_value(self.contract.text["discovery"]["reply"], discover(ADDRESS), "discovery")

    def test_messages_that_end_the_host(self):
        for code in ENDING:
            for who in self.contract.messages[code].keys() & set(ASKERS):
                for keyword in self.contract.messages[code][who].get("keywords") or [None]:
                    with self.subTest(who=who, code=hexadecimal(code), keyword=keyword), contextlib.ExitStack() as stack:
                        remotes = Remotes(ENDED, stack.enter_context)
                        remotes.host.expected_code = 3 if code == RESTART else 0
                        body = {"cmd": keyword} if keyword else {"cmdType": code} if who == "cloud" else {}
                        remotes.send(who, code, json.dumps(body))
                        remotes.host.ended()

    def test_the_page_has_the_keys_of_every_message(self):
        self.assertEqual(with_keys(self.contract, self.page), self.page, "Docs/Protocol.md differs from the contract; cmake --build --preset dev --target update-protocol updates it")
        headings = "\n".join(re.findall(r"^### .*", self.page, re.M))
        for code, message in self.contract.messages.items():
            heading = f"{hexadecimal(code)} {message['name']}"
            self.assertTrue(heading in headings, f"Docs/Protocol.md has no heading with {heading}")
        for keyword in self.contract.text["keywordsWithoutCommand"]:
            self.assertIn(f"`{keyword}`", self.page)

    def test_the_tools_have_the_messages_of_the_contract(self):
        names = {message["name"] for message in self.contract.messages.values()} | {"listen"}
        for who in ("central", "cloud"):
            lines = (line.split() for line in showremote(who, "--list").stdout.splitlines())
            self.assertEqual({keyword: int(code, 16) for code, keyword in lines}, self.contract.keywords(who))
            self.assertEqual(completed(who, ""), {*self.contract.keywords(who), *(names if who == "cloud" else ())})
        self.assertEqual(completed("app", "public"), {"public-key"})
        self.assertEqual(completed("fp", ""), names)
        self.assertLess({"--host", "--raw"}, completed("central", "--"))
        self.assertEqual(completed("cen"), {"central"})

    def test_a_changed_contract_has_a_new_version(self):
        self.assertEqual(self.contract.text["released"].get(self.contract.text["version"]), self.contract.digest(),
                         "the contract has changed: raise \"version\" and add it to \"released\" with the second digest")
        for version in self.contract.text["released"]:
            self.assertIn(f"\n## {version}\n", PAGE.with_name("ContractChanges.md").read_text(encoding="utf-8"))

    def test_every_program_shows_the_same_versions_and_has_a_man_page(self):
        for program in (os.environ["SHOWHOST"], os.environ["SHOWREMOTE"], SOURCE_FOLDER / "Src" / "Kit" / "zentravox-kit"):
            name = os.path.basename(program)
            self.assertEqual(output(program, "--version"), f"{name} {VERSION} (contract {self.contract.version})\n")
            self.assertIn(name, output("man", "--warnings", "-E", "UTF-8", "-l", f"{SHARE}/man/man1/{name}.1.gz"))
            output("zsh", "-n", f"{SHARE}/zsh/vendor-completions/_{name}")


def update():
    ProtocolTest.setUpClass()
    try:
        replies = iter(ProtocolTest.replay.replies)
        page = EXAMPLE.sub(lambda example: updated(example, [shown(*reply) for reply in next(replies)[3]]),
                           ProtocolTest.page)
        PAGE.write_text(with_keys(ProtocolTest.contract, page), encoding="utf-8")
    finally:
        ProtocolTest.doClassCleanups()


if __name__ == "__main__":
    if sys.argv[1:] == ["--update"]:
        update()
    else:
        unittest.main()
