#!/usr/bin/python3
"""Checks that all JSON is read by ReadJson, which calls QJsonDocument::fromJson safely: JsonCalls.py SOURCE_DIR

Prints each violation as file:line: reason. The exit code is 1 if there is a violation.
"""
import re

from SourceCheck import code_of, run

READER = "Src/Libs/ExternalController/ExternalController/Common/JsonReader.cpp"
CALL = re.compile(r"\bfromJson\b")


def violations(sources):
    """sources: pairs of path relative to the source folder and text."""
    for path, text in sources:
        if path == READER:
            continue
        for number, line in enumerate(code_of(text).splitlines(), 1):
            if CALL.search(line):
                yield f"{path}:{number}: call ReadJson (Common/JsonReader.h) to read JSON"


def self_test():
    elsewhere = "Src/Apps/ShowHost/A.cpp"
    violating = ["QJsonDocument::fromJson(text);", "QJsonDocument::\n fromJson (text);", "&QJsonDocument::fromJson);"]
    allowed = ["// as fromJson(text)", 'Log("fromJson(");', "ReadJson(text);", "fromJsonFile(name);"]
    wrong = [line for line in violating if len(list(violations([(elsewhere, line)]))) != 1]
    wrong += [line for line in allowed if list(violations([(elsewhere, line)]))]
    wrong += [line for line in violating if list(violations([(READER, line)]))]
    return wrong


if __name__ == "__main__":
    run(__doc__, violations, self_test)
