#!/usr/bin/python3
"""Makes small changes in the sources, one at a time, and reports which of them the tests detect.

Each change is made in a copy of the tree, below build/mutation. The tests of the changed file are built and run; if all
pass, and --end-to-end is given, showhost and showremote are tested too. The results are appended to
build/mutation/results.jsonl; changes that have a result there are not repeated.
"""

import argparse
import collections
import json
import os
import random
import re
import shutil
import signal
import subprocess
import sys
import time
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
WORK = ROOT / "build" / "mutation"
TREE, RESULTS = WORK / "source", WORK / "results.jsonl"
BUILD = TREE / "build" / "dev"
BUILD_SECONDS, TEST_SECONDS, END_TO_END_SECONDS = 300, 60, 400
# Tests use fixed ports, so each run has its own network.
IN_OWN_NETWORK = ["unshare", "-rn", "sh", "-c", 'ip link set lo up && exec "$@"', "sh"]

MODULE, STAND_INS = "Src/Libs/ExternalController/ExternalController/", "Src/Libs/StandIns/"
# The first prefix that fits decides on the area and on the tests.
AREAS = [(MODULE + "Common/Json", "Common", "Common Module"), (MODULE + "Common/", "Common", "Module ShowHost"),
         (MODULE + "MsgSender/", "senders", "Module"), (MODULE, "controller", "Module ShowHost"),
         (STAND_INS + "Comm/", "stand-ins", "Comm AppServer FPClient CentralControl CloudControl"),
         (STAND_INS + "HostModels/", "stand-ins", "HostModels ShowHost Module"),
         (STAND_INS + "Common/", "stand-ins", "Common CloudControl"), ("Src/Apps/ShowHost/Page/", "showhost", ""),
         ("Src/Apps/ShowHost/", "showhost", "ShowHost"),
         *((f"{STAND_INS}{folder}/", "stand-ins", folder)
           for folder in ("AppServer", "CentralControl", "CloudControl", "Devices", "FPClient", "Log", "Traffic")),
         (STAND_INS + "Platform/", "stand-ins", "Platform Devices")]

PAIRS = ["left right", "Left Right", "first second", "front back", "width height", "Width Height", "red green", "id name",
         "Red Green", "total available", "min max", "begin end", "Start End", "PosX PosY", "x y",
         "::Control ::Bulk", "::FP ::App", "::App ::CentralControl", "::Host ::Sender", "::Success ::Fail", "ip port"]
FLIP = {"==": "!=", "!=": "==", "&&": "||", "||": "&&", "true": "false", "false": "true", "<": "<=", "<=": "<",
        ">": ">=", ">=": ">", "-": "+", "+": "-", "*": "/", "/": "*", "%": "*", "|": "&", "&": "|"}
# Neither a part of a longer name nor the name that a declaration introduces.
IN_EXPRESSION = r"(?<![a-zA-Z])(?<![>&*a-zA-Z] )"
# Regular expressions, and the function that returns a replacement for their first group.
PATTERNS = {
    "condition": [(r"\bif (\(.*\))(?: \{)?$", "(!{})".format), (r"\bwhile (\(.*\))(?: \{)?$", "(false)".format),
                  (r"[\w)] ([=!]=|[<>]=?|&&|\|\|) [\w(!*-]", FLIP.get), (r"[ (](!)[\w(]", "".format),
                  (r"(?:= |return |, )([^(),?=]+) \? ", "!({})".format)],
    "constant": [(r"(?<![\w.\"'])(0x[0-9a-fA-F]+|0|[1-9]\d*)(?![\w.\"'])",
                  lambda old: str(int(old, 0) + (1 if int(old, 0) < 3 else -1))), (r"\b(true|false)\b", FLIP.get)],
    "key": [(r'"((?:[^"\\ ]|\\.)+)"', "{}x".format), (r'"((?:[^"\\ ]|\\.)+)"', "".format)],
    "call": [(r"^\s+((?!return|delete|throw|using)(?:emit )?[\w:>.\-]+(?:\(|<.*>\().*\);)$", ";".format),
             (r"^\s+((?:\*?[\w:>.\-\[\]\"]+ [-+|]?= .*|\+\+.*|--.*|return|break|continue);)$", ";".format),
             (r"\breturn (?!nullptr|std::nullopt|false)([^;{]+);$", "{{}}".format)],
    "argument": [(r"\w\((\w[\w.\->:]*, \w[\w.\->:]*)[,)]", lambda old: ", ".join(reversed(old.split(", ")))),
                 (r"[\w)] ([-+*/%|&]) [\w(]", FLIP.get),
                 *((rf"{IN_EXPRESSION if one.islower() else ''}({one})(?![a-z{'A-Z' if ':' in one else ''}])", other.format)
                   for pair in PAIRS for one, other in (pair.split(), pair.split()[::-1]))],
    "lock": [(r"^\s+((?:const )?std::(?:lock_guard|unique_lock|shared_lock|scoped_lock)\b.*;)$", ";".format)],
    "entry": [(r"^\s+(\{.*\},)$", "".format)],
}


