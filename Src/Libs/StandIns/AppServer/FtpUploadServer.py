"""The FTP server that apps upload media to; a child process of the app server.

stdin: first one JSON line with the start parameters
  {"address": "127.0.0.1", "port": 25521, "passivePorts": [25530, 25549], "user": "...", "password": "...", "root": "/..."}
  then commands, one JSON object a line: {"root": "/..."} makes this the folder of the uploads that begin later.
  The end of stdin ends the server, so it never outlives the process that started it.
stdout: one JSON line an event: "listening", "upload" and "aborted" with "path", "failed" with "reason" (it ends then).
stderr: silent unless something is wrong.

POSIX only: stdin is polled together with the sockets.
"""

import errno
import fcntl
import hmac
import json
import logging
import os
import secrets
import signal
import socket
import stat
import sys

from pyftpdlib.authorizers import AuthenticationFailed, DummyAuthorizer
from pyftpdlib.filesystems import AbstractedFS, FilesystemError
from pyftpdlib.handlers import DTPHandler, FTPHandler
from pyftpdlib.ioloop import IOLoop
from pyftpdlib.servers import FTPServer

# Change folder, list, append, make folder, store, set time. Not: retrieve, delete, rename, change mode.
PERMISSIONS = "elamwT"
# A client that dies closes its data and its control connection together, and the end of the data alone looks like
# a complete upload. A sound client waits for the reply: it is held back this long, and if the control connection has
# ended by then, the upload was aborted.
REPLY_DELAY_SECONDS = 0.1
IDLE_SECONDS = 300
# A client that vanished without closing (out of radio range) sends nothing any more.
STALLED_TRANSFER_SECONDS = 60
# Damps the guessing of passwords: one try a second, three a connection.
LOGIN_FAILURE_SECONDS = 1
# Control, data and listening sockets together.
MAX_SOCKETS = 64

log = logging.getLogger("ftp-upload")


def report(event, **details):
    try:
        os.write(1, (json.dumps({"event": event, **details}) + "\n").encode())
    except BrokenPipeError:
        pass  # The parent has gone; the end of stdin ends us.


class InPlaceUpload:
    """An upload that goes on with the target itself, for APPE and REST. `name` is the path that is reported."""

    def __init__(self, name, target, mode):
        self.name = name
        self._file = open(target, mode)
        try:
            fcntl.flock(self._file, fcntl.LOCK_EX | fcntl.LOCK_NB)
        except BlockingIOError:
            self._file.close()
            raise FilesystemError("Another upload of this file is under way") from None

    @property
    def closed(self):
        return self._file.closed

    def write(self, data):
        self._file.write(data)

    def seek(self, offset):
        self._file.seek(offset)

    def commit(self):
        self._file.close()

    def close(self):
        self._file.close()


class NewUpload:
    """An upload that appears under its name when it is complete; until then an older file of that name stays.

    Where the file system can do it, the file has no name before that, so that nothing is left however we end."""

    def __init__(self, name, target):
        self.name = name
        self._target = target
        folder = os.path.dirname(target)
        self._part = os.path.join(folder, f".{secrets.token_hex(8)}.upload")
        try:
            descriptor = os.open(folder, os.O_TMPFILE | os.O_WRONLY, 0o666)
            self._part_exists = False
        except (AttributeError, OSError):
            descriptor = os.open(self._part, os.O_CREAT | os.O_EXCL | os.O_WRONLY, 0o666)
            self._part_exists = True
        self._file = os.fdopen(descriptor, "wb")

    def __del__(self):
        if hasattr(self, "_file"):
            self.close()

    @property
    def closed(self):
        return self._file.closed

    def write(self, data):
        self._file.write(data)

    def commit(self):
        self._file.flush()
        if not self._part_exists:
            # Any src_dir_fd makes os.link follow /proc's symbolic link; an absolute path ignores its value.
            descriptor = self._file.fileno()
            os.link(f"/proc/self/fd/{descriptor}", self._part, src_dir_fd=descriptor)
            self._part_exists = True
        os.replace(self._part, self._target)
        self._part_exists = False
        self._file.close()

    def close(self):
        """Drops what has not been committed."""
        try:
            self._file.close()
        except OSError:
            pass  # A full disk told so when the data was written.
        finally:
            if self._part_exists:
                self._part_exists = False
                os.remove(self._part)


