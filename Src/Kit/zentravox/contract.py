"""Reads Contract.json, the definition of all messages, and checks requests and replies against it."""

from __future__ import annotations

import functools
import hashlib
import json
import re
from pathlib import Path
from typing import Any, NamedTuple

import jsonschema

from .wire import REPLY, ProtocolError, hexadecimal, picture_size, read_id_form, read_json

# Beside the package in an installation, in the contract's own folder in the source tree.
CANDIDATES = (Path(__file__).with_name("Contract.json"), Path(__file__).parents[2] / "Contract" / "Contract.json")
ASKERS = ("app", "app-bulk", "fp", "central", "cloud")
KEYED_BY = {"central": ("cmd",), "cloud": ("cmd", "cmdType")}
PICTURE_FORMATS = {"image/png": "PNG", "image/jpeg": "JPEG"}
Schema = dict[str, Any]


class ContractError(ProtocolError):
    """A message differs from the contract. The text names the message, the path of the key, and what was expected."""


class Promise(NamedTuple):
    """One reply that the contract defines for a request.

    where: the channel that receives it, place: its code (route for the cloud, None for central control), schema: its
    definition.
    """

    where: str
    place: int | None
    schema: Schema


def place_text(who: str, place: int | None) -> str:
    """Returns the code or route of a reply as Docs/Protocol.md shows it."""
    return "" if place is None else f"route {place}" if who == "cloud" else hexadecimal(place)


def secret_keys(schema: Any) -> set[str]:
    """Returns the names of all properties in the schema that are writeOnly."""
    found = set()
    if isinstance(schema, dict):
        properties = schema.get("properties")
        if isinstance(properties, dict):
            found |= {key for key, value in properties.items() if isinstance(value, dict) and value.get("writeOnly")}
        schema = list(schema.values())
    if isinstance(schema, list):
        for element in schema:
            found |= secret_keys(element)
    return found


