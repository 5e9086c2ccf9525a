"""Runs rules."""

from __future__ import annotations

import time
from collections.abc import Callable, Sequence
from concurrent.futures import ThreadPoolExecutor
from dataclasses import replace

from ..app import Refused
from ..wire import ProtocolError
from . import app_rules
from .rule import Outcome, Result, Rule
from .rules import HOST_RULES
from .session import NotTried, Session, Target


def run_rule(rule: Rule, session: Session) -> Result:
    start = time.monotonic()
    session.begin()
    try:
        rule.check(session)
        result = Result(rule, Outcome.HOLDS)
    except NotTried as error:
        result = Result(rule, Outcome.NOT_TRIED, str(error))
    except (ProtocolError, Refused, OSError) as error:
        result = Result(rule, Outcome.FAILS, str(error), session.traffic)
    result.reason = session.contract.hide_secrets(result.reason)
    result.traffic = [session.contract.hide_secrets(line) for line in result.traffic]
    session.end(result.outcome is Outcome.FAILS)
    result.seconds = time.monotonic() - start
    return result


def check_host(target: Target, rules: Sequence[Rule] = HOST_RULES, allow_changes: bool = False,
               report: Callable[[Result], None] = lambda result: None) -> list[Result]:
    """Checks the rules one after the other, and calls report after each.

    allow_changes: without it, rules that change the show are not tried.
    """
    session = Session(target)
    results = []
    pool = ThreadPoolExecutor()
    # From the other address: the host pairs the two channels of an app by their address.
    other = replace(target, source=target.second_source, fp=None, cloud=None)
    waiting = {rule: pool.submit(run_rule, rule, Session(other))
               for rule in rules if rule in app_rules.slow.rules and target.second_source}
    try:
        for rule in rules:
            if rule in waiting:
                result = waiting[rule].result()
            elif rule.changes and not allow_changes:
                result = Result(rule, Outcome.NOT_TRIED, "it changes the show; use --allow-changes")
            else:
                result = run_rule(rule, session)
            results.append(result)
            report(result)
    finally:
        pool.shutdown()
        session.close()
    return results
