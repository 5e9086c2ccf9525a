"""Reads the --help texts of a program and its commands. Qt and argparse write them in nearly the same form."""

import os
import re
import subprocess
import sys
from pathlib import Path
from typing import NamedTuple

SECTION = re.compile(r"^(\w[\w ]*):$")
# A term, and after two spaces or more its text, which continues on lines with a larger indentation.
ENTRY = re.compile(r"^ {2,4}(?P<term>\S+(?: \S+)*)(?: {2,}(?P<text>\S.*))?$")
CONTINUATION = re.compile(r"^ {5,}(\S.*)$")
# No report of a sanitizer about the end of the program; no line breaks by argparse.
ENVIRONMENT = {"LC_ALL": "C.UTF-8", "COLUMNS": "10000", "ASAN_OPTIONS": "detect_leaks=0", "TSAN_OPTIONS": "report_bugs=0"}


class Entry(NamedTuple):
    """An option, an argument or a command. value: what the option expects, such as FILE."""

    term: str
    text: str

    @property
    def option(self):
        return self.term.split(", ")[-1].split()[0]

    @property
    def value(self):
        return self.term.partition(self.option)[2].strip(" <>")


class Help:
    """The help of a program or of one of its commands."""

    def __init__(self, program, *command):
        """Exits if the program fails."""
        self.name = " ".join((Path(program).name, *command))
        text = output(program, *command, "--help")
        if not (paragraphs := re.fullmatch(r"usage: (.*?)\n+(?=\S)(.*)", text, re.S | re.I)):
            sys.exit(f"{self.name} --help: expected \"Usage: ...\", got {text[:200]!r}")
        # The program's path doesn't belong to the help.
        self.usage = re.sub(rf"^\S*{re.escape(Path(program).name)} ?", "", " ".join(paragraphs[1].split()))
        self.sections, self.notes = {}, []
        self.description = ""
        section = None
        for line in paragraphs[2].splitlines():
            if found := SECTION.match(line):
                section = self.sections.setdefault(found[1].capitalize(), [])
            elif section is not None and (found := CONTINUATION.match(line)) and section:
                section[-1] = Entry(section[-1].term, f"{section[-1].text} {found[1]}".strip())
            elif section is not None and (found := ENTRY.match(line)):
                section.append(Entry(found["term"], found["text"] or ""))
            elif line and not self.sections:
                self.description = f"{self.description} {line}".strip()
            elif line:
                self.notes.append(line)
        # argparse lists the commands as arguments, after a title.
        arguments = self.sections.pop("Positional arguments", [])
        self.commands = [*self.sections.get("Commands", []), *(entry for entry in arguments if entry.text)]
        self.arguments = self.sections.get("Arguments", [])
        self.options = self.sections.get("Options", [])
        if not self.options:
            sys.exit(f"{self.name} --help: no options found in {text!r}")


def output(program, *arguments):
    """Returns the standard output of a run of the program."""
    return subprocess.run([program, *arguments], env={**os.environ, **ENVIRONMENT}, stdout=subprocess.PIPE,
                          encoding="utf-8", check=True).stdout
