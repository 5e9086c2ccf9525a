#!/usr/bin/python3
"""Compiles all of Src/ for Windows, as far as that goes without its libraries: WindowsCompile.py SOURCE_DIR COMPILER
QT_INCLUDE_DIR GENERATED_DIR..., where the compiler is MinGW's and the last are the folders with generated headers.

Nothing is linked or run. There is no Qt for MinGW here: the headers are this machine's, which know Windows as well.
"""
import os
import subprocess
import sys
import tempfile
from concurrent.futures import ThreadPoolExecutor
from itertools import groupby
from pathlib import Path

# As many files a translation unit as in CMake's unity builds: that takes a quarter of the time.
FILES_AT_ONCE = 8
FLAGS = """-std=c++17 -fsyntax-only -Werror -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion
    -Wno-subobject-linkage -D_WIN32_WINNT=0x0A00 -DEXTERNALCONTROLLER_BUILD
    -DASIO_STANDALONE -DASIO_NO_DEPRECATED -DASIO_DISABLE_STD_ALIGNED_ALLOC -DZENTRAVOX_PYTHON="python" """.split()
ROOTS = ("Src/Libs/ExternalController", "Src/Libs/StandIns", "Src/Apps")
NOT_ON_WINDOWS = {"Src/Libs/StandIns/Platform/IpHelper.cpp"}
# Headers without a platform of their own; this machine's system headers must not come along.
NEUTRAL = ("asio", "asio.hpp", "curl", "openssl", "sqlite3.h")


def gather_headers(folder):
    for top in [Path("/usr/include"), *Path("/usr/include").glob("*-linux-gnu")]:
        for name in NEUTRAL:
            found = top / name
            for file in [found] if found.is_file() else found.rglob("*"):
                link = folder / file.relative_to(top)
                if file.is_file() and not link.exists():
                    link.parent.mkdir(parents=True, exist_ok=True)
                    link.symlink_to(file)


def batches(source_dir):
    files = sorted((source_dir / "Src").rglob("*.cpp"))
    wanted = [file for file in files if file.relative_to(source_dir).as_posix() not in NOT_ON_WINDOWS]
    for _, group in groupby(wanted, key=lambda file: file.parent):
        room = list(group)
        yield from (room[start:start + FILES_AT_ONCE] for start in range(0, len(room), FILES_AT_ONCE))


def main():
    if len(sys.argv) < 5:
        sys.exit(__doc__)
    source_dir, (compiler, qt, *generated) = Path(sys.argv[1]).resolve(), sys.argv[2:]
    with tempfile.TemporaryDirectory() as folder:
        gather_headers(Path(folder))
        includes = [f"-isystem{part}" for part in (folder, qt, *Path(qt).glob("Qt*/"))]
        includes += [f"-I{root}" for root in (*(source_dir / root for root in ROOTS), *generated)]

        def check(batch):
            text = "".join(f'#include "{file}"\n' for file in batch)
            return subprocess.run([compiler, *FLAGS, *includes, "-xc++", "-"], input=text, text=True).returncode

        with ThreadPoolExecutor(os.cpu_count()) as pool:
            results = list(pool.map(check, batches(source_dir)))
    sys.exit(0 if results and not any(results) else 1)


if __name__ == "__main__":
    main()
