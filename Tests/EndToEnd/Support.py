"""Shared by the end-to-end tests: showhost as a process, and independent implementations of its peers.

Nothing here uses the sources, so that an error in the wire format can't be on both sides.
The environment names the programs: SHOWHOST and SHOWREMOTE.
"""

import base64
import json
import os
import pty
import shutil
import signal
import socket
import struct
import subprocess
import tempfile
import termios
import threading
import time
from pathlib import Path

DISCOVERY_PORT, CONTROL_PORT, BULK_PORT, FTP_PORT, CENTRAL_PORT, FP_PORT = 25505, 25506, 25507, 25521, 25509, 25510
REPLY = 0x10000000
LOGIN, PUBLIC_KEY = 3, 7

DEMO_SHOW = Path(__file__).resolve().parents[2] / "Examples" / "DemoShow" / "DemoShow.zxc"
# Seconds. Long, for a busy machine with a sanitizer: only a test that fails waits that long.
TIMEOUT = 30


def environment(**more):
    """Returns the environment with the C locale, so that the programs themselves must treat names as UTF-8."""
    return {**os.environ, "LC_ALL": "C", **more}


def showremote(*arguments, **more_environment):
    return subprocess.run([os.environ["SHOWREMOTE"], *map(str, arguments)], capture_output=True, encoding="utf-8",
                          timeout=TIMEOUT, env=environment(**more_environment))


def wait_until(condition, what):
    deadline = time.monotonic() + TIMEOUT
    while not condition():
        if time.monotonic() > deadline:
            raise AssertionError(f"timeout after {TIMEOUT} s: {what}")
        time.sleep(0.02)


def copy_demo_show(folder, changes):
    """Copies the demo show into the folder, replaces texts in its device file, and returns the show's path."""
    show = folder / "DemoShow" / DEMO_SHOW.name
    shutil.copytree(DEMO_SHOW.parent, show.parent)
    devices = show.with_name("Devices.json")
    text = devices.read_text(encoding="utf-8")
    for old, new in changes.items():
        text = text.replace(old, new)
    devices.write_text(text, encoding="utf-8")
    return show


def showhost_command(address, state, *options, show=None):
    return [os.environ["SHOWHOST"], "--show", str(show or DEMO_SHOW), "--state", str(state), "--listen", address,
            *map(str, options)]


class ShowHost:
    """A running showhost. On exit it gets SIGTERM and must end with expected_code. stdin: None closes standard input."""

    def __init__(self, address, state, *options, show=None, stdin=subprocess.PIPE):
        self.address = address
        self.expected_code = 0
        self.lines = []
        self.process = subprocess.Popen(showhost_command(address, state, *options, show=show), stdin=stdin,
                                        stdout=subprocess.PIPE, stderr=subprocess.STDOUT, encoding="utf-8",
                                        env=environment(), preexec_fn=None if stdin else lambda: os.close(0))
        self._reader = threading.Thread(target=self._read, daemon=True)
        self._reader.start()
        try:
            self.wait_for_line(lambda line: line.startswith("showhost ready"), "the ready line")
        except BaseException:
            self.kill()
            raise

    def __enter__(self):
        return self

    def __exit__(self, error, *_):
        if self.process.poll() is None:
            self.process.send_signal(signal.SIGTERM)
        code = self.ended()
        if error is None and code != self.expected_code:
            raise AssertionError(f"showhost ended with {code}:\n" + "\n".join(self.lines))

    def _read(self):
        with self.process.stdout as output:
            for line in output:
                self.lines.append(line.rstrip("\n"))

    def wait_for_line(self, fits, what):
        def found():
            return any(map(fits, list(self.lines)))

        wait_until(lambda: found() or not self._reader.is_alive(), what)
        if not found():
            raise AssertionError(f"showhost ended without {what}:\n" + "\n".join(self.lines))

    def write_line(self, command):
        """Writes a line to the host's standard input."""
        self.process.stdin.write(command + "\n")
        self.process.stdin.flush()

    def ended(self):
        """Waits for the end and returns the exit code."""
        try:
            code = self.process.wait(TIMEOUT)
        except subprocess.TimeoutExpired:
            self.process.kill()
            code = f"no answer to the signal within {TIMEOUT} s"
            self.process.wait()
        self._reader.join(TIMEOUT)
        if self.process.stdin:
            self.process.stdin.close()
        return code

    def kill(self):
        self.process.kill()
        self.ended()


class EnvelopeChannel:
    """One end of a TCP connection that carries envelopes."""

    def __init__(self, connection):
        self.socket = connection
        self._bytes = connection.makefile("rb")

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def send(self, code, body=None):
        self.send_bytes(code, b"" if body is None else json.dumps(body).encode())

    def send_bytes(self, code, body):
        self.socket.sendall(b"ZXAP" + struct.pack(">II", code, len(body)) + body)

    def receive(self):
        """Returns the next envelope's code and body, or None if the host has closed the connection."""
        message = self.receive_bytes()
        return message and (message[0], json.loads(message[1]) if message[1] else None)

    def receive_bytes(self):
        header = self._bytes.read(12)
        if not header:
            return None
        mark, code, length = struct.unpack(">4sII", header)
        if mark != b"ZXAP":
            raise AssertionError(f"not an envelope: {header!r}")
        return code, self._bytes.read(length)

    def close(self):
        self._bytes.close()
        self.socket.close()


