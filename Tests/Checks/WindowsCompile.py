#!/usr/bin/python3
"""Compiles all of Src/ for Windows, as far as possible without its libraries: WindowsCompile.py SOURCE_DIR CACHE_DIR
COMPILER QT_INCLUDE_DIR GENERATED_DIR... (MinGW's compiler; the last arguments are the folders with generated headers).

Nothing is linked or run. Qt's headers are those of this machine, which support Windows too. Sources that compiled before
are not compiled again unless they or an included header changed: CACHE_DIR has their fingerprints.
"""
import functools
import hashlib
import os
import re
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor
from itertools import groupby
from pathlib import Path

# The same number of files per translation unit as in CMake's unity builds, which takes a quarter of the time.
FILES_AT_ONCE = 8
FLAGS = """-std=c++17 -fsyntax-only -Werror -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion
    -Wno-subobject-linkage -D_WIN32_WINNT=0x0A00 -DEXTERNALCONTROLLER_BUILD
    -DASIO_STANDALONE -DASIO_NO_DEPRECATED -DASIO_DISABLE_STD_ALIGNED_ALLOC -DZENTRAVOX_PYTHON="python" -DZENTRAVOX_VERSION="0"
    -DZENTRAVOX_CONTRACT_VERSION="0" -DZENTRAVOX_SECRET_KEYS="p" """.split()
ROOTS = ("Src/Libs/ExternalController", "Src/Libs/StandIns", "Src/Apps")
NOT_ON_WINDOWS = {"Src/Libs/StandIns/Platform/IpHelper.cpp"}
# Headers that don't depend on the platform; other system headers of this machine must not be found.
NEUTRAL = ("asio", "asio.hpp", "curl", "openssl", "sqlite3.h")


def gather_headers(folder):
    for top in [Path("/usr/include"), *Path("/usr/include").glob("*-linux-gnu")]:
        for name in NEUTRAL:
            found = top / name
            for file in [found] if found.is_file() else found.rglob("*"):
                link = folder / file.relative_to(top)
                if file.is_file() and not link.is_symlink():
                    link.parent.mkdir(parents=True, exist_ok=True)
                    link.symlink_to(file)


def batches(source_dir):
    sources = sorted((source_dir / "Src").rglob("*.cpp"))
    wanted = [file for file in sources if file.relative_to(source_dir).as_posix() not in NOT_ON_WINDOWS]
    for _, group in groupby(wanted, key=lambda file: file.parent):
        files = list(group)
        yield from (files[start:start + FILES_AT_ONCE] for start in range(0, len(files), FILES_AT_ONCE))


@functools.cache
def digest(file):
    path = Path(file)
    return hashlib.sha256(path.read_bytes()).hexdigest() if path.is_file() else "missing"


def fingerprint(command, text, files):
    parts = [*command, text, *(f"{file} {digest(file)}" for file in files)]
    return hashlib.sha256("\n".join(parts).encode()).hexdigest()


class Unit:
    """Several sources as one translation unit. Its stamp file has the compiled files and their fingerprint."""

    def __init__(self, command, sources, cache):
        self.command = command
        self.text = "".join(f'#include "{source}"\n' for source in sources)
        self.stamp = cache / hashlib.sha256(self.text.encode()).hexdigest()

    def is_known_to_compile(self):
        if not self.stamp.is_file():
            return False
        known, *files = self.stamp.read_text(encoding="utf-8").splitlines()
        return known == fingerprint(self.command, self.text, files)

    def compiles(self):
        if self.is_known_to_compile():
            return True
        dependencies = self.stamp.with_suffix(".d")
        result = subprocess.run([*self.command, "-MD", f"-MF{dependencies}", "-MTunit", "-xc++", "-"],
                                input=self.text, text=True)
        if result.returncode == 0:
            names = dependencies.read_text(encoding="utf-8").replace("\\\n", " ").split(":", 1)[1]
            files = [name.replace("\\ ", " ") for name in re.findall(r"(?:\\ |\S)+", names) if name != "-"]
            self.stamp.write_text("\n".join([fingerprint(self.command, self.text, files), *files]), encoding="utf-8")
        return result.returncode == 0


def main():
    if len(sys.argv) < 6:
        sys.exit(__doc__)
    source_dir, cache = Path(sys.argv[1]).resolve(), Path(sys.argv[2])
    compiler, qt, *generated = sys.argv[3:]
    headers = cache / "headers"
    headers.mkdir(parents=True, exist_ok=True)
    gather_headers(headers)
    includes = [f"-isystem{part}" for part in (headers, qt, *Path(qt).glob("Qt*/"))]
    includes += [f"-I{root}" for root in (*(source_dir / root for root in ROOTS), *generated)]
    units = [Unit([compiler, *FLAGS, *includes], batch, cache) for batch in batches(source_dir)]
    with ThreadPoolExecutor(os.cpu_count()) as pool:
        results = list(pool.map(Unit.compiles, units))
    sys.exit(0 if results and all(results) else 1)


if __name__ == "__main__":
    main()
