#!/usr/bin/python3
"""Writes the man page of a program and its completions for bash, zsh and fish: ProgramFiles.py PROGRAM SHARE

They are made of the --help texts and of the lists of requests that the program itself prints. SHARE is the folder that is
installed as /usr/share.
"""

import email.utils
import gzip
import sys
from pathlib import Path

import Completion
from ManPage import man_page
from ProgramHelp import Help, output

CHANGELOG = Path(__file__).with_name("changelog")
PROGRAMS = ("showhost", "showremote", "zentravox-kit")


def words(program, command):
    """Returns what the first argument of a command may be."""
    def listed(*sources):
        return [line.split()[1] for source in sources for line in output(program, source, "--list").splitlines()]

    match Path(program).name, command:
        case "showremote", "app" | "fp":
            return [*listed("app"), "listen"]
        case "showremote", "central":
            return listed("central")
        case "showremote", "cloud":  # accepts the names of the app's requests as well
            return [*listed("cloud", "app"), "listen"]
        case "showremote", "device":
            return ["udp", "serial"]
    return []


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    program, share = sys.argv[1], Path(sys.argv[2])
    name = Path(program).name
    version = output(program, "--version").split()[1]
    changed = next(line for line in CHANGELOG.read_text(encoding="utf-8").splitlines() if line.startswith(" -- "))
    date = email.utils.parsedate_to_datetime(changed.partition(">")[2]).date()
    top = Help(program)
    commands = [Help(program, entry.term) for entry in top.commands]

    page = man_page(top, commands, version, date, [other for other in PROGRAMS if other != name])
    completed = [Completion.Command(help, words(program, help.name.partition(" ")[2])) for help in commands]
    top_completed = Completion.Command(top, [entry.term for entry in top.commands])
    files = {f"man/man1/{name}.1.gz": gzip.compress(page.encode(), mtime=0)}
    for file, write in ((f"bash-completion/completions/{name}", Completion.bash),
                        (f"zsh/vendor-completions/_{name}", Completion.zsh),
                        (f"fish/vendor_completions.d/{name}.fish", Completion.fish)):
        files[file] = write(name, top_completed, completed).encode()
    for file, content in files.items():
        share.joinpath(file).parent.mkdir(parents=True, exist_ok=True)
        share.joinpath(file).write_bytes(content)


if __name__ == "__main__":
    main()
