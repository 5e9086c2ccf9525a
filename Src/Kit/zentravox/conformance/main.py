"""The program zentravox-kit."""

from __future__ import annotations

import argparse
import contextlib
import getpass
import os
import sys
from collections.abc import Sequence
from pathlib import Path

from ..app import App
from ..cloud_service import CloudService
from ..contract import shipped
from ..fp_controller import FpController
from ..recording import CHANNELS, RecordingError
from ..version import VERSION
from . import report
from .recording_rules import RECORDING_RULES, check_recording
from .rule import Outcome, Result, Rule
from .rules import HOST_RULES
from .runner import check_host
from .session import Target

PASSWORD_VARIABLE = "SHOWREMOTE_PASSWORD"
HOLDS, FAILS, NOT_CHECKED = 0, 1, 2


class UsageError(Exception):
    """The text says which option is wrong and what was expected."""


def parser() -> argparse.ArgumentParser:
    top = argparse.ArgumentParser(prog="zentravox-kit", description="Checks hosts and remotes against the protocol.")
    top.add_argument("--version", action="version", version=f"zentravox-kit {VERSION} (contract {shipped().version})")
    commands = top.add_subparsers(dest="command", required=True, metavar="COMMAND")
    check = commands.add_parser("check", help="check a running host, or a remote by a recording of its traffic",
                                description="Checks a running host, or a remote by a recording of its traffic.",
                                epilog="Exit code: 0 all rules marked must hold, 1 at least one fails, 2 nothing was checked.")
    check.add_argument("--host", metavar="ADDRESS", help="IP address of the host to check")
    check.add_argument("--recording", metavar="FILE", type=Path, help="recording of a remote's traffic to check instead")
    check.add_argument("--user", metavar="NAME", default="", help="user for the rules about logins")
    check.add_argument("--password-fd", metavar="N", type=int,
                       help=f"read the password's line from this descriptor (default: {PASSWORD_VARIABLE}, or asked for)")
    check.add_argument("--channel", metavar="NAME", action="append", default=[],
                       help=f"check only this channel: {', '.join(CHANNELS)}; may be repeated")
    check.add_argument("--only", metavar="RULE", action="append", default=[],
                       help="check only this rule, or those whose number begins so, such as APP or APP-0; may be repeated")
    check.add_argument("--allow-changes", action="store_true", help="also check rules that change the show for a short time")
    check.add_argument("--listen", metavar="ADDRESS", help="act as the FP controller and the cloud service at this address of "
                       "this machine; the host must be configured to connect to it")
    check.add_argument("--source", metavar="ADDRESS", default="", help="address of this machine that the app uses")
    check.add_argument("--second-source", metavar="ADDRESS", default="", help="another address of this machine, for rules with two apps")
    check.add_argument("--timeout", metavar="SECONDS", type=float, default=5, help="longest wait for a reply (default: 5)")
    check.add_argument("--report", metavar="FILE", type=Path, help="write a report as one HTML file")
    check.add_argument("--junit", metavar="FILE", type=Path, help="write the results as JUnit XML")
    check.add_argument("--json", metavar="FILE", type=Path, help="write the results as JSON")
    check.add_argument("--quiet", action="store_true", help="print only failures and the summary")
    commands.add_parser("rules", help="list all rules", description="Lists all rules with their numbers.")
    return top


def selected(rules: Sequence[Rule], arguments: argparse.Namespace) -> list[Rule]:
    for name in arguments.channel:
        if name not in CHANNELS:
            raise UsageError(f'--channel: expected one of {", ".join(CHANNELS)}, got "{name}"')
    for start in arguments.only:
        if not any(rule.number.startswith(start) for rule in rules):
            raise UsageError(f'--only: expected the number of a rule or its beginning, got "{start}"; "rules" lists them')
    return [rule for rule in rules if (not arguments.channel or rule.channel in arguments.channel) and
            (not arguments.only or rule.number.startswith(tuple(arguments.only)))]


def read_password(arguments: argparse.Namespace) -> str:
    if not arguments.user:
        return ""
    if arguments.password_fd is not None:
        try:
            with open(arguments.password_fd, encoding="utf-8", closefd=False) as file:
                return file.readline().rstrip("\n")
        except (OSError, ValueError) as error:
            raise UsageError(f"--password-fd: can't read descriptor {arguments.password_fd}: {error}") from None
    return os.environ.get(PASSWORD_VARIABLE) or getpass.getpass()


def run_check(arguments: argparse.Namespace) -> int:
    if bool(arguments.host) == bool(arguments.recording):
        raise UsageError("expected either --host ADDRESS or --recording FILE")
    printed_channel = ""

    def print_result(result: Result) -> None:
        nonlocal printed_channel
        if not arguments.quiet and result.rule.channel != printed_channel:
            printed_channel = result.rule.channel
            print(f"checking {printed_channel} ...", flush=True)
        if result.outcome is Outcome.FAILS:
            print(report.printable(report.failure_text(result)), flush=True)

    if arguments.recording:
        title = f"Recording {arguments.recording.name}"
        results = check_recording(arguments.recording, selected(RECORDING_RULES, arguments))
        for result in results:
            print_result(result)
    else:
        title = f"Host {arguments.host}"
        with contextlib.ExitStack() as stack:
            rules = selected(HOST_RULES, arguments)
            target = read_target(arguments, stack)
            try:
                App(target.host, target.source, target.timeout).close()
            except OSError as error:
                raise UsageError(f"can't connect to the app's ports of {target.host}: {error.strerror or error}") from None
            results = check_host(target, rules, arguments.allow_changes, print_result)
    title += f", contract {shipped().version}"
    print(report.summary(results))
    for file, text in ((arguments.report, report.as_html), (arguments.junit, report.as_junit),
                       (arguments.json, report.as_json)):
        if file:
            file.write_text(text(title, results), encoding="utf-8")
    if all(result.outcome is Outcome.NOT_TRIED for result in results):
        return NOT_CHECKED
    return FAILS if report.failed(results, must_only=True) else HOLDS


def read_target(arguments: argparse.Namespace, stack: contextlib.ExitStack) -> Target:
    if arguments.timeout <= 0:
        raise UsageError(f"--timeout: expected a number of seconds above 0, got {arguments.timeout:g}")
    fp = cloud = None
    if arguments.listen:
        try:
            fp = stack.enter_context(FpController(arguments.listen))
            cloud = stack.enter_context(CloudService(arguments.listen))
        except OSError as error:
            raise UsageError(f"--listen: {arguments.listen}: {error.strerror}") from None
    try:
        return Target(arguments.host, arguments.user, read_password(arguments), arguments.source, arguments.second_source,
                      arguments.timeout, fp=fp, cloud=cloud)
    except ValueError:
        raise UsageError(f'--host: expected an IP address, got "{arguments.host}"') from None


def print_rules() -> None:
    for rule in (*HOST_RULES, *RECORDING_RULES):
        marks = ("" if rule.is_must else " should") + (" changes" if rule.changes else "")
        print(f"{rule.number:<11}{rule.channel:<17}{marks.strip() or 'must':<16}{rule.text}")


def main(words: Sequence[str] | None = None) -> int:
    arguments = parser().parse_args(words)
    try:
        if arguments.command == "check":
            return run_check(arguments)
        print_rules()
        return HOLDS
    except (UsageError, RecordingError) as error:
        print(f"zentravox-kit {arguments.command}: {error}", file=sys.stderr)
    except OSError as error:
        print(f"zentravox-kit {arguments.command}: {error}", file=sys.stderr)
    return NOT_CHECKED
