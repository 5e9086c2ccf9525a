"""The contract as text: the notation of Docs/Protocol.md."""

from __future__ import annotations

import json
import textwrap

from .contract import ASKERS, Contract, Promise, Schema
from .wire import REPLY, hexadecimal

PAGE_WIDTH = 118


def section(contract: Contract, code: int) -> str:
    """Returns the page's text about a message: who may send it with which keys, and the replies."""
    message = contract.messages[code]
    lines = []
    if "command" in message:
        keywords = "; ".join(f"{who}: {', '.join(message[who]['keywords'])}" for who in ("central", "cloud")
                             if message.get(who, {}).get("keywords"))
        lines.append(f"command {notation(message['command']['request'])}")
        lines += [keywords] if keywords else []
    for who in ASKERS:
        if who in message and "command" not in message:
            asked = " | ".join(message[who].get("keywords", []))
            request = message[who].get("request")
            lines.append(" ".join(filter(None, [f"{who}:", asked, request and notation(request)])))
            lines += [f"  -> {promise_text(promise, who, code)}"
                      for promise in contract.replies(who, code)]
    if "notice" in message:
        body = message["notice"].get("body")
        lines.append("notice to the app" + (" " + notation(body) if body else ", empty"))
    return "\n".join(wrapped for line in lines for wrapped in
                     textwrap.wrap(line, PAGE_WIDTH, subsequent_indent="       ", break_long_words=False,
                                   break_on_hyphens=False))


def promise_text(promise: Promise, who: str, code: int) -> str:
    """Returns a reply's receiver, code or route, and body, as far as they differ from the usual ones."""
    usual = code | REPLY if who.startswith("app") else code
    parts = [] if promise.where == who else [promise.where]
    if who == "cloud":
        parts.append(f"route {promise.place}")
    elif promise.place is not None and promise.place != usual:
        parts.append(hexadecimal(promise.place))
    parts.append(promise.schema.get("picture") or promise.schema.get("text") or notation(promise.schema["body"]))
    return ", ".join(parts)


def shape_section(contract: Contract) -> str:
    """Returns the page's text about the shapes that messages share."""
    lines: list[str] = []
    for name, shape in contract.shapes.items():
        text = f"{name}: {notation(shape)}"
        if "description" in shape:
            text += f"  # {shape['description']}"
        lines += textwrap.wrap(text, PAGE_WIDTH, subsequent_indent="    ", break_long_words=False,
                               break_on_hyphens=False)
    return "\n".join(lines)


def bounds(schema: Schema) -> str:
    least, greatest = schema.get("minimum"), schema.get("maximum")
    if greatest is None:
        return "" if least is None else f" from {least}"
    return f" up to {greatest}" if least is None else f" {least}..{greatest}"


def notation(schema: Schema) -> str:
    """Returns a schema in the notation of Docs/Protocol.md, such as {param?: switch}."""
    if "$ref" in schema:
        return str(schema["$ref"].rsplit("/", 1)[1])
    if "const" in schema:
        return json.dumps(schema["const"])
    if "enum" in schema:
        return " | ".join(map(json.dumps, schema["enum"]))
    if schema["type"] == "array":
        return f"[{notation(schema['items'])}]"
    if schema["type"] != "object":
        return f"{schema['type']}{bounds(schema)}"
    keys = ["..." + notation(base) for base in schema.get("allOf", [])]
    keys += [f"{key}{'' if key in schema.get('required', []) else '?'}: {notation(value)}"
             for key, value in schema.get("properties", {}).items()]
    keys += [f"0, 1, ...: {notation(value)}" for value in schema.get("patternProperties", {}).values()]
    return "{" + ", ".join(keys) + "}"
