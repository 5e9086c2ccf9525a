"""Files of uploads: a file appears only when it is complete, is written by one upload at a time, and only its owner may
read it."""

import fcntl
import os
import re
import secrets
import tempfile
import unicodedata
import weakref
from contextlib import suppress

# Names of incomplete uploads, on file systems without unnamed temporary files.
PART_NAME = re.compile(r"\.[0-9a-f]{16}\.upload")
# Copied in one step. A step delays the other sessions by a few milliseconds.
COPY_BYTES = 4 << 20


def is_same_name(folder, one, other):
    """Whether both names denote one file in this folder: some file systems ignore case or normalization."""
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
    """The file of one upload. It gets its name when it is complete; until then an older file of that name is unchanged.
    Mode "ab" appends to a copy of the older file, mode "r+b" overwrites a part of the copy.

    If the file system supports it (O_TMPFILE), an incomplete file has no name, so that nothing remains when the process
    ends in any way."""

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
        """Copies the next piece of the older file. Returns False when everything is copied."""
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
            # With src_dir_fd os.link follows the symbolic link in /proc; its value is ignored for an absolute path.
            descriptor = self._file.fileno()
            os.link(f"/proc/self/fd/{descriptor}", self._part, src_dir_fd=descriptor)
            self._part_exists = True
        os.replace(self._part, self._target)
        self._part_exists = False
        self.close()

    def close(self):
        """Closes the file and discards data that has not been committed."""
        self._open.discard(self)
        if self._older is not None:
            self._older.close()
        try:
            self._file.close()
        except OSError:
            pass  # The error of a full disk was reported when the data was written.
        finally:
            if self._part_exists:
                self._part_exists = False
                os.remove(self._part)

    @staticmethod
    def _lock(descriptor):
        """Locks the file. Returns False when another running server has locked it."""
        try:
            fcntl.flock(descriptor, fcntl.LOCK_EX | fcntl.LOCK_NB)
        except BlockingIOError:
            return False
        except OSError:
            pass  # This file system has no locks.
        return True

    @classmethod
    def _remove_parts(cls, folder):
        """Removes incomplete uploads of servers that were killed, when the folder is used for the first time."""
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
