"""Rules of remotes, checked in a recording of their traffic."""

from __future__ import annotations

import bisect
import time
from collections import defaultdict
from collections.abc import Callable, Iterator, Sequence
from pathlib import Path
from typing import Any

from ..app import HEARTBEAT, LOGIN, PUBLIC_KEY
from ..contract import ContractError, shipped
from ..recording import Record, Recording
from ..wire import DISCOVERY_REQUEST, hexadecimal
from .rule import Outcome, Result, Rule
from .session import NotTried

APP_GONE = 0x012
ASKERS = {"app control": "app", "app bulk": "app-bulk", "central control": "central", "cloud": "cloud", "FP": "fp"}
# Seconds. The host disconnects an app after about 5 s without a heartbeat.
MAX_SILENCE, RECOMMENDED_PERIOD = 5.0, 2.0
# A remote that sends more requests than this without waiting only fills the host's queue.
MAX_OUTSTANDING = 32
MAX_FINDINGS = 20
# In the note of the record that closes a connection.
CLOSED_BY_REMOTE = "peer closed"
Finding = tuple[Record, str]
contract = shipped()


class Traffic:
    """A recording's records by what the rules need."""

    def __init__(self, recording: Recording) -> None:
        self.records = recording.records
        messages = [record for record in self.records if record.kind == "message"]
        self.requests = [record for record in messages if record.sender == "remote" and record.channel in ASKERS]
        self.replies = [record for record in messages if record.sender == "host"]
        answers = {record.reply_to: record for record in self.replies if record.code == LOGIN}
        # The logins, each with the result of its reply.
        self.logins = [(record, body_of(answers[record.n]).get("result") if record.n in answers else None)
                       for record in self.requests if record.code == LOGIN]

    def of_app(self, address: str, code: int | None = None) -> list[Record]:
        """Returns the requests of the app at this address, on both channels."""
        return [record for record in self.requests if record.channel.startswith("app") and address_of(record) == address and
                code in (None, record.code)]


def number_of(record: Record) -> int:
    return record.n


def address_of(record: Record) -> str:
    return (record.peer or "").rpartition(":")[0]


def body_of(record: Record) -> dict[str, Any]:
    return record.payload if isinstance(record.payload, dict) else {}


def keyword_code(record: Record) -> int | None:
    """Returns the code that the keyword or the code of a message of central control or the cloud selects."""
    who = ASKERS[record.channel]
    keyword = body_of(record).get("cmd", record.payload if isinstance(record.payload, str) else None)
    if keyword is None and who == "cloud":
        code = body_of(record).get("cmdType")
        return code if isinstance(code, int) else None
    return contract.keywords(who).get(keyword.strip('"') if isinstance(keyword, str) else "")


RULES: list[tuple[Rule, Callable[[Traffic], Iterator[Finding]]]] = []


def remote(number: str, text: str, channel: str = "app control", must: bool = True
           ) -> Callable[[Callable[[Traffic], Iterator[Finding]]], Callable[[Traffic], Iterator[Finding]]]:
    def add(find: Callable[[Traffic], Iterator[Finding]]) -> Callable[[Traffic], Iterator[Finding]]:
        RULES.append((Rule(number, text, channel, lambda session: None, must), find))
        return find
    return add


def some(records: Sequence[Any], what: str) -> Sequence[Any]:
    if not records:
        raise NotTried(f"no {what} in the recording")
    return records


def of_channels(traffic: Traffic, *channels: str) -> Sequence[Record]:
    records = [record for record in traffic.requests if record.channel in channels]
    return some(records, f"request on {' or '.join(channels)}")


def invalid_codes(traffic: Traffic, *channels: str) -> Iterator[Finding]:
    for record in of_channels(traffic, *channels):
        if ASKERS[record.channel] not in contract.messages.get(record.code or 0, {}):
            yield record, f"expected a request of {record.channel}, got {contract.name(record.code or 0)}"


def invalid_keys(traffic: Traffic, *channels: str) -> Iterator[Finding]:
    for record in of_channels(traffic, *channels):
        who = ASKERS[record.channel]
        code = keyword_code(record) if who in ("central", "cloud") else record.code
        if code is None or who not in contract.messages.get(code, {}):
            continue  # another rule reports it
        try:
            contract.check_request(who, code, body_of(record))
        except ContractError as error:
            yield record, str(error)


