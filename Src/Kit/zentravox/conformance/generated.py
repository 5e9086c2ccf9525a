"""The rules that follow from the contract. A number ends with the request's code, in hexadecimal.

1: which replies a request has. 2: the keys and types of its replies. 3: how a command with wrong values is refused.
"""

from __future__ import annotations

import functools
import json
from collections.abc import Callable
from typing import Any

from ..contract import ASKERS, Contract
from ..notation import notation, promise_text
from ..wire import ProtocolError, hexadecimal, read_json
from .rule import Failure, Rule, expect
from .session import Reply, Session

CHANNELS = {"app": "app control", "app-bulk": "app bulk", "fp": "FP", "central": "central control", "cloud": "cloud"}
PREFIXES = {"app": "APP", "app-bulk": "BULK", "fp": "FP", "central": "CENT", "cloud": "CLOUD"}
# A check must not end the host.
ENDING = (0x011, 0x015, 0x190)
CHANGING = (0x004,)
WRONG = "no such value"
REFUSED = {"errorMsg": "PARAMETER ERROR", "result": 8}


def text_resource(session: Session) -> dict[str, Any]:
    return {"resourceId": session.resource("isTextResource")["resourceId"]}


def scene_ids(session: Session) -> dict[str, Any]:
    group, scene = session.scene()
    return {"sceneGroupId": group["sceneGroupId"], "sceneId": scene["sceneId"]}


# The keys of queries: values that are valid on the host.
KEYS: dict[int, Callable[[Session], dict[str, Any]]] = {
    0x003: lambda session: {"username": "no such user", "password": ""},
    0x004: lambda session: {"name": session.ask("host-name-and-version")["name"]},
    0x010: lambda session: {"id": "an app"},
    0x021: lambda session: {"param": 0},
    0x118: lambda session: {"mediaId": session.medium()["mediaId"]},
    0x201: lambda session: {"mediaId": session.medium()["mediaId"]},
    0x308: scene_ids,
    0x401: lambda session: {"resourceId": session.resource()["resourceId"]},
    0x403: lambda session: {"resourceId": session.resource()["resourceId"]},
    0x404: text_resource,
}


def wrong_values(contract: Contract, code: int) -> dict[str, Any]:
    """Returns keys with which a command must be refused, so that it changes nothing."""
    return dict.fromkeys(contract.messages[code]["command"]["request"]["properties"], WRONG)


def exchanges(session: Session, who: str, code: int) -> list[tuple[dict[str, Any], list[Reply]]]:
    """Sends the request with each of its keywords; returns the bodies and their replies."""
    contract = session.contract
    body = wrong_values(contract, code) if contract.is_command(code) else KEYS.get(code, lambda _: {})(session)
    keywords = contract.messages[code][who].get("keywords", [])
    bodies = [{**body, "cmd": keyword} for keyword in keywords]
    if who == "cloud":
        bodies.append({**body, "cmdType": code})
    return [(sent, session.once(who, code, sent)) for sent in bodies or [body]]


def check_delivery(session: Session, who: str, code: int) -> None:
    for _, received in exchanges(session, who, code):
        session.check_delivery(who, code, received)


def check_content(session: Session, who: str, code: int) -> None:
    for _, received in exchanges(session, who, code):
        session.check_content(who, code, received)


def check_refusal(session: Session, who: str, code: int) -> None:
    for body, received in exchanges(session, who, code):
        expected = "PARAMETER ERROR" if who == "central" else {**body, **REFUSED}
        if not received:
            raise Failure(json.dumps(expected), "no reply")
        answer = received[0][2]
        try:
            value = answer.decode() if who == "central" else read_json(answer)
        except (ProtocolError, UnicodeDecodeError):
            value = answer
        expect(value == expected, json.dumps(expected), answer.decode(errors="replace"))


def delivery_text(contract: Contract, who: str, code: int) -> str:
    promises = contract.replies(who, code)
    name = contract.name(code)
    if not promises:
        return f"{name} is not answered."
    parts = []
    for promise in promises:
        place = "" if promise.place is None else f"route {promise.place}" if who == "cloud" else hexadecimal(promise.place)
        many = promise.schema.get("many", 1)
        times = "once" if many == 1 else "any number of times" if many is True else f"{many} times"
        text = " ".join(filter(None, [place, f"on {CHANNELS[promise.where]}" if promise.where != who else "", times]))
        if text not in parts:
            parts.append(text)
    return f"{name} is answered {' and '.join(parts)}."


def generate(contract: Contract) -> list[Rule]:
    """Returns the rules of each channel's requests."""
    rules = []
    for who in ASKERS:
        for code, message in contract.messages.items():
            if who not in message or code in ENDING or (who == "central" and not message[who].get("keywords")):
                continue
            changes = code in CHANGING

            def add(kind: int, text: str, check: Callable[[Session, str, int], None]) -> None:
                rules.append(Rule(f"{PREFIXES[who]}-{kind}{code:03x}", text, CHANNELS[who],
                                  functools.partial(check, who=who, code=code), changes=changes))

            promises = contract.replies(who, code)
            add(1, delivery_text(contract, who, code), check_delivery)
            if promises and not contract.is_command(code):
                shown = " or ".join(dict.fromkeys(promise_text(promise, who, code) for promise in promises))
                add(2, f"The reply to {contract.name(code)} is {shown}.", check_content)
            elif promises:
                texts = notation(contract.shapes["resultText"])
                reply = texts if who == "central" else "the request's keys, result and errorMsg"
                add(2, f"The reply to {contract.name(code)} is {reply}.", check_content)
                if contract.messages[code]["command"]["request"].get("properties"):
                    add(3, f"{contract.name(code)} with values of a wrong type is refused with PARAMETER ERROR.", check_refusal)
    return rules
