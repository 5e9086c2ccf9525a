"""Writes completions of options, commands, requests and file names for bash, zsh and fish."""

import re
from typing import NamedTuple

FILES, FOLDERS = {"FILE", "PATH"}, {"DIR"}


class Command(NamedTuple):
    """help: its Help, words: what the first argument may be."""

    help: object
    words: list

    @property
    def name(self):
        return self.help.name.partition(" ")[2]

    def takes_files(self):
        return any(argument.term in FILES for argument in self.help.arguments)


def single_quoted(text):
    return "'" + text.replace("'", "'\\''") + "'"


def bash(program, top, commands):
    """top: the program as a Command whose words are the names of its commands."""
    lines = [f"# Completion of {program} for bash.", f"_{program.replace('-', '_')}()", "{",
             "    local word=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD-1]} command= options words= values files",
             *(["    [ \"$COMP_CWORD\" -gt 1 ] && command=${COMP_WORDS[1]}"] if commands else []),
             "    case $command in"]
    for command in (top, *commands):
        # Options with a value, apart from names of files: nothing is completed after them.
        values = [option.option for option in command.help.options if option.value and option.value not in FILES | FOLDERS]
        files = [option.option for option in command.help.options if option.value in FILES | FOLDERS]
        lines += [f"        {single_quoted(command.name)})",
                  f"            options={single_quoted(' '.join(option.option for option in command.help.options))}",
                  f"            values={single_quoted(' '.join(values))}", f"            files={single_quoted(' '.join(files))}",
                  f"            words={single_quoted(' '.join(command.words))}", "            ;;"]
    lines += ["    esac",
              "    COMPREPLY=()",
              "    # Without a result, bash completes names of files.",
              "    [[ \" $files \" == *\" $previous \"* ]] && return",
              "    [[ \" $values \" == *\" $previous \"* ]] && { compopt +o default; return; }",
              "    [[ $word == -* ]] && words=$options",
              "    mapfile -t COMPREPLY < <(compgen -W \"$words\" -- \"$word\")", "}",
              f"complete -o default -F _{program.replace('-', '_')} {program}"]
    return "\n".join(lines) + "\n"


def zsh(program, top, commands):
    def arguments(command):
        zsh_arguments = []
        for entry in command.help.options:
            text = re.sub(r"([\[\]\\:])", r"\\\1", entry.text)
            action = "_files" if entry.value in FILES else "_files -/" if entry.value in FOLDERS else " "
            value = entry.value.replace(":", r"\:")
            zsh_arguments.append(f"*{entry.option}=[{text}]:{value}:{action}" if entry.value else f"{entry.option}[{text}]")
        if command.words:
            zsh_arguments.append(f"1:{command.help.arguments[0].term}:({' '.join(command.words)})")
        elif command.takes_files():
            zsh_arguments.append("*:FILE:_files")
        return zsh_arguments

    def call(zsh_arguments, indentation):
        return " \\\n".join(["_arguments", *(indentation + "    " + single_quoted(each) for each in zsh_arguments)])

    lines = [f"#compdef {program}"]
    if not commands:
        return "\n".join([*lines, call(arguments(top), "")]) + "\n"
    described = " ".join(f"{command.name}\\:{zsh_description(top, command)}" for command in commands)
    zsh_arguments = [*arguments(Command(top.help, [])), f"1:command:(({described}))", "*::argument:->argument"]
    lines += ["local state line", call(["-C", *zsh_arguments], ""), "case $state:$words[1] in"]
    for command in commands:
        lines += [f"    argument:{command.name})", "        " + call(arguments(command), "        "), "        ;;"]
    return "\n".join([*lines, "esac"]) + "\n"


def zsh_description(top, command):
    text = next(entry.text for entry in top.help.commands if entry.term == command.name)
    return '"' + re.sub(r'(["$`\\:])', r"\\\1", text) + '"'


def fish(program, top, commands):
    lines = [f"# Completion of {program} for fish.", f"complete -c {program} -f"]
    for entry in top.help.commands:
        lines.append(f"complete -c {program} -n __fish_use_subcommand -a {entry.term} -d {fish_quoted(entry.text)}")
    for command in (top, *commands):
        condition = "" if not commands else " -n __fish_use_subcommand"
        if command is not top:
            condition = f" -n '__fish_seen_subcommand_from {command.name}'"
        for entry in command.help.options:
            value = "" if not entry.value else " -r -F" if entry.value in FILES | FOLDERS else " -x"
            lines.append(f"complete -c {program}{condition} -l {entry.option[2:]}{value} -d {fish_quoted(entry.text)}")
        if command is not top and command.words:
            lines.append(f"complete -c {program}{condition} -a {fish_quoted(' '.join(command.words))}")
        elif command.takes_files():
            lines.append(f"complete -c {program}{condition} -F")
    return "\n".join(lines) + "\n"


def fish_quoted(text):
    return "'" + text.replace("\\", "\\\\").replace("'", "\\'") + "'"
