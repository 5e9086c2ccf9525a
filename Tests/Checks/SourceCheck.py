"""Common functions of the source checks: reading Src/, running a check's self-test, and printing violations."""
import re
import sys
from pathlib import Path

SUFFIXES = {".h", ".hpp", ".inl", ".c", ".cc", ".cpp", ".mm"}
NO_CODE = re.compile(r'//[^\n]*|/\*.*?\*/|"(?:\\.|[^"\\\n])*"', re.DOTALL)


def read_sources(top):
    """Returns pairs of path relative to the source folder and text."""
    files = sorted(file for file in (top / "Src").rglob("*") if file.suffix in SUFFIXES)
    return [(file.relative_to(top).as_posix(), file.read_text(encoding="utf-8")) for file in files]


def code_of(text):
    """Returns the text without comments and string literals, with the same line numbers."""
    return NO_CODE.sub(lambda found: "\n" * found[0].count("\n"), text)


def run(usage, violations, self_test):
    """Prints each violation and exits; the exit code is 1 if there is a violation or the self-test fails."""
    if len(sys.argv) != 2:
        sys.exit(usage)
    sources = read_sources(Path(sys.argv[1]))
    found = self_test() + (list(violations(sources)) if sources else [f"{sys.argv[1]}: no sources found in Src/"])
    print(*found, sep="\n", end="\n" if found else "")
    sys.exit(1 if found else 0)