class Contract:
    """The messages by code, and the shapes that they share."""

    def __init__(self, file: Path | None = None) -> None:
        """file: by default the contract of this installation or source tree. Raises OSError, ValueError."""
        if file is None:
            file = next((path for path in CANDIDATES if path.exists()), CANDIDATES[0])
        self.text: dict[str, Any] = json.loads(file.read_text(encoding="utf-8"))
        self.version: str = self.text["version"]
        self.shapes: dict[str, Schema] = self.text["$defs"]
        self.messages: dict[int, dict[str, Any]] = {int(message["code"], 16): message for message in self.text["messages"]}
        # Also in JSON within the text of JSON, where quotes have backslashes, and in incomplete texts.
        self._secrets = re.compile(rf'(\\*"(?:{"|".join(sorted(secret_keys(self.text)))})\\*"\s*:\s*\\*")(?:[^"\\]|\\/)*')
        self.codes = {message["name"]: code for code, message in self.messages.items()}
        for code, message in self.messages.items():
            if message["code"] != hexadecimal(code):
                raise ValueError(f'{file}: expected the code "{hexadecimal(code)}", got "{message["code"]}"')

    def digest(self) -> str:
        """Returns a digest of everything that a remote depends on."""
        content = {key: value for key, value in self.text.items() if key not in ("version", "released")}
        return hashlib.sha256(json.dumps(content, sort_keys=True).encode()).hexdigest()

    def hide_secrets(self, text: str) -> str:
        """Replaces the values of the keys that the contract marks as secret (writeOnly) by ***, as recordings do."""
        return self._secrets.sub(r"\1***", text)

    def code(self, request: int | str) -> int:
        """Returns the code of a request that is given by code or name. Raises ValueError for an unknown name."""
        if isinstance(request, int):
            return request
        if request not in self.codes:
            raise ValueError(f'expected the name of a request, such as "scene-play", got "{request}"')
        return self.codes[request]

    def name(self, code: int) -> str:
        """Returns name and code, or only the code of an unknown message."""
        message = self.messages.get(code & ~REPLY)
        return f"{message['name']} ({hexadecimal(code)})" if message else hexadecimal(code)

    def is_command(self, code: int) -> bool:
        return "command" in self.messages.get(code, {})

    def keywords(self, who: str) -> dict[str, int]:
        """Returns the keywords of central control or the cloud with their codes."""
        known: dict[str, int] = {keyword: code for code, message in self.messages.items()
                                 for keyword in message.get(who, {}).get("keywords", [])}
        if who == "central":
            known.update(dict.fromkeys(self.text["keywordsWithoutCommand"], 0))
        return known

    def check_value(self, schema: Schema, value: object, what: str) -> None:
        """Raises ContractError, beginning with what, if the value doesn't match the schema."""
        validator = jsonschema.Draft202012Validator({"$defs": self.shapes, **schema})
        error = jsonschema.exceptions.best_match(validator.iter_errors(value))
        if error:
            raise ContractError(f"{what}: {error.json_path}: {error.message}")

    def request_schema(self, who: str, code: int) -> Schema:
        """Returns the schema of a request's keys, without cmd and cmdType."""
        message = self.messages[code]
        schema: Schema = message.get("command", message[who]).get("request", {"type": "object", "maxProperties": 0})
        return schema

    def check_request(self, who: str, code: int, body: dict[str, Any]) -> None:
        """Raises ContractError if this channel can't send the request, or not with these keys."""
        what = f"request of {who} {self.name(code)}"
        if who not in self.messages.get(code, {}):
            raise ContractError(f"{what}: not a request of this channel")
        own = {key: value for key, value in body.items() if key not in KEYED_BY.get(who, ())}
        self.check_value(self.request_schema(who, code), own, what)

    def replies(self, who: str, code: int) -> list[Promise]:
        """Returns the replies to a request of this channel."""
        message = self.messages[code]
        answer = message[who]
        if "command" in message:
            if who == "cloud":
                return []
            answer = {"replies": [{"text": "resultText"} if who == "central" else {"body": self.command_reply(message)}]}
        own_code = code | REPLY if who.startswith("app") else code
        return [Promise(schema.get("to", who), self._place(schema, own_code, who), schema) for schema in answer["replies"]]

    @staticmethod
    def _place(schema: Schema, own_code: int, who: str) -> int | None:
        if who == "central":
            return None
        return int(schema["route"]) if who == "cloud" else int(schema.get("code", hex(own_code)), 16)

    def command_reply(self, message: dict[str, Any]) -> Schema:
        request, result = message["command"]["request"], self.shapes["commandResult"]
        # The keys of a refused request may have any values.
        return {"type": "object", "properties": {**dict.fromkeys(request.get("properties", {}), {}),
                                                 **result["properties"]},
                "required": result["required"], "additionalProperties": False}

    def check_replies(self, who: str, code: int, received: list[tuple[str, int | None, bytes]]) -> list[Schema]:
        """Checks all replies to one request: (channel, code or route, payload).

        Returns the definitions that they match. Raises ContractError for a reply that is not in the contract, or that
        was received too often.
        """
        promised = self.replies(who, code)
        matched = []
        for where, place, payload in received:
            what = f"{who} {hexadecimal(code)}: {where} {place_text(who, place)}".rstrip()
            fitting = [promise.schema for promise in promised if (promise.where, promise.place) == (where, place)]
            if not fitting:
                raise ContractError(f"{what} isn't in the contract: {payload[:200]!r}")
            matched.append(self.matching(fitting, payload, what))
        for schema in matched:
            many = schema.get("many", 1)
            if many is not True and matched.count(schema) != many:
                raise ContractError(
                    f"{who} {hexadecimal(code)}: a reply was received {matched.count(schema)} times, not {many}")
        return matched

    def matching(self, schemas: list[Schema], payload: bytes, what: str) -> Schema:
        """Returns the first definition that the payload matches. Raises the error of the first one if none does."""
        failure: ProtocolError | None = None
        for schema in schemas:
            try:
                self.check_payload(schema, payload, what)
                return schema
            except ProtocolError as error:
                failure = failure or error
        raise failure or ContractError(f"{what}: not in the contract")

    def check_payload(self, schema: Schema, payload: bytes, what: str) -> None:
        """Raises ContractError if the payload of a reply or notice doesn't match its definition."""
        try:
            if "picture" in schema:
                kind = picture_size(read_id_form(payload).data)[0]
                if kind != PICTURE_FORMATS[schema["picture"]]:
                    raise ContractError(f"expected {schema['picture']}, got a {kind} picture")
            elif schema.get("text") == "resultText":
                self.check_value({"$ref": "#/$defs/resultText"}, payload.decode(errors="replace"), "text")
            elif schema.get("text") == "text/csv":
                if payload.count(b"\n") == 0 or payload.count(b",") == 0:
                    raise ContractError(f"expected a table, got {payload[:40]!r}")
            elif "body" in schema:
                self.check_value(schema["body"], read_json(payload), "body")
            elif payload:
                raise ContractError(f"expected no body, got {payload[:40]!r}")
        except ProtocolError as error:
            raise ContractError(f"{what}: {error}") from None

    def is_notice(self, code: int, payload: bytes) -> bool:
        """Returns whether a message to the app is a notice. A command's reply may have the same code; it has a result text."""
        return "notice" in self.messages.get(code & ~REPLY, {}) and b'"errorMsg"' not in payload

    def check_notice(self, code: int, payload: bytes) -> None:
        """Raises ContractError if the contract has no such notice to the app."""
        notice = self.messages.get(code, {}).get("notice")
        if not notice:
            raise ContractError(f"the contract has no notice {hexadecimal(code)}: {payload[:200]!r}")
        self.check_payload(notice, payload, f"notice {hexadecimal(code)}")


@functools.lru_cache(maxsize=1)
def shipped() -> Contract:
    """Returns the contract of this installation or source tree."""
    return Contract()
