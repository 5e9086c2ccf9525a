"""The results as text, HTML, JUnit XML and JSON."""

from __future__ import annotations

import html
import json
from collections import Counter
from collections.abc import Sequence
from datetime import datetime, timezone
from xml.etree import ElementTree

from .rule import Outcome, Result

STYLE = """body { font: 15px/1.5 sans-serif; margin: 2em auto; max-width: 70em; padding: 0 1em; color: #222 }
table { border-collapse: collapse; width: 100% } td, th { text-align: left; vertical-align: top; padding: .3em .6em;
border-top: 1px solid #ccc } .holds { color: #176f2c } .fails { color: #b00020; font-weight: bold }
.not { color: #666 } pre { white-space: pre-wrap; overflow-wrap: anywhere; background: #f4f4f4; padding: .6em; margin: .3em 0 }
@media (prefers-color-scheme: dark) { body { background: #1b1b1b; color: #ddd } pre { background: #2a2a2a }
.holds { color: #6fcf85 } .fails { color: #ff7b89 } .not { color: #999 } td, th { border-color: #444 } }"""


def level(result: Result) -> str:
    return "must" if result.rule.is_must else "should"


def failed(results: Sequence[Result], must_only: bool = False) -> list[Result]:
    return [result for result in results if result.outcome is Outcome.FAILS and (result.rule.is_must or not must_only)]


def not_tried(results: Sequence[Result]) -> list[Result]:
    return [result for result in results if result.outcome is Outcome.NOT_TRIED]


def summary(results: Sequence[Result]) -> str:
    """Returns one line, such as "211 of 214 rules hold; 3 not tried (no presentation on the stage)"."""
    holding = sum(result.outcome is Outcome.HOLDS for result in results)
    text = f"{holding} of {len(results)} rules hold"
    if failures := failed(results):
        recommended = len(failures) - len(failed(results, must_only=True))
        text += f"; {len(failures)} fail" + (f", {recommended} of them recommendations" if recommended else "")
    if skipped := not_tried(results):
        text += f"; {len(skipped)} not tried ({', '.join(Counter(result.reason for result in skipped))})"
    return text


def failure_text(result: Result) -> str:
    """Returns the rule, the reason and the traffic of a failure."""
    lines = [f"{result.rule.number} ({level(result)}): {result.rule.text}", f"  {result.reason}"]
    lines += [f"    {line}" for entry in result.traffic for line in entry.splitlines()]
    return "\n".join(lines)


def as_json(title: str, results: Sequence[Result]) -> str:
    rules = [{"rule": result.rule.number, "text": result.rule.text, "level": level(result), "channel": result.rule.channel,
              "outcome": result.outcome.value, "reason": result.reason, "traffic": result.traffic,
              "seconds": round(result.seconds, 3)} for result in results]
    return json.dumps({"title": title, "summary": summary(results), "rules": rules}, indent=2, ensure_ascii=False) + "\n"


def as_junit(title: str, results: Sequence[Result]) -> str:
    suite = ElementTree.Element("testsuite", name=title, tests=str(len(results)), failures=str(len(failed(results))),
                                skipped=str(len(not_tried(results))), time=f"{sum(result.seconds for result in results):.3f}")
    for result in results:
        case = ElementTree.SubElement(suite, "testcase", classname=result.rule.channel, time=f"{result.seconds:.3f}",
                                      name=f"{result.rule.number} {result.rule.text}")
        if result.outcome is Outcome.FAILS:
            failure = ElementTree.SubElement(case, "failure", message=printable(result.reason), type=level(result))
            failure.text = printable("\n".join(result.traffic))
        elif result.outcome is Outcome.NOT_TRIED:
            ElementTree.SubElement(case, "skipped", message=printable(result.reason))
    return '<?xml version="1.0" encoding="utf-8"?>\n' + ElementTree.tostring(suite, encoding="unicode") + "\n"


def printable(text: str) -> str:
    """Escapes the control characters that XML doesn't permit."""
    return "".join(c if c in "\n\t" or c >= " " and c not in "\ufffe\uffff" and not "\ud800" <= c <= "\udfff"
                   else f"\\x{ord(c):02x}" for c in text)


def as_html(title: str, results: Sequence[Result]) -> str:
    """Returns one page without references to other files."""
    def escaped(text: str) -> str:
        return html.escape(printable(text))

    rows = []
    for result in sorted(results, key=lambda result: result.outcome is not Outcome.FAILS):
        details = f"<br>{escaped(result.reason)}" if result.reason else ""
        if result.traffic:
            details += f"<pre>{escaped(chr(10).join(result.traffic))}</pre>"
        mark = result.outcome.value.split()[0]
        rows.append(f'<tr><td>{escaped(result.rule.number)}<td class="{mark}">{result.outcome.value}<td>{level(result)}'
                    f"<td>{escaped(result.rule.channel)}<td>{escaped(result.rule.text)}{details}")
    now = datetime.now(timezone.utc).strftime("%Y-%m-%d %H:%M UTC")
    return (f'<!DOCTYPE html>\n<html lang="en"><meta charset="utf-8"><title>{escaped(title)}</title><style>{STYLE}</style>\n'
            f"<h1>{escaped(title)}</h1><p>{now}</p><p><b>{escaped(summary(results))}</b></p>\n"
            f"<table><tr><th>rule<th>result<th>level<th>channel<th>statement\n" + "\n".join(rows) + "</table></html>\n")
