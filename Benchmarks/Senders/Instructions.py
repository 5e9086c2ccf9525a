#!/usr/bin/env python3
"""Counts the instructions of sendercost's cases with callgrind: other programs on the machine don't influence them."""

import argparse
import os
import re
import subprocess
import sys
import tempfile


def instructions(sendercost, name):
    with tempfile.TemporaryDirectory() as folder:
        run = subprocess.run(
            ["valgrind", "--tool=callgrind", "--collect-atstart=no", "--toggle-collect=*CountedRun*",
             f"--callgrind-out-file={folder}/out", sendercost, "--once", name],
            capture_output=True, text=True, env={**os.environ, "QT_HASH_SEED": "0"})
    collected = re.search(r"Collected : (\d+)", run.stderr)
    if run.returncode != 0 or not collected:
        sys.exit(f"{name}: {run.stderr}")
    return int(collected.group(1))


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("sendercost", help="the program")
    parser.add_argument("pairs", nargs="+", metavar="CASE/REFERENCE",
                        help="for example resource-list/10000/direct or project-export/500/by-hand")
    options = parser.parse_args()
    for reference in options.pairs:
        case = reference.rpartition("/")[0]
        floor = instructions(options.sendercost, reference)
        module = instructions(options.sendercost, case + "/module")
        print(f"{reference:34} {floor:13,} module {module:13,} ratio {module / floor:.2f}", flush=True)


main()