class Account(DummyAuthorizer):
    """The one user, and the folder that uploads go below."""

    def __init__(self, user, password, folder):
        super().__init__()
        self._password = password.encode()
        self.set_folder(folder)
        self.add_user(user, password, self.folder, perm=PERMISSIONS)

    def set_folder(self, folder):
        # Not resolved: uploads are reported below the folder as the parent names it.
        if not os.path.isabs(folder):
            raise OSError(errno.EINVAL, "not an absolute path")
        self.folder = os.path.normpath(folder)
        os.makedirs(self.folder, exist_ok=True)

    def validate_authentication(self, username, password, handler):
        if not self.has_user(username) or not hmac.compare_digest(password.encode(), self._password):
            raise AuthenticationFailed("Authentication failed.")

    def get_home_dir(self, username):
        try:
            os.makedirs(self.folder, exist_ok=True)
        except OSError as error:
            log.error("%s: cannot make the upload folder: %s", self.folder, error.strerror)
            raise AuthenticationFailed("The upload folder is not there.") from None
        return self.folder


class UploadFolder(AbstractedFS):
    @property
    def root(self):
        """The account's present folder, also for sessions that began before it changed."""
        return Session.authorizer.folder

    def open(self, filename, mode):
        # Links inside the folder are written through, not replaced; links that lead outside were refused before.
        target = os.path.realpath(filename)
        try:
            if not stat.S_ISREG(os.stat(target).st_mode):
                raise FilesystemError("Not a regular file")
        except FileNotFoundError:
            pass
        return NewUpload(filename, target) if mode == "wb" else InPlaceUpload(filename, target, mode)


class DataChannel(DTPHandler):
    timeout = STALLED_TRANSFER_SECONDS
    _reply_delay = None

    def handle_read(self):
        """Stores the bytes as they come, in ASCII mode too: apps send media, which a change of line ends would break.
        A reset aborts; the library takes it for the end of a complete upload."""
        try:
            data = self.socket.recv(self.ac_in_buffer_size)
        except BlockingIOError:
            return
        except OSError as error:
            self._abort(error)
            return
        if not data:
            self._delay_reply()
            return
        self.tot_bytes_received += len(data)
        try:
            self.file_obj.write(data)
        except OSError as error:
            log.error("%s: %s", self.file_obj.name, error.strerror)
            self._abort(error)

    handle_read_event = handle_read

    def handle_close(self):
        if self.receive:
            self._delay_reply()
        else:
            super().handle_close()

    def _delay_reply(self):
        if not self._closed and self._reply_delay is None:
            self.del_channel()
            self._reply_delay = self.call_later(REPLY_DELAY_SECONDS, self._finish)

    def _finish(self):
        reset = self.socket.getsockopt(socket.SOL_SOCKET, socket.SO_ERROR)
        if reset:
            self._abort(OSError(reset, os.strerror(reset)))
        elif self.cmd_channel.is_gone():
            self.close()
        else:
            try:
                self.file_obj.commit()
            except OSError as error:
                log.error("%s: %s", self.file_obj.name, error.strerror)
                self._abort(error)
            else:
                super().handle_close()

    def _abort(self, error):
        self._resp = (f"426 {error.strerror}; transfer aborted.", log.debug)
        self.close()


