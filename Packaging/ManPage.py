"""Writes man pages with the macros of man(7)."""

import re


def escaped(text):
    text = text.replace("\\", r"\e").replace("-", r"\-").replace("~", r"\(ti").replace("^", r"\(ha")
    return re.sub(r"^([.'])", r"\\&\1", text)


def bold(term):
    """Returns the term of an option in bold, with the value in italics."""
    option, space, value = term.partition(" <")
    if not space:
        option, space, value = term.partition(" ")
    return rf"\fB{escaped(option)}\fR" + (rf" \fI{escaped(value.rstrip('>'))}\fR" if value else "")


def terms(entries):
    return [line for entry in entries
            for line in (".TP", ", ".join(map(bold, entry.term.split(", "))), escaped(entry.text))]


def body(help, heading):
    """Returns options, arguments and notes, each below a heading."""
    lines = []
    for title, entries in (("Arguments", help.arguments), ("Options", help.options)):
        if entries:
            lines += [heading(title), *terms(entries)]
    return lines


def man_page(program, commands, version, date, see_also):
    """Returns the text. program: its Help, commands: the Help of each command."""
    name = program.name
    exits = [note.partition(": ")[2] for note in program.notes if note.startswith("Exit code")]
    others = [note for note in program.notes if not note.startswith("Exit code")]
    purpose = program.description[0].lower() + program.description[1:]
    lines = [rf'.TH {escaped(name.upper())} 1 "{date}" "{name} {version}" "Zentravox external control"', ".SH NAME",
             escaped(name) + r" \- " + escaped(purpose.partition(". ")[0].rstrip(".")), ".SH SYNOPSIS",
             rf"\fB{escaped(name)}\fR {escaped(program.usage)}", ".SH DESCRIPTION", escaped(program.description)]
    for note in others:
        lines += [".PP", escaped(note)]
    lines += body(program, lambda title: f".SH {title.upper()}")
    if commands:
        lines.append(".SH COMMANDS")
    for command in commands:
        lines += [f".SS {escaped(command.name)}", rf"\fB{escaped(command.name)}\fR {escaped(command.usage.partition(' ')[2])}",
                  ".PP", escaped(command.description)]
        lines += body(command, lambda title: f".PP\n{title}:")
        for note in command.notes:
            lines += [".PP", escaped(note)]
    for note in exits:
        lines += [".SH EXIT STATUS", escaped(note)]
    lines += [".SH SEE ALSO", ",\n".join(rf".BR {escaped(other)} (1)" for other in see_also).replace(",\n.", " ,\n.")]
    return "\n".join(lines) + "\n"
