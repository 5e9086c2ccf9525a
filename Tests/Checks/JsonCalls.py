#!/usr/bin/python3
"""Checks that all JSON is read by ReadJson, which calls QJsonDocument::fromJson safely: JsonCalls.py SOURCE_DIR

Prints each offence as file:line: reason and ends with 1 if there is any.
"""
import re

from SourceCheck import code_of, run

READER = "Src/Libs/ExternalController/ExternalController/Common/JsonReader.cpp"
CALL = re.compile(r"\bfromJson\b")


def offences(sources):
    """sources: pairs of path below the source folder and text."""
    for path, text in sources:
        if path == READER:
            continue
        for number, line in enumerate(code_of(text).splitlines(), 1):
            if CALL.search(line):
                yield f"{path}:{number}: JSON is read by ReadJson (Common/JsonReader.h)"


def self_test():
    elsewhere = "Src/Apps/ShowHost/A.cpp"
    offending = ["QJsonDocument::fromJson(text);", "QJsonDocument::\n fromJson (text);", "&QJsonDocument::fromJson);"]
    allowed = ["// as fromJson(text)", 'Log("fromJson(");', "ReadJson(text);", "fromJsonFile(name);"]
    wrong = [line for line in offending if len(list(offences([(elsewhere, line)]))) != 1]
    wrong += [line for line in allowed if list(offences([(elsewhere, line)]))]
    wrong += [line for line in offending if list(offences([(READER, line)]))]
    return wrong


if __name__ == "__main__":
    run(__doc__, offences, self_test)
