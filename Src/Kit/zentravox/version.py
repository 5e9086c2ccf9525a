"""The version of the kit, which is also that of the programs and libraries."""

from pathlib import Path


def _read() -> str:
    installed = Path(__file__).with_name("Version.txt")
    if installed.exists():
        return installed.read_text(encoding="ascii").strip()
    changelog = Path(__file__).parents[3] / "Packaging" / "changelog"
    return changelog.read_text(encoding="utf-8").partition("(")[2].partition(")")[0]


VERSION = _read()
