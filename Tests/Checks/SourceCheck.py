"""What the checks of the sources share: the walk over Src/, a trial of the check itself, and how offences are told."""
import re
import sys
from pathlib import Path

SUFFIXES = {".h", ".hpp", ".inl", ".c", ".cc", ".cpp", ".mm"}
NO_CODE = re.compile(r'//[^\n]*|/\*.*?\*/|"(?:\\.|[^"\\\n])*"', re.DOTALL)


def read_sources(top):
    """Pairs of path below the source folder and text."""
    files = sorted(file for file in (top / "Src").rglob("*") if file.suffix in SUFFIXES)
    return [(file.relative_to(top).as_posix(), file.read_text(encoding="utf-8")) for file in files]


def code_of(text):
    """The text without comments and string literals, with the same line numbers."""
    return NO_CODE.sub(lambda found: "\n" * found[0].count("\n"), text)


def run(usage, offences, self_test):
    """Prints each offence in the sources and ends with 1 if there is any, or if the check itself has gone wrong."""
    if len(sys.argv) != 2:
        sys.exit(usage)
    sources = read_sources(Path(sys.argv[1]))
    found = self_test() + (list(offences(sources)) if sources else [f"{sys.argv[1]}: there are no sources in Src/"])
    print(*found, sep="\n", end="\n" if found else "")
    sys.exit(1 if found else 0)
