"""The files of uploads: complete or not there, one upload of a file at a time, and private to the user."""

import fcntl
import os
import re
import secrets
import tempfile
import unicodedata
import weakref
from contextlib import suppress

# Uploads that are not complete, on file systems that need a name for them.
PART_NAME = re.compile(r"\.[0-9a-f]{16}\.upload")
# What the copy of an older file delays the other sessions by at a time: a few milliseconds.
COPY_BYTES = 4 << 20


def is_same_name(folder, one, other):
    """Whether the folder's file system takes the names for one: some ignore case, or how an accent is encoded."""
    def folded(name):
        return unicodedata.normalize("NFD", unicodedata.normalize("NFD", name).casefold())

    if one == other or folded(one) != folded(other):
        return one == other
    with tempfile.TemporaryDirectory(prefix=".", suffix=".upload", dir=folder) as trial:
        open(os.path.join(trial, one), "xb").close()
        return os.path.lexists(os.path.join(trial, other))


def is_same_file(one, other):
    with suppress(OSError):  # One of them does not exist yet.
        if os.path.samefile(one, other):
            return True
    (folder, name), (other_folder, other_name) = os.path.split(one), os.path.split(other)
    with suppress(OSError):
        return os.path.samefile(folder, other_folder) and is_same_name(folder, name, other_name)
    return False


class Upload:
    """An upload, which appears under its name when it is complete; until then an older file of that name stays.
    Mode "ab" appends to a copy of that file, "r+b" overwrites a part of one.

    Where the file system can do it, the file has no name before that, so that nothing is left however we end."""

    _open = weakref.WeakSet()
    _tidied = set()

    def __init__(self, name, target, mode):
        self.name = name
        self._target = target
        self._offset = None
        folder = os.path.dirname(target)
        self._remove_parts(folder)
        self._older = None
        if mode != "wb" and (mode == "r+b" or os.path.exists(target)):
            self._older = open(target, "rb")
        self._part = os.path.join(folder, f".{secrets.token_hex(8)}.upload")
        try:
            descriptor = os.open(folder, os.O_TMPFILE | os.O_WRONLY, 0o600)
            self._part_exists = False
        except (AttributeError, OSError):
            descriptor = os.open(self._part, os.O_CREAT | os.O_EXCL | os.O_WRONLY, 0o600)
            self._part_exists = True
        self._file = os.fdopen(descriptor, "wb")
        self._lock(descriptor)
        self._open.add(self)

    def __del__(self):
        if hasattr(self, "_file"):
            self.close()

    @classmethod
    def is_in_progress(cls, target):
        return any(is_same_file(upload._target, target) for upload in cls._open)

    @property
    def closed(self):
        return self._file.closed

    def seek(self, offset):
        self._offset = offset

    def copy_older(self):
        """Copies a piece of the older file. False when nothing is left to copy."""
        if self._older is None:
            return False
        if piece := self._older.read(COPY_BYTES):
            self._file.write(piece)
            return True
        self._older.close()
        self._older = None
        if self._offset is not None:
            self._file.seek(self._offset)
        return False

    def write(self, data):
        self._file.write(data)

    def commit(self):
        while self.copy_older():
            pass
        self._file.flush()
        if not self._part_exists:
            # Any src_dir_fd makes os.link follow /proc's symbolic link; an absolute path ignores its value.
            descriptor = self._file.fileno()
            os.link(f"/proc/self/fd/{descriptor}", self._part, src_dir_fd=descriptor)
            self._part_exists = True
        os.replace(self._part, self._target)
        self._part_exists = False
        self.close()

    def close(self):
        """Drops what has not been committed."""
        self._open.discard(self)
        if self._older is not None:
            self._older.close()
        try:
            self._file.close()
        except OSError:
            pass  # A full disk was reported when the data was written.
        finally:
            if self._part_exists:
                self._part_exists = False
                os.remove(self._part)

    @staticmethod
    def _lock(descriptor):
        """False when the part belongs to another server that is running."""
        try:
            fcntl.flock(descriptor, fcntl.LOCK_EX | fcntl.LOCK_NB)
        except BlockingIOError:
            return False
        except OSError:
            pass  # This file system has no locks.
        return True

    @classmethod
    def _remove_parts(cls, folder):
        """Removes what servers that were killed have left, when the folder is first used."""
        if folder in cls._tidied:
            return
        with os.scandir(folder) as entries:
            parts = [entry.path for entry in entries
                     if PART_NAME.fullmatch(entry.name) and entry.is_file(follow_symlinks=False)]
        cls._tidied.add(folder)
        for part in parts:
            with suppress(OSError), open(part, "rb") as file:
                if cls._lock(file.fileno()):
                    os.remove(part)