def malformed(traffic: Traffic, *channels: str) -> Iterator[Finding]:
    for record in of_channels(traffic, *channels):
        if record.payload is not None and not isinstance(record.payload, dict):
            yield record, f"expected a JSON object, got {record.payload!r:.80}"


def unknown_keywords(traffic: Traffic, channel: str) -> Iterator[Finding]:
    for record in of_channels(traffic, channel):
        if keyword_code(record) is None:
            yield record, f"expected a keyword of {channel}, got {record.payload!r:.80}"


for number, channel in enumerate(("app control", "app bulk", "FP"), 1):
    remote(f"REM-00{number}", f"{channel}: each request has a code that this channel can send.", channel)(
        lambda traffic, channel=channel: invalid_codes(traffic, channel))  # type: ignore[misc]
for number, channel in enumerate(ASKERS, 4):
    remote(f"REM-00{number}", f"{channel}: the keys of each request have the types of the contract.", channel)(
        lambda traffic, channel=channel: invalid_keys(traffic, channel))  # type: ignore[misc]
for number, channel in enumerate(("app control", "FP", "cloud"), 9):
    remote(f"REM-{number:03}", f"{channel}: the body of each request is empty or a JSON object.", channel)(
        lambda traffic, channel=channel: malformed(traffic, channel))  # type: ignore[misc]
for number, channel in enumerate(("central control", "cloud"), 12):
    remote(f"REM-{number:03}", f"{channel}: each message has a keyword or a code of the contract.", channel)(
        lambda traffic, channel=channel: unknown_keywords(traffic, channel))  # type: ignore[misc]


@remote("REM-014", "An app fetches the key (0x007) before it logs in.")
def key_before_login(traffic: Traffic) -> Iterator[Finding]:
    for login, _ in some(traffic.logins, "login"):
        if not any(record.n < login.n for record in traffic.of_app(address_of(login), PUBLIC_KEY)):
            yield login, "expected a request 0x007 of this app before"


def silences(traffic: Traffic, longest: float) -> Iterator[Finding]:
    ends = [record for record in traffic.records if record.kind == "closed"]
    gone = [record for record in traffic.replies if record.code == APP_GONE]
    for login, result in some([entry for entry in traffic.logins if entry[1] == 0], "successful login"):
        address = address_of(login)
        later = [record for record in ends + gone if record.n > login.n and address_of(record) == address]
        end = min(later, key=number_of, default=traffic.records[-1])
        last = login
        beats = [record for record in traffic.of_app(address, HEARTBEAT) if login.n < record.n < end.n]
        for record in [*beats, end]:
            if record.t - last.t > longest:
                yield record, f"expected a heartbeat within {longest:g} s, got none for {record.t - last.t:.1f} s"
            last = record


@remote("REM-015", "While it is logged in, an app is never without a heartbeat for 5 s.")
def heartbeat_period(traffic: Traffic) -> Iterator[Finding]:
    yield from silences(traffic, MAX_SILENCE)


@remote("REM-016", "While it is logged in, an app sends a heartbeat about every second, at most 2 s apart.", must=False)
def recommended_period(traffic: Traffic) -> Iterator[Finding]:
    yield from silences(traffic, RECOMMENDED_PERIOD)


@remote("REM-017", "An app that another app has replaced (0x012) sends only heartbeats or a new login.")
def silent_after_displacement(traffic: Traffic) -> Iterator[Finding]:
    gone = some([record for record in traffic.replies if record.code == APP_GONE], "notice 0x012")
    for notice in gone:
        for record in traffic.of_app(address_of(notice)):
            if record.n > notice.n:
                if record.code in (LOGIN, PUBLIC_KEY):
                    break
                if record.code != HEARTBEAT:
                    yield record, (f"expected no request after the notice 0x012 (record {notice.n}), "
                                   f"got {contract.name(record.code or 0)}")


@remote("REM-018", "A login has force only after a login without it had the result 3.", must=False)
def force_after_refusal(traffic: Traffic) -> Iterator[Finding]:
    for login, _ in some(traffic.logins, "login"):
        refused = any(other.n < login.n and result == 3 and address_of(other) == address_of(login)
                      for other, result in traffic.logins)
        if body_of(login).get("force") and not refused:
            yield login, "expected a login without force first"


def is_always_answered(record: Record) -> bool:
    """Returns whether the host answers the request in any case: it may leave a query unanswered."""
    who, code = ASKERS.get(record.channel, ""), record.code or 0
    if who not in ("app", "app-bulk", "fp") or who not in contract.messages.get(code, {}):
        return False
    return contract.is_command(code) or code in (HEARTBEAT, LOGIN, PUBLIC_KEY)


