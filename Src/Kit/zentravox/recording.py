"""Reads recordings of traffic (showhost --record): JSON Lines, a header and one object per record."""

from __future__ import annotations

import base64
import json
import uuid
from collections.abc import Iterator
from pathlib import Path
from typing import Any, NamedTuple

FORMAT = 1
CHANNELS = ("app control", "app bulk", "app discovery", "app upload", "central control", "cloud", "FP", "devices")
SENDERS, KINDS = ("remote", "host"), ("opened", "closed", "message", "note")


class RecordingError(ValueError):
    """The file is not a valid recording. The text names file, line and reason."""


class Record(NamedTuple):
    """One record. t is in seconds since the start of the recording; fields that don't apply are None.

    reply_to is the number n of the request. payload is what was sent: an object, text or bytes. id belongs to bytes in an
    id form.
    """

    n: int
    t: float
    channel: str
    connection: int | None
    peer: str | None
    sender: str | None
    kind: str
    code: int | None
    name: str | None
    reply_to: int | None
    size: int | None
    payload: Any
    id: uuid.UUID | None
    note: str | None


# Key, its types, and whether it is required.
FIELDS: tuple[tuple[str, tuple[type, ...], bool], ...] = (
    ("n", (int,), True), ("t", (int, float), True), ("channel", (str,), False), ("connection", (int,), False),
    ("peer", (str,), False), ("from", (str,), False), ("kind", (str,), True), ("code", (str,), False),
    ("name", (str,), False), ("replyTo", (int,), False), ("size", (int,), False), ("text", (str,), False),
    ("bytes", (str,), False), ("id", (str,), False), ("note", (str,), False))


def read_record(line: dict[str, Any]) -> Record:
    """Raises ValueError with the reason if the object is not a record."""
    for key, types, required in FIELDS:
        if key not in line:
            if required:
                raise ValueError(f'the key "{key}" is missing')
        elif not isinstance(line[key], types) or isinstance(line[key], bool):
            raise ValueError(f'"{key}": expected {types[-1].__name__}, got {json.dumps(line[key])}')
    for key, known in (("kind", KINDS), ("from", SENDERS)):
        if key in line and line[key] not in known:
            raise ValueError(f'"{key}": expected one of {", ".join(known)}, got "{line[key]}"')
    payload = line.get("body", line.get("text"))
    if "bytes" in line:
        payload = base64.b64decode(line["bytes"], validate=True)
    return Record(line["n"], float(line["t"]), line.get("channel", ""), line.get("connection"), line.get("peer"),
                  line.get("from"), line["kind"], int(line["code"], 16) if "code" in line else None, line.get("name"),
                  line.get("replyTo"), line.get("size"), payload, uuid.UUID(line["id"]) if "id" in line else None,
                  line.get("note"))


class Recording:
    """A recording: the header's fields, and the records in their order."""

    def __init__(self, file: Path | str) -> None:
        """Reads the whole file. Raises OSError and RecordingError."""
        self.file = Path(file)
        self.header: dict[str, Any] = {}
        self.records: list[Record] = []
        with self.file.open(encoding="utf-8", errors="strict") as lines:
            number = 0
            try:
                for number, line in enumerate(lines, 1):
                    value = json.loads(line)
                    if not isinstance(value, dict):
                        raise ValueError("expected an object")
                    if number > 1:
                        self.records.append(read_record(value))
                    elif value.get("recording") == FORMAT:
                        self.header = value
                    else:
                        raise ValueError(f'expected a recording of format {FORMAT} ("recording": {FORMAT})')
            except ValueError as error:
                raise RecordingError(f"{self.file}: line {number}: {error}") from None
        if not self.header:
            raise RecordingError(f"{self.file}: line 1: the header is missing")

    def __iter__(self) -> Iterator[Record]:
        return iter(self.records)
