"""The FTP server (RFC 959) for media uploads of the app; a child process of the app server.

stdin: first one JSON line with the start parameters
  {"address": "127.0.0.1", "port": 25521, "passivePorts": [25530, 25549], "user": "...", "password": "...",
   "root": "/...", "loginSeconds": 10}
  then commands, one JSON object per line: {"root": "/..."} sets the root of the uploads that begin afterwards;
  {"close": 3} ends the session with this number.
  The server ends when stdin is closed, so it never runs longer than the process that started it.
stdout: one JSON object per line and event: "listening", "upload" and "aborted" with "path", "failed" with "reason".
  After "failed" the server exits with code 1. For each control connection "opened" with "session", its number, and
  "peer", then "command" and "reply" with "session" and "text", and "closed" with "session". Passwords are replaced by ***.
stderr: warnings and errors only.

POSIX only: stdin is polled together with the sockets.
"""

import errno
import hmac
import json
import logging
import os
import signal
import socket
import stat
import sys
from collections import Counter
from contextlib import suppress
from itertools import count

from pyftpdlib.authorizers import AuthenticationFailed, DummyAuthorizer
from pyftpdlib.filesystems import AbstractedFS, FilesystemError
from pyftpdlib.handlers import DTPHandler, FTPHandler
from pyftpdlib.ioloop import IOLoop
from pyftpdlib.servers import FTPServer

from FtpUploadFile import PART_NAME, Upload

# Permissions of pyftpdlib: e change folder, l list, a append, m create folder, w store, T set time. Not granted:
# retrieve, delete, rename, change mode.
PERMISSIONS = "elamwT"
# A client process that dies closes its data and its control connection together, and the end of the data alone looks
# like a complete upload. A correct client waits for the reply, so the reply is delayed by this time; if the control
# connection has ended by then, the upload was aborted.
REPLY_DELAY_SECONDS = 0.1
IDLE_SECONDS = 300
# A client that is out of radio range sends nothing and does not close its connection.
STALLED_TRANSFER_SECONDS = 60
# Slows down password guessing: one attempt per second, three attempts per connection.
LOGIN_FAILURE_SECONDS = 1
# Control, data and listening sockets together.
MAX_SOCKETS = 64
# Maximum time that an upload without a data connection blocks its file name.
DATA_CONNECTION_SECONDS = 30
# Maximum number of replies that the client has not read: several times what a client needs that sends all its commands
# without waiting for replies.
MAX_UNREAD_REPLIES = 1000
DATA_COMMANDS = ("STOR", "APPE", "LIST", "NLST", "MLSD")

log = logging.getLogger("ftp-upload")


def report(event, **details):
    try:
        os.write(1, (json.dumps({"event": event, **details}) + "\n").encode())
    except BrokenPipeError:
        pass  # The parent process has ended; the end of stdin will end this process.


class Account(DummyAuthorizer):
    """The only user account, and the root of the uploads."""

    def __init__(self, user, password, folder):
        super().__init__()
        self._password = password.encode()
        self.set_folder(folder)
        self.add_user(user, password, self.folder, perm=PERMISSIONS)

    def set_folder(self, folder):
        # Symbolic links are not resolved: uploads are reported with the folder name that the parent process uses.
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
        """The current root of the uploads, also for sessions that began before it changed."""
        return Session.authorizer.folder

    def open(self, filename, mode):
        # Writing to a symbolic link inside the root changes its target, not the link. Links that point outside the root
        # have been refused before.
        target = os.path.realpath(filename)
        if PART_NAME.fullmatch(os.path.basename(target)):
            raise FilesystemError("This name is reserved")
        try:
            if not stat.S_ISREG(os.stat(target).st_mode):
                raise FilesystemError("Not a regular file")
        except FileNotFoundError:
            pass
        return Upload(filename, target, mode)

    def listdir(self, path):
        """Omits links that point outside the root: the client must not see sizes, times or paths of their targets."""
        with os.scandir(path) as entries:
            return [entry.name for entry in entries if not PART_NAME.fullmatch(entry.name)
                    and (not entry.is_symlink() or self.validpath(entry.path))]

    listdirinfo = listdir

    def lstat(self, path):
        """Lists a link inside the root like its target, without the target's path on the host."""
        return self.stat(path)