@remote("REM-019", "A remote waits for the replies to its requests before it closes the connection.")
def waits_for_replies(traffic: Traffic) -> Iterator[Finding]:
    answered = {record.reply_to for record in traffic.replies}
    waiting: dict[tuple[str, int | None], list[Record]] = defaultdict(list)
    for record in traffic.records:
        key = record.channel, record.connection
        if record.kind == "message" and record.sender == "remote" and record.n not in answered and is_always_answered(record):
            waiting[key].append(record)
        elif record.kind == "closed":
            for request in waiting.pop(key, []) if CLOSED_BY_REMOTE in (record.note or "") else []:
                yield request, f"expected the reply to {contract.name(request.code or 0)} before the end of the connection"


@remote("REM-020", "A remote has at most 32 unanswered requests on one connection.", must=False)
def outstanding(traffic: Traffic) -> Iterator[Finding]:
    waiting: dict[tuple[str, int | None], list[int]] = defaultdict(list)
    for record in sorted([*some(traffic.requests, "request"), *traffic.replies], key=number_of):
        key = record.channel, record.connection
        if record.sender == "remote":
            waiting[key].append(record.n)
            if len(waiting[key]) == MAX_OUTSTANDING + 1:
                yield record, f"expected at most {MAX_OUTSTANDING} unanswered requests"
        elif record.reply_to is not None:
            for numbers in waiting.values():
                # A query need not be answered: the replies come in order, so earlier requests have none.
                place = bisect.bisect_left(numbers, record.reply_to)
                if place < len(numbers) and numbers[place] == record.reply_to:
                    del numbers[:place + 1]


@remote("REM-021", "An app asks for pictures on the control channel, while its bulk channel is open.", "app bulk")
def pictures_with_bulk(traffic: Traffic) -> Iterator[Finding]:
    found = False
    is_open: dict[str, int] = defaultdict(int)
    for record in traffic.records:
        if record.channel == "app bulk" and record.kind in ("opened", "closed"):
            is_open[address_of(record)] += 1 if record.kind == "opened" else -1
        elif record.kind == "message" and record.sender == "remote" and record.channel.startswith("app"):
            code = record.code or 0
            promises = contract.replies("app", code) if "app" in contract.messages.get(code, {}) else []
            if any(promise.where == "app-bulk" for promise in promises):
                found = True
                if record.channel == "app bulk":
                    yield record, f"expected {contract.name(record.code or 0)} on the control channel"
                elif not is_open[address_of(record)]:
                    yield record, f"expected an open bulk channel before {contract.name(record.code or 0)}"
    if not found:
        raise NotTried("no request for a picture in the recording")


@remote("REM-022", "A discovery datagram has exactly the text of the contract.", "app discovery")
def discovery_text(traffic: Traffic) -> Iterator[Finding]:
    for record in some([record for record in traffic.records if record.channel == "app discovery" and
                        record.kind == "message" and record.sender == "remote"], "discovery datagram"):
        if record.payload != DISCOVERY_REQUEST.decode():
            yield record, f"expected {DISCOVERY_REQUEST.decode()!r}, got {record.payload!r:.80}"


RECORDING_RULES = [rule for rule, _ in RULES]


def record_text(record: Record) -> str:
    code = f" {hexadecimal(record.code)}" if record.code is not None else ""
    return f"record {record.n} ({record.channel}, {record.peer or 'no peer'}, at {record.t:.3f} s{code})"


def check_recording(file: Path, rules: Sequence[Rule] = tuple(RECORDING_RULES)) -> list[Result]:
    """Checks the rules in a recording. Raises OSError and RecordingError."""
    traffic = Traffic(Recording(file))
    results = []
    for rule, find in RULES:
        if rule not in rules:
            continue
        start = time.monotonic()
        try:
            findings = list(find(traffic))
            outcome = Outcome.FAILS if findings else Outcome.HOLDS
            reason = f"{record_text(findings[0][0])}: {findings[0][1]}" if findings else ""
            more = [f"{record_text(record)}: {text}" for record, text in findings[1:MAX_FINDINGS]]
            if len(findings) > MAX_FINDINGS:
                more.append(f"and {len(findings) - MAX_FINDINGS} more")
        except NotTried as error:
            outcome, reason, more = Outcome.NOT_TRIED, str(error), []
        results.append(Result(rule, outcome, reason, more, time.monotonic() - start))
    return results