def area_of(file):
    return next(((area, tests.split()) for prefix, area, tests in AREAS if file.startswith(prefix)), None)


def changes_in(file):
    """Yields all changes that the patterns allow in a file, each as a dictionary."""
    for number, line in enumerate((ROOT / file).read_text(encoding="utf-8").split("\n"), 1):
        code = re.sub(r"\s*//.*", "", line)
        is_declaration = file.endswith(".h") and re.match(r" *(?!return)[^=]*\)?( const)?;|.*\) = |.*override;", code)
        if is_declaration or re.search("^#|^using|^namespace|^template|^extern|static_assert|Q_ASSERT|DebugLog", code):
            continue
        for kind, patterns in PATTERNS.items():
            for pattern, replace in patterns:
                for match in re.finditer(pattern, code):
                    new = line[:match.start(1)] + replace(match[1]) + line[match.end(1):]
                    if new != line:
                        yield {"file": file, "line": number, "kind": kind, "old": line, "new": new}


def chosen(files, count, seed):
    """Returns up to this many changes of each file, of all kinds."""
    found = []
    for file in files:
        order = random.Random(f"{seed} {file}")
        candidates = list(changes_in(file))
        order.shuffle(candidates)
        kinds = collections.defaultdict(list)
        for change in candidates:
            kinds[change["kind"]].append(change)
        mine = []
        while len(mine) < count and any(kinds.values()):
            mine += [changes.pop() for changes in kinds.values() if changes]
        found += mine[:count]
    return found


def run(command, seconds):
    """Returns the exit code, or None if the time was not sufficient, and the output."""
    with subprocess.Popen(command, cwd=TREE, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, encoding="utf-8",
                          errors="replace", start_new_session=True) as process:
        try:
            output = process.communicate(timeout=seconds)[0]
            return process.returncode, output
        except subprocess.TimeoutExpired:
            os.killpg(process.pid, signal.SIGKILL)
            return None, ""


def build(targets, seconds=BUILD_SECONDS):
    return run(["cmake", "--build", str(BUILD), "-j1", "--target", *targets], seconds)


def git_files(*arguments):
    return subprocess.run(["git", "ls-files", "-z", "--", *arguments], cwd=ROOT, stdout=subprocess.PIPE, encoding="utf-8",
                          check=True).stdout.strip("\0").split("\0")


def prepare(tests, end_to_end):
    """Copies the tree and builds the tests. Warnings are errors, so some changes are not built."""
    files = git_files()
    for copy in TREE.rglob("*"):
        if copy.is_file() and BUILD not in copy.parents and str(copy.relative_to(TREE)) not in files:
            copy.unlink()
    for file in files:
        source, copy = ROOT / file, TREE / file
        if source.exists() and not (copy.exists() and copy.read_bytes() == source.read_bytes()):
            copy.parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(source, copy)
    # Each change compiles a file and links a test, which gold does in less time than the default linker.
    subprocess.run(["cmake", "--preset", "dev", "-DCMAKE_UNITY_BUILD=OFF", "-DCMAKE_EXE_LINKER_FLAGS=-fuse-ld=gold"],
                   cwd=TREE, stdout=subprocess.DEVNULL, check=True)
    code, output = build([*(f"{test}Test" for test in tests), *(("showhost", "showremote") if end_to_end else ())], None)
    if code != 0:
        sys.exit(output)


