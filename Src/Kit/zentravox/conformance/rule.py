"""What a rule and its result are."""

from __future__ import annotations

import enum
from collections.abc import Callable
from dataclasses import dataclass, field
from typing import TYPE_CHECKING

from ..wire import ProtocolError

if TYPE_CHECKING:
    from .session import Session


class Failure(ProtocolError):
    """A rule doesn't hold."""

    def __init__(self, expected: str, received: object) -> None:
        super().__init__(f"expected {expected}, got {received}")


def expect(condition: bool, expected: str, received: object) -> None:
    """Raises Failure if the condition is false."""
    if not condition:
        raise Failure(expected, received)


class Outcome(enum.Enum):
    HOLDS = "holds"
    FAILS = "fails"
    NOT_TRIED = "not tried"


@dataclass(frozen=True)
class Rule:
    """A statement about the host.

    number: stable, such as APP-012; it is never used again for another rule. channel: as in recordings. is_must: false
    for a recommendation, whose failure doesn't change the exit code. changes: whether its check changes the show.
    """

    number: str
    text: str
    channel: str
    check: Callable[[Session], None]
    is_must: bool = True
    changes: bool = False


@dataclass
class Result:
    """The result of one rule. reason: of a failure, or why it was not tried. traffic: what was sent and received."""

    rule: Rule
    outcome: Outcome
    reason: str = ""
    traffic: list[str] = field(default_factory=list)
    seconds: float = 0


class Register:
    """Collects the rules of one module."""

    def __init__(self, channel: str) -> None:
        self.channel = channel
        self.rules: list[Rule] = []

    def __call__(self, number: str, text: str, *, channel: str = "", must: bool = True,
                 changes: bool = False) -> Callable[[Callable[[Session], None]], Callable[[Session], None]]:
        """Returns a decorator that adds a function as the check of a rule."""
        def add(check: Callable[[Session], None]) -> Callable[[Session], None]:
            self.rules.append(Rule(number, text, channel or self.channel, check, must, changes))
            return check
        return add