class Session(FTPHandler):
    abstracted_fs = UploadFolder
    dtp_handler = DataChannel
    banner = "ready"
    timeout = IDLE_SECONDS
    auth_failed_timeout = LOGIN_FAILURE_SECONDS
    # STOU would write under its final name from the first byte on.
    proto_cmds = {name: command for name, command in FTPHandler.proto_cmds.items() if name != "STOU"}

    def is_gone(self):
        """Whether the client has closed or reset the control connection; what it sent before stays unread."""
        try:
            return self.socket.recv(1, socket.MSG_PEEK | socket.MSG_DONTWAIT) == b""
        except BlockingIOError:
            return False
        except OSError:
            return True

    def decode(self, bytes):
        """A name that is not UTF-8 is refused: replacing what can't be decoded would give two names to one file.
        Some clients send Telnet's interrupt bytes before ABOR."""
        # The library would put a line that can't be decoded before the next one.
        self._in_buffer, self._in_buffer_len = [], 0
        return bytes.lstrip(b"\xff\xf4\xf2").decode()

    def pre_process_command(self, line, cmd, arg):
        if "\0" in line:
            self.respond("501 A name can't contain a zero byte.")
        else:
            super().pre_process_command(line, cmd, arg)

    def _shutdown_connecting_dtp(self):
        """The client has given up the data connection that it announced, and with it the upload that waits for it."""
        super()._shutdown_connecting_dtp()
        waiting, self._in_dtp_queue = self._in_dtp_queue, None
        if waiting is not None:
            waiting[0].close()
            self.on_incomplete_file_received(waiting[0].name)

    def on_file_received(self, file):
        report("upload", path=file)

    def on_incomplete_file_received(self, file):
        report("aborted", path=file)


class Loop(IOLoop):
    def poll(self, timeout):
        """What is due at once comes as 0, which the library takes for no timeout: every timer would wait for traffic.
        A control connection that ends in a timer's call leaves such a thing behind."""
        super().poll(timeout if timeout is None else max(timeout, 0.001))


class Parent:
    """stdin, as one more channel of the server's loop."""

    _fileno = 0

    def __init__(self, loop, rest):
        self._buffer = rest
        self._obey()
        loop.register(self._fileno, self, loop.READ)

    def readable(self):
        return True

    def handle_read_event(self):
        data = os.read(0, 65536)
        if not data:
            sys.exit()
        self._buffer += data
        self._obey()

    def handle_close(self):
        sys.exit()

    def handle_error(self):
        raise

    def close(self):
        pass

    def _obey(self):
        *lines, self._buffer = self._buffer.split(b"\n")
        for line in lines:
            try:
                folder = json.loads(line)["root"]
                Session.authorizer.set_folder(folder)
            except OSError as error:
                log.error("%s: cannot make the upload folder: %s", folder, error.strerror)
            except (KeyError, TypeError, ValueError) as error:
                log.error("not a command: %s", error)


def read_first_line():
    """The first line, and what was read beyond it."""
    received = b""
    while b"\n" not in received:
        data = os.read(0, 65536)
        if not data:
            sys.exit()
        received += data
    return received.split(b"\n", 1)


def listen(address, port):
    try:
        listener = socket.socket(socket.AF_INET6 if ":" in address else socket.AF_INET)
        listener.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
        listener.bind((address, port))
        listener.listen()
        return listener
    except OSError as error:
        raise OSError(error.errno, f"cannot listen on {address} port {port}: {error.strerror}") from None


def start():
    first, rest = read_first_line()
    options = json.loads(first)
    try:
        Session.authorizer = Account(options["user"], options["password"], options["root"])
    except OSError as error:
        raise OSError(error.errno, f"cannot make the upload folder {options['root']}: {error.strerror}") from None
    first_passive, last_passive = options["passivePorts"]
    Session.passive_ports = range(first_passive, last_passive + 1)
    # Changing the folder of a session changes the process's for a moment, and back: that has to exist for ever.
    os.chdir("/")

    loop = Loop()
    server = FTPServer(listen(options["address"], options["port"]), Session, ioloop=loop)
    server.max_cons = MAX_SOCKETS
    Parent(loop, rest)
    return server


def main():
    logging.basicConfig(stream=sys.stderr, level=logging.WARNING, format="FTP upload: %(message)s")
    # Ctrl+C in a terminal reaches the whole process group; the parent decides when we end.
    signal.signal(signal.SIGINT, signal.SIG_IGN)
    signal.signal(signal.SIGTERM, lambda *_: sys.exit())
    try:
        server = start()
    except OSError as error:
        report("failed", reason=error.strerror)
        sys.exit(1)
    report("listening")
    try:
        server.serve_forever(handle_exit=False)
    finally:
        server.close_all()  # Drops the uploads that are under way.


main()
