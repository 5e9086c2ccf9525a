"""Reads Src/Contract/Contract.json, and checks requests and replies against it."""

import hashlib
import json
import re
import textwrap
from pathlib import Path

import jsonschema

from Support import REPLY

SOURCE_FOLDER = Path(__file__).resolve().parents[2]
MODULE_COMMON = SOURCE_FOLDER / "Src/Libs/ExternalController/ExternalController/Common"
ASKERS = ("app", "app-bulk", "fp", "central", "cloud")
KEYED_BY = {"central": ("cmd",), "cloud": ("cmd", "cmdType")}
PAGE_WIDTH = 118


def hexadecimal(code):
    return f"0x{code:03x}"


def place_text(who, place):
    """Returns the code or route of a reply as Docs/Protocol.md shows it."""
    return "" if place is None else f"route {place}" if who == "cloud" else hexadecimal(place)


class Contract:
    def __init__(self):
        self.text = json.loads((SOURCE_FOLDER / "Src" / "Contract" / "Contract.json").read_text(encoding="utf-8"))
        self.shapes = self.text["$defs"]
        self.messages = {int(message["code"], 16): message for message in self.text["messages"]}
        for code, message in self.messages.items():
            if message["code"] != hexadecimal(code):
                raise AssertionError(f'Contract.json: write the code {message["code"]} as "{hexadecimal(code)}"')

    def digest(self):
        """Returns a digest of everything that a remote depends on."""
        content = {key: value for key, value in self.text.items() if key not in ("version", "released")}
        return hashlib.sha256(json.dumps(content, sort_keys=True).encode()).hexdigest()

    def keywords(self, who):
        """Returns the keywords of central control or the cloud with their codes."""
        known = {keyword: code for code, message in self.messages.items()
                 for keyword in message.get(who, {}).get("keywords", [])}
        if who == "central":
            known.update(dict.fromkeys(self.text["keywordsWithoutCommand"], 0))
        return known

    def check_value(self, schema, value, what):
        validator = jsonschema.Draft202012Validator({"$defs": self.shapes, **schema})
        error = jsonschema.exceptions.best_match(validator.iter_errors(value))
        if error:
            raise AssertionError(f"{what}: {error.json_path}: {error.message}")

    def check_request(self, who, code, body):
        message = self.messages[code]
        own = {key: value for key, value in body.items() if key not in KEYED_BY.get(who, ())}
        schema = message.get("command", message[who]).get("request", {"type": "object", "maxProperties": 0})
        self.check_value(schema, own, f"request of {who} {hexadecimal(code)}")

    def replies(self, who, code):
        """Returns the specified replies as (where, code or route, promise). A promise is one reply's definition."""
        message = self.messages[code]
        answer = message[who]
        if "command" in message:
            if who == "cloud":
                return []
            answer = {"replies": [{"text": "fate"} if who == "central" else {"body": self.command_reply(message)}]}
        own_code = code | REPLY if who.startswith("app") else code
        return [(promise.get("to", who), self.place_of(promise, own_code, who), promise)
                for promise in answer["replies"]]

    @staticmethod
    def place_of(promise, own_code, who):
        if who == "central":
            return None
        return promise["route"] if who == "cloud" else int(promise.get("code", hex(own_code)), 16)

    def command_reply(self, message):
        request, result = message["command"]["request"], self.shapes["fate"]
        # The keys of a refused request may have any values.
        return {"type": "object", "properties": {**dict.fromkeys(request.get("properties", {}), {}),
                                                 **result["properties"]},
                "required": result["required"], "additionalProperties": False}

    def check_replies(self, who, code, received):
        """received: the replies, as (where, code or route, payload). Returns the promises that they match."""
        promised = self.replies(who, code)
        matched = []
        for where, place, payload in received:
            what = f"{who} {hexadecimal(code)}: {where} {place_text(who, place)}".rstrip()
            fitting = [promise for to, at, promise in promised if (to, at) == (where, place)]
            if not fitting:
                raise AssertionError(f"{what} isn't in the contract: {payload[:200]!r}")
            matched.append(self.matching_promise(fitting, payload, what))
        for promise in matched:
            many = promise.get("many", 1)
            if many is not True and matched.count(promise) != many:
                raise AssertionError(f"{who} {hexadecimal(code)}: a reply was received {matched.count(promise)} times, not {many}")
        return matched

    def matching_promise(self, promises, payload, what):
        failure = None
        for promise in promises:
            try:
                self.check_payload(promise, payload, what)
                return promise
            except AssertionError as error:
                failure = failure or error
        raise failure

    def check_payload(self, promise, payload, what):
        if "picture" in promise:
            starts = {"image/png": b"\x89PNG", "image/jpeg": b"\xff\xd8\xff"}[promise["picture"]]
            if not payload.startswith(b"ZXID") or not payload[24:].startswith(starts):
                raise AssertionError(f"{what}: not an id with {promise['picture']}: {payload[:40]!r}")
        elif promise.get("text") == "fate":
            self.check_value({"$ref": "#/$defs/resultText"}, payload.decode(), what)
        elif promise.get("text") == "text/csv":
            if payload.count(b"\n") == 0 or payload.count(b",") == 0:
                raise AssertionError(f"{what}: not a table: {payload[:40]!r}")
        elif "body" in promise:
            self.check_value(promise["body"], json.loads(payload), what)
        elif payload:
            raise AssertionError(f"{what}: not empty: {payload[:40]!r}")

    def check_notice(self, code, payload):
        notice = self.messages[code].get("notice")
        if not notice:
            raise AssertionError(f"the contract has no notice {hexadecimal(code)}: {payload[:200]!r}")
        self.check_payload(notice, payload, f"notice {hexadecimal(code)}")

    # The text of Docs/Protocol.md.

    def section(self, code):
        """Returns the page's text about a message: who may send it with which keys, and the replies."""
        message = self.messages[code]
        lines = []
        if "command" in message:
            keywords = "; ".join(f"{who}: {', '.join(message[who]['keywords'])}" for who in ("central", "cloud")
                                 if message.get(who, {}).get("keywords"))
            lines.append(f"command {self.notation(message['command']['request'])}")
            lines += [keywords] if keywords else []
        for who in ASKERS:
            if who in message and "command" not in message:
                asked = " | ".join(message[who].get("keywords", []))
                request = message[who].get("request")
                lines.append(" ".join(filter(None, [f"{who}:", asked, request and self.notation(request)])))
                lines += [f"  -> {self.promise_text(where, place, promise, who, code)}"
                          for where, place, promise in self.replies(who, code)]
        if "notice" in message:
            body = message["notice"].get("body")
            lines.append("notice to the app" + (" " + self.notation(body) if body else ", empty"))
        return "\n".join(wrapped for line in lines for wrapped in
                         textwrap.wrap(line, PAGE_WIDTH, subsequent_indent="       ", break_long_words=False,
                                       break_on_hyphens=False))

    def promise_text(self, where, place, promise, who, code):
        usual = code | REPLY if who.startswith("app") else code
        parts = [] if where == who else [where]
        if who == "cloud":
            parts.append(f"route {place}")
        elif place not in (None, usual):
            parts.append(hexadecimal(place))
        parts.append(promise.get("picture") or promise.get("text") or self.notation(promise["body"]))
        return ", ".join(parts)

    def shape_section(self):
        lines = []
        for name, shape in self.shapes.items():
            text = f"{name}: {self.notation(shape)}"
            if "description" in shape:
                text += f"  # {shape['description']}"
            lines += textwrap.wrap(text, PAGE_WIDTH, subsequent_indent="    ", break_long_words=False,
                                   break_on_hyphens=False)
        return "\n".join(lines)

    @staticmethod
    def bounds(schema):
        least, greatest = schema.get("minimum"), schema.get("maximum")
        if greatest is None:
            return "" if least is None else f" from {least}"
        return f" up to {greatest}" if least is None else f" {least}..{greatest}"

    def notation(self, schema):
        if "$ref" in schema:
            return schema["$ref"].rsplit("/", 1)[1]
        if "const" in schema:
            return json.dumps(schema["const"])
        if "enum" in schema:
            return " | ".join(map(json.dumps, schema["enum"]))
        if schema["type"] == "array":
            return f"[{self.notation(schema['items'])}]"
        if schema["type"] != "object":
            return schema["type"] + self.bounds(schema)
        keys = ["..." + self.notation(base) for base in schema.get("allOf", [])]
        keys += [f"{key}{'' if key in schema.get('required', []) else '?'}: {self.notation(value)}"
                 for key, value in schema.get("properties", {}).items()]
        keys += [f"0, 1, ...: {self.notation(value)}" for value in schema.get("patternProperties", {}).values()]
        return "{" + ", ".join(keys) + "}"


def routes_of_the_module():
    """Returns the routing table: the answerer for each code and asker."""
    header = (MODULE_COMMON / "Routes.h").read_text(encoding="utf-8")
    codes = named_codes()
    askers = {"App": "app", "FP": "fp", "CentralControl": "central", "CloudControl": "cloud"}
    routes = {}
    for name, flags, answerer in re.findall(r"\{Command::(\w+), (Source::[\w |:]+), Answerer::(\w+)\}", header):
        flags = re.findall(r"Source::(\w+)", flags)
        for flag in askers if flags == ["Every"] else flags:
            key = codes[name], askers[flag]
            if key in routes:
                raise AssertionError(f"two routes for {askers[flag]} {hexadecimal(codes[name])}")
            routes[key] = answerer
    return routes


def named_codes():
    """Returns the codes of Command.h by name."""
    header = (MODULE_COMMON / "Command.h").read_text(encoding="utf-8")
    enumeration = re.search(r"enum Code : int \{(.*?)\};", header, re.S).group(1)
    return {name: int(code, 16) for name, code in re.findall(r"(\w+) = (0x\w+),", enumeration)}
