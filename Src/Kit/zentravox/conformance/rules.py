"""All rules of hosts, in the order in which they are checked."""

from ..contract import shipped
from . import app_rules, change_rules, other_rules
from .generated import generate

HOST_RULES = [*app_rules.discovery.rules, *generate(shipped()), *app_rules.wire.rules, *other_rules.central.rules,
              *other_rules.cloud.rules, *other_rules.fp.rules, *change_rules.app.rules, *change_rules.central.rules,
              *change_rules.fp.rules, *change_rules.cloud.rules, *app_rules.slow.rules, *app_rules.login.rules]