class DataChannel(DTPHandler):
    timeout = STALLED_TRANSFER_SECONDS
    _reply_delay = None

    def handle_read(self):
        """Stores the bytes unchanged, also in ASCII mode: a conversion of line ends would damage media.
        A connection reset aborts the upload; the library would treat it as the end of a complete upload."""
        try:
            if self.file_obj.copy_older():
                return  # The received bytes stay unread, so that the loop calls this again.
        except OSError as error:
            log.error("%s: %s", self.file_obj.name, error.strerror)
            self._abort(error)
            return
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
    # STOU is not supported: the library would write the file under its final name from the first byte on.
    proto_cmds = {name: command for name, command in FTPHandler.proto_cmds.items() if name != "STOU"}
    login_seconds = 10
    numbers = count(1)
    # The sessions that have not logged in, the oldest first, each with the timer that closes it.
    waiting = {}
    # All sessions by number.
    sessions = {}

    def handle(self):
        self.number = next(self.numbers)
        self.sessions[self.number] = self
        report("opened", session=self.number, peer=f"{self.remote_ip}:{self.remote_port}")
        self._wait_for_login()
        super().handle()

    def _wait_for_login(self):
        self.waiting[self] = self.ioloop.call_later(self.login_seconds, self.close_waiting, _errback=self.handle_error)

    def close_waiting(self):
        with suppress(OSError):
            self.socket.send(b"421 Log in without delay; closing the control connection.\r\n", socket.MSG_DONTWAIT)
        self.close()

    def handle_auth_success(self, *args):
        self._stop_waiting()
        super().handle_auth_success(*args)

    def flush_account(self):
        super().flush_account()
        if self not in self.waiting:
            self._wait_for_login()

    def close(self):
        self._stop_waiting()
        super().close()

    def end(self):
        with suppress(OSError):
            self.socket.send(b"421 Disconnected by the host.\r\n", socket.MSG_DONTWAIT)
        self.close()

    def on_disconnect(self):
        self.sessions.pop(self.number, None)
        report("closed", session=self.number)

    def _stop_waiting(self):
        if limit := self.waiting.pop(self, None):
            limit.cancel()

    def add_channel(self, *args, **kwargs):
        """After a refused password the library removes the session from the loop for a moment. A session that is closed
        in the meantime must not be added again: another session may have its descriptor."""
        if not self._closed:
            super().add_channel(*args, **kwargs)

    def push(self, s):
        super().push(s)
        if len(self.producer_fifo) > MAX_UNREAD_REPLIES:
            self.close()

    def is_gone(self):
        """Whether the client has closed or reset the control connection. Does not consume received bytes."""
        try:
            return self.socket.recv(1, socket.MSG_PEEK | socket.MSG_DONTWAIT) == b""
        except BlockingIOError:
            return False
        except OSError:
            return True

    def decode(self, bytes):
        """Decodes a command line. Invalid UTF-8 raises an error: replacing invalid bytes would give one file two names.
        Removes the Telnet interrupt bytes (RFC 854) that some clients send before ABOR."""
        # Clear the buffer first: the library would prepend a line that can't be decoded to the next one.
        self._in_buffer, self._in_buffer_len = [], 0
        return bytes.lstrip(b"\xff\xf4\xf2").decode()

    def respond(self, resp, *args, **kwargs):
        report("reply", session=self.number, text=resp)
        super().respond(resp, *args, **kwargs)

    def pre_process_command(self, line, cmd, arg):
        is_password = line.lstrip().upper().startswith("PASS")
        report("command", session=self.number, text="PASS ***" if is_password else line)
        if is_password and cmd != "PASS":
            # Such as "PASS<tab>secret". The library would repeat the line in its reply.
            self.respond('500 Command "PASS" not understood.')
        elif "\0" in line:
            self.respond("501 A name can't contain a zero byte.")
        elif cmd in DATA_COMMANDS and self.data_channel is not None and self.data_channel.file_obj is not None:
            # The library would use the data connection of the upload for this transfer.
            self.respond("450 A transfer of this session is in progress.")
        else:
            super().pre_process_command(line, cmd, arg)

    def ftp_STOR(self, file, mode="w"):
        self._drop_waiting_upload()
        if Upload.is_in_progress(os.path.realpath(file)):
            self._restart_position = 0
            self.respond("450 Another upload of this file is in progress.")
            return None
        stored = super().ftp_STOR(file, mode)
        if self._in_dtp_queue is not None:
            self.ioloop.call_later(DATA_CONNECTION_SECONDS, self._abort_unconnected, self._in_dtp_queue,
                                   _errback=self.handle_error)
        return stored

    def _abort_unconnected(self, upload):
        if not self._closed and self._in_dtp_queue is upload:
            self._shutdown_connecting_dtp()
            self.respond("425 No data connection was opened.")

    def _shutdown_connecting_dtp(self):
        """Called when the client abandons the data connection that it announced: drops the upload that waits for it."""
        super()._shutdown_connecting_dtp()
        self._drop_waiting_upload()

    def _drop_waiting_upload(self):
        waiting, self._in_dtp_queue = self._in_dtp_queue, None
        if waiting is not None:
            waiting[0].close()
            self.on_incomplete_file_received(waiting[0].name)

    def on_file_received(self, file):
        report("upload", path=file)

    def on_incomplete_file_received(self, file):
        report("aborted", path=file)