def result_of(change, end_to_end):
    """Returns "not built", "survived", or what detected the change. The first test that fails ends the search."""
    for test in area_of(change["file"])[1]:
        if build([f"{test}Test"])[0] != 0:
            return "not built"
        code, output = run([*IN_OWN_NETWORK, str(BUILD / "bin" / f"{test}Test"), "--gtest_fail_fast", "--gtest_brief=1"],
                           TEST_SECONDS)
        if code != 0:
            failed = re.search(r"FAILED  \] ([\w.]+)", output)
            return f"{test}: {failed[1] if failed else 'timeout' if code is None else 'crash'}"
    if end_to_end:
        build(["showhost", "showremote"])
        code, output = run([*IN_OWN_NETWORK, "ctest", "--test-dir", str(BUILD), "-R", end_to_end, "--stop-on-failure",
                            "--timeout", "120"], END_TO_END_SECONDS)
        if code != 0:
            failed = re.search(r"(EndToEnd\.\w+).*\*\*\*", output)
            return failed[1] if failed else "EndToEnd: timeout"
    return "survived"


def make(changes, end_to_end, again):
    done = set(results())
    for number, change in enumerate(changes, 1):
        path, started = TREE / change["file"], time.monotonic()
        original = path.read_text(encoding="utf-8")
        lines = original.split("\n")
        if key_of(change) in done and not again:
            continue
        if lines[change["line"] - 1] != change["old"]:
            print(f'{change["file"]}:{change["line"]} is not "{change["old"]}"', file=sys.stderr)
            continue
        lines[change["line"] - 1] = change["new"]
        try:
            path.write_text("\n".join(lines), encoding="utf-8")
            result = result_of(change, end_to_end)
        finally:
            path.write_text(original, encoding="utf-8")
        record = {**change, "result": result, "seconds": round(time.monotonic() - started, 1)}
        with RESULTS.open("a", encoding="utf-8") as file:
            file.write(json.dumps(record, ensure_ascii=False) + "\n")
        print(f'{number}/{len(changes)} {change["file"]}:{change["line"]} {result}', flush=True)


def key_of(change):
    return change["file"], change["old"], change["new"]


def results():
    lines = RESULTS.read_text(encoding="utf-8").splitlines() if RESULTS.exists() else []
    return {key_of(result): result for result in map(json.loads, lines)}


def report():
    areas = collections.defaultdict(collections.Counter)
    for result in results().values():
        found = result["result"]
        by = found if found in ("survived", "not built") else "end to end" if found[:8] == "EndToEnd" else "unit tests"
        areas[area_of(result["file"])[0]][by] += 1
        if found == "survived":
            print(f'{result["file"]}:{result["line"]}\n  - {result["old"].strip()}\n  + {result["new"].strip()}')
    for area, counts in areas.items():
        built = sum(counts.values()) - counts["not built"]
        print(f'{area}: {built - counts["survived"]} of {built} detected, {counts["unit tests"]} by unit tests; '
              f'{counts["not built"]} not built')


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("files", nargs="*", help="sources, or folders of sources, to change; none: only report the results")
    parser.add_argument("--count", type=int, default=7, help="changes of each file (default: 7)")
    parser.add_argument("--seed", default="1", help="selects other changes")
    parser.add_argument("--changes", help="file with the changes to make instead, in the format that --list prints")
    parser.add_argument("--end-to-end", metavar="REGEX", help="end-to-end tests for changes that the unit tests don't detect")
    parser.add_argument("--list", action="store_true", help="print the changes instead of making them")
    arguments = parser.parse_args()

    files = git_files(*arguments.files) if arguments.files else []
    # The page has only end-to-end tests.
    tested = [file for file in files if file.endswith((".cpp", ".h")) and area_of(file)
              and (arguments.end_to_end or area_of(file)[1])]
    changes = chosen(tested, arguments.count, arguments.seed)
    if arguments.changes:
        changes = list(map(json.loads, Path(arguments.changes).read_text(encoding="utf-8").splitlines()))
    if arguments.list:
        print("\n".join(json.dumps(change, ensure_ascii=False) for change in changes))
        return
    if changes:
        prepare({test for change in changes for test in area_of(change["file"])[1]}, arguments.end_to_end)
        make(changes, arguments.end_to_end, arguments.changes)
    report()


if __name__ == "__main__":
    main()
