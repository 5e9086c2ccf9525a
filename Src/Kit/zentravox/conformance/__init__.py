"""Checks whether a host, or a recorded remote, follows the protocol."""

from .rule import Failure, Outcome, Result, Rule
from .rules import HOST_RULES
from .runner import check_host
from .session import NotTried, Target

__all__ = ["HOST_RULES", "Failure", "NotTried", "Outcome", "Result", "Rule", "Target", "check_host"]