class Server(FTPServer):
    max_cons = MAX_SOCKETS

    def _map_len(self):
        # A session whose password was refused is not in the loop for a moment.
        return len({*self.ioloop.socket_map.values(), *Session.waiting})

    def _accept_new_cons(self):
        """At the maximum, closes the oldest session without a login of the address that has most of them."""
        while Session.waiting and not super()._accept_new_cons():
            (address, _), = Counter(session.remote_ip for session in Session.waiting).most_common(1)
            next(session for session in Session.waiting if session.remote_ip == address).close_waiting()
        return super()._accept_new_cons()


class Loop(IOLoop):
    def poll(self, timeout):
        """Replaces a timeout of 0, which means that a call is due at once: the library treats 0 as no timeout, and all
        timers would wait for traffic. A control connection that ends in a timer callback leaves such a call."""
        super().poll(timeout if timeout is None else max(timeout, 0.001))


class Parent:
    """Reads commands from stdin in the server's loop."""

    _fileno = 0

    def __init__(self, loop, rest):
        self._buffer = rest
        self._run_commands()
        loop.register(self._fileno, self, loop.READ)

    def readable(self):
        return True

    def handle_read_event(self):
        data = os.read(0, 65536)
        if not data:
            sys.exit()
        self._buffer += data
        self._run_commands()

    def handle_close(self):
        sys.exit()

    def handle_error(self):
        raise

    def close(self):
        pass

    def _run_commands(self):
        *lines, self._buffer = self._buffer.split(b"\n")
        for line in lines:
            try:
                command = json.loads(line)
                if "close" in command:
                    if session := Session.sessions.get(command["close"]):
                        session.end()
                    continue
                folder = command["root"]
                Session.authorizer.set_folder(folder)
            except OSError as error:
                log.error("%s: cannot make the upload folder: %s", folder, error.strerror)
            except (KeyError, TypeError, ValueError) as error:
                log.error("invalid command: %s", error)


def read_first_line():
    """Returns the first line of stdin, and the bytes that were read after it."""
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
    Session.login_seconds = options["loginSeconds"]
    # The library changes the working directory for a moment and back when a session changes its folder, so the current
    # one must always exist.
    os.chdir("/")

    loop = Loop()
    server = Server(listen(options["address"], options["port"]), Session, ioloop=loop)
    Parent(loop, rest)
    return server


def main():
    os.umask(0o077)  # Only the owner may access uploads and their folders.
    logging.basicConfig(stream=sys.stderr, level=logging.WARNING, format="FTP upload: %(message)s")
    # Ctrl+C in a terminal interrupts the whole process group; the parent process decides when this one ends.
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
        server.close_all()  # Aborts the uploads in progress.


main()
