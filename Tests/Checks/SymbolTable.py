#!/usr/bin/python3
"""Checks the module's exported symbols: SymbolTable.py LIBRARY

The library must export exactly the four functions with C names and the class CExternalController.
"""
import re
import subprocess
import sys

FUNCTIONS = {"InitExternalController", "GetExternalController", "StopExternalController", "UninitExternalController"}
CLASS = "CExternalController"
CLASS_TABLES = {f"{table} for {CLASS}" for table in ("vtable", "typeinfo", "typeinfo name")}
CONSTRUCTOR = f"{CLASS}::{CLASS}()"
# A demangled C++ name includes the parameters, so a name without them is a C name.
OF_THE_CLASS = re.compile(rf"((non-virtual |virtual )?thunk to |guard variable for )?{CLASS}::.+")


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    library = sys.argv[1]
    table = subprocess.run(["nm", "-D", "--defined-only", "-C", library], text=True, stdout=subprocess.PIPE)
    if table.returncode != 0:
        sys.exit(table.returncode)
    exported = {line.split(" ", 2)[2] for line in table.stdout.splitlines()}

    required = FUNCTIONS | CLASS_TABLES | {CONSTRUCTOR}
    surplus = sorted(name for name in exported - required if not OF_THE_CLASS.fullmatch(name))
    missing = sorted(required - exported)
    for name in surplus:
        print(f"{library}: must not export {name}")
    for name in missing:
        print(f"{library}: doesn't export {name}")
    sys.exit(1 if surplus or missing else 0)


if __name__ == "__main__":
    main()
