"""Shared by the end-to-end tests: showhost as a process, terminals, folders. The peers are those of the package zentravox.

The package uses no source of the host, so that an error in the wire format can't be on both sides.
The environment names the programs: SHOWHOST and SHOWREMOTE.
"""

import os
import pty
import shutil
import signal
import subprocess
import tempfile
import termios
import threading
import time
from pathlib import Path

SOURCE_FOLDER = Path(__file__).resolve().parents[2]
DEMO_SHOW = SOURCE_FOLDER / "Examples" / "DemoShow" / "DemoShow.zxc"
# Seconds. Long, for a busy machine with a sanitizer: only a test that fails waits that long.
TIMEOUT = 30


def environment(**more):
    """Returns the environment with the C locale, so that the programs themselves must treat names as UTF-8."""
    return {**os.environ, "LC_ALL": "C", **more}


def showremote(*arguments, **more_environment):
    return subprocess.run([os.environ["SHOWREMOTE"], *map(str, arguments)], capture_output=True, encoding="utf-8",
                          timeout=TIMEOUT, env=environment(**more_environment))


def wait_until(condition, what, timeout=TIMEOUT):
    deadline = time.monotonic() + timeout
    while not condition():
        if time.monotonic() > deadline:
            raise AssertionError(f"timeout after {timeout} s: {what}")
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
            "--page", "off", *map(str, options)]


class ShowHost:
    """A running showhost. On exit it gets SIGTERM and must end with expected_code. stdin: None closes standard input."""

    def __init__(self, address, state, *options, show=None, stdin=subprocess.PIPE):
        self.address = address
        self.expected_code = 0
        self.lines = []
        # A shell closes standard input: in a program with threads, preexec_fn may deadlock.
        command = [*([] if stdin else ["sh", "-c", 'exec "$@" <&-', "sh"]),
                   *showhost_command(address, state, *options, show=show)]
        self.process = subprocess.Popen(command, stdin=stdin, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                                        encoding="utf-8", env=environment())
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


def log_in(app, user="demo", password="demo", force=0):
    return app.try_log_in(user, password, force)


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