class AppChannel(EnvelopeChannel):
    """One TCP channel of the app; source is the address that it comes from."""

    def __init__(self, address, port, source=""):
        super().__init__(socket.create_connection((address, port), TIMEOUT, (source, 0)))


class App:
    """An app with both channels open."""

    def __init__(self, address, source=""):
        self.control = AppChannel(address, CONTROL_PORT, source)
        self.bulk = AppChannel(address, BULK_PORT, source)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def close(self):
        self.control.close()
        self.bulk.close()


def public_key(app):
    app.control.send(PUBLIC_KEY)
    code, body = app.control.receive()
    assert (code, body["result"]) == (REPLY | PUBLIC_KEY, 1), (code, body)
    return body["publicKey"]


def encrypt(key, password):
    """Encrypts with the openssl command, so that an error in the cipher can't be on both sides."""
    with Folder() as folder:
        pem = folder / "key.pem"
        pem.write_text(f"-----BEGIN PUBLIC KEY-----\n{key}\n-----END PUBLIC KEY-----\n")
        cipher = subprocess.run(["openssl", "pkeyutl", "-encrypt", "-pubin", "-inkey", pem,
                                 "-pkeyopt", "rsa_padding_mode:pkcs1"],
                                input=password.encode(), stdout=subprocess.PIPE, check=True, timeout=TIMEOUT).stdout
    return base64.b64encode(cipher).decode()


def log_in(app, user="demo", password="demo", force=0):
    app.control.send(LOGIN, {"username": user, "password": encrypt(public_key(app), password), "id": "a test",
                             "appVersion": "1.0.0", "appType": 1, "force": force})
    code, reply = app.control.receive()
    assert code == REPLY | LOGIN, hex(code)
    return reply


class DatagramPeer:
    """A peer that sends and receives datagrams."""

    def __init__(self, address, port):
        self.socket = socket.socket(type=socket.SOCK_DGRAM)
        self.socket.settimeout(TIMEOUT)
        self.socket.connect((address, port))

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.socket.close()

    def send(self, datagram):
        self.socket.send(datagram)

    def receive(self):
        return self.socket.recv(65535)


class Central(DatagramPeer):
    """A central-control system. It receives only datagrams from the port that it sends to."""

    def __init__(self, address):
        super().__init__(address, CENTRAL_PORT)

    def ask(self, **message):
        """Returns the answer: text for a command, an object for a query."""
        self.send(json.dumps(message).encode())
        answer = self.receive().decode()
        return json.loads(answer) if answer.startswith("{") else answer


class FPController:
    """An FP controller, which the host connects to."""

    def __init__(self, address, port=FP_PORT):
        self.port = port
        self._listener = socket.create_server((address, port))
        self._listener.settimeout(TIMEOUT)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self._listener.close()

    def accept(self):
        connection, _ = self._listener.accept()
        connection.settimeout(TIMEOUT)
        return EnvelopeChannel(connection)


def discover(address):
    """Returns the answer to a discovery datagram."""
    with DatagramPeer(address, DISCOVERY_PORT) as app:
        app.send(b"App Server request Zentravox Controller")
        return json.loads(app.receive())


class Folder(tempfile.TemporaryDirectory):
    """A temporary folder."""

    def __enter__(self):
        return Path(super().__enter__())


class Terminal:
    """A program with a new pseudo-terminal."""

    def __init__(self, command):
        self._near, self._far = pty.openpty()
        no_password = {name: value for name, value in environment().items() if name != "SHOWREMOTE_PASSWORD"}
        self.process = subprocess.Popen(command, stdin=self._far, stdout=self._far, stderr=self._far, env=no_password)
        self._output = b""
        os.set_blocking(self._near, False)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        if self.process.poll() is None:
            self.process.kill()
            self.process.wait()
        os.close(self._near)
        os.close(self._far)

    def output(self):
        try:
            while some := os.read(self._near, 4096):
                self._output += some
        except BlockingIOError:
            pass
        return self._output.decode(errors="ignore")

    def shows_input(self):
        return bool(termios.tcgetattr(self._far)[3] & termios.ECHO)

    def wait_for(self, text):
        wait_until(lambda: text in self.output(), f"\"{text}\" on the terminal")

    def type_line(self, text):
        os.write(self._near, text.encode() + b"\n")

    def answer(self, prompt, text):
        self.wait_for(prompt)
        self.type_line(text)

    def ended(self):
        """Waits for the end and returns the exit code and the terminal's output."""
        wait_until(lambda: self.output() is not None and self.process.poll() is not None, "the program ends")
        return self.process.returncode, self.output()
