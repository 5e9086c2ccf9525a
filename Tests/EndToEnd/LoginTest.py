#!/usr/bin/python3
"""Logging in and staying: passwords, takeovers, heartbeats, added users, and showremote's part in it.

The far end's cipher is the openssl command, so that a mistake can't hide by being made on both sides.
"""

import base64
import itertools
import json
import os
import pty
import signal
import subprocess
import termios
import time
import unittest
from concurrent.futures import ThreadPoolExecutor

from Support import PATIENCE, REPLY, App, Folder, ShowHost, environment, showremote, wait_until

HEARTBEAT, LOGIN, PUBLIC_KEY, APP_GONE = 1, 3, 7, 0x12
SUCCESS, UNKNOWN_USER, WRONG_PASSWORD, ANOTHER_APP = range(4)

SHARED, SECOND, THIRD, FOURTH = "127.0.0.35", "127.0.0.36", "127.0.0.37", "127.0.0.38"

# The host knows an app by its address, so every app of these tests has its own.
addresses = (f"127.0.35.{number}" for number in itertools.count(1))

LOGGED_OUT = "host: the app is gone"
SECRET = "Vorhang auf, 7 Zwerge: \"ß\""


def public_key(app):
    app.control.send(PUBLIC_KEY)
    code, body = app.control.receive()
    assert (code, body["result"]) == (REPLY | PUBLIC_KEY, 1), (code, body)
    return body["publicKey"]


def encrypt(key, password):
    with Folder() as folder:
        pem = folder / "key.pem"
        pem.write_text(f"-----BEGIN PUBLIC KEY-----\n{key}\n-----END PUBLIC KEY-----\n")
        cipher = subprocess.run(["openssl", "pkeyutl", "-encrypt", "-pubin", "-inkey", pem,
                                 "-pkeyopt", "rsa_padding_mode:pkcs1"],
                                input=password.encode(), stdout=subprocess.PIPE, check=True, timeout=PATIENCE).stdout
    return base64.b64encode(cipher).decode()


def ask_to_log_in(app, body):
    app.control.send(LOGIN, body)
    code, reply = app.control.receive()
    assert code == REPLY | LOGIN, hex(code)
    return reply


def log_in(app, user="demo", password="demo", **more):
    cipher = encrypt(public_key(app), password)
    return ask_to_log_in(app, {"username": user, "password": cipher, "id": "a stranger", "appVersion": "1.0.0",
                               "appType": 1, "force": 0, **more})


def answers_heartbeats(app):
    """Also shows that nothing else came before."""
    app.control.send(HEARTBEAT)
    return app.control.receive() == (REPLY | HEARTBEAT, {"result": 1})


def remote(address, *arguments, password="demo", user="demo"):
    return showremote("app", "--host", address, "--user", user, *arguments, SHOWREMOTE_PASSWORD=password)


def count(host, text):
    return sum(text in line for line in host.lines)


class SharedHostTest(unittest.TestCase):
    """A host that keeps running; each test finds it with nobody logged in."""

    @classmethod
    def setUpClass(cls):
        cls.host = cls.enterClassContext(ShowHost(SHARED, cls.enterClassContext(Folder())))
        cls.stranger = cls.enterClassContext(App(SHARED, next(addresses)))

    def setUp(self):
        wait_until(lambda: count(self.host, " connected") - count(self.host, " closed: ") == 2,
                   "the stranger alone is connected")
        wait_until(lambda: ask_to_log_in(self.stranger, {})["account"] == "", "the last test's app is logged out")

    def app(self, source=None):
        app = App(SHARED, source or next(addresses))
        self.addCleanup(app.close)
        return app


class LoginTest(SharedHostTest):
    def test_a_login_tells_account_and_access(self):
        reply = log_in(self.app())

        self.assertEqual(reply, {"result": SUCCESS, "account": "demo", "access": 1})

    def test_a_wrong_user_or_password_is_refused(self):
        app = self.app()
        cases = {("nobody", "demo"): UNKNOWN_USER, ("", "demo"): UNKNOWN_USER, ("demo", "demo "): WRONG_PASSWORD}
        for (user, password), result in cases.items():
            with self.subTest(user=user, password=password):
                self.assertEqual(log_in(app, user, password), {"result": result, "account": "", "access": 0})

    def test_a_second_app_does_not_get_in_and_the_first_stays(self):
        first, second = self.app(), self.app()
        log_in(first)

        reply = log_in(second)

        self.assertEqual(reply, {"result": ANOTHER_APP, "account": "demo", "access": 1})
        self.assertTrue(answers_heartbeats(first))

    def test_a_forced_login_from_elsewhere_tells_the_displaced_app_first(self):
        first, second = self.app(), self.app()
        log_in(first)

        reply = log_in(second, force=1)

        self.assertEqual(reply["result"], SUCCESS)
        self.assertEqual(first.control.receive(), (REPLY | APP_GONE, None))
        to_second = second.control.socket.getsockname()[0] + ":"
        self.host.wait_for_line(lambda line: to_second in line and "-> login" in line, "the reply to the second")
        sent = [line for line in self.host.lines if "-> app-gone" in line or "-> login" in line]
        self.assertIn("-> app-gone", sent[-2])

    def test_a_forced_login_from_the_same_address_tells_nobody(self):
        source = next(addresses)
        first, second = self.app(source), self.app(source)
        log_in(first)

        reply = log_in(second, force=1)

        self.assertEqual(reply["result"], SUCCESS)
        self.assertTrue(answers_heartbeats(first))

    def test_a_connection_that_closes_elsewhere_changes_nothing(self):
        first, second = self.app(), self.app()
        log_in(first)
        source = second.control.socket.getsockname()[0] + ":"

        second.close()
        for channel in ("control", "bulk"):
            self.host.wait_for_line(lambda line: f"{channel} {source}" in line and " closed: " in line, "the close")

        self.assertEqual(log_in(self.app())["result"], ANOTHER_APP)

    def test_an_app_that_closes_makes_room(self):
        first, second = self.app(), self.app()
        log_in(first)

        first.close()

        wait_until(lambda: log_in(second)["result"] == SUCCESS, "there is room")

    def test_no_password_is_too_bad_to_be_answered(self):
        app = self.app()
        good = encrypt(public_key(app), "demo")
        odd = {f"{length} bytes": base64.b64encode(os.urandom(length)).decode() for length in (127, 129, 256)}
        odd |= {"empty": "", "not base64": "§$%&", "a megabyte": "QUJD" * 262144, "a number": 5, "an array": [good],
                "null": None, "with a zero": "\0" + good}
        for name, password in odd.items():
            with self.subTest(name):
                reply = ask_to_log_in(app, {"username": "demo", "password": password})

                self.assertEqual(reply["result"], WRONG_PASSWORD)
        self.assertEqual(ask_to_log_in(app, {"username": "demo", "password": good})["result"], SUCCESS)

    def test_a_body_without_a_user_name_gets_no_further(self):
        app = self.app()
        for body in ({}, [], {"password": "demo"}, {"username": 5}, {"username": ["demo"], "password": 5},
                     {"username": None, "force": "yes"}, {"username": "demo " * 200_000}):
            with self.subTest(body=str(body)[:60]):
                self.assertEqual(ask_to_log_in(app, body)["result"], UNKNOWN_USER)

    def test_a_thousand_failures_do_not_stand_in_a_good_login_s_way(self):
        app = self.app()
        body = {"username": "demo", "password": encrypt(public_key(app), "wrong")}

        results = {ask_to_log_in(app, body)["result"] for _ in range(1000)}

        self.assertEqual(results, {WRONG_PASSWORD})
        self.assertEqual(log_in(app)["result"], SUCCESS)


class ShowRemoteLoginTest(SharedHostTest):
    def test_showremote_logs_in_with_the_password_of_the_environment_or_a_descriptor(self):
        reading, writing = os.pipe()
        with open(writing, "w") as pipe:
            pipe.write("demo\nmore\n")
        command = [os.environ["SHOWREMOTE"], "app", "--host", SHARED, "--user", "demo", "--force", "login"]

        by_environment = remote(SHARED, "login")
        with open(reading) as pipe:
            by_descriptor = subprocess.run([*command, "--password-fd", str(pipe.fileno())], pass_fds=[pipe.fileno()],
                                           capture_output=True, encoding="utf-8", timeout=PATIENCE, env=environment())

        for result in (by_environment, by_descriptor):
            self.assertEqual((result.returncode, result.stderr), (0, ""))
            self.assertRegex(result.stdout, r'(?s)<- login .*"account": "demo".*\nlogged in as demo')

    def test_showremote_asks_for_the_password_without_showing_it(self):
        with Terminal([os.environ["SHOWREMOTE"], "app", "--host", SHARED, "--user", "demo", "login"]) as terminal:
            terminal.answer("Password: ", "demo")
            code, output = terminal.ended()

        self.assertEqual(code, 0, output)
        self.assertTrue(output.startswith("Password: \r\n"), output)

    def test_showremote_tells_in_words_why_a_login_was_refused(self):
        log_in(self.app())
        cases = {
            "there is no user \"nobody\"": {"arguments": ("--force", "login"), "user": "nobody"},
            "wrong password": {"arguments": ("--force", "login"), "password": SECRET},
            "another app is logged in; --force takes its place": {"arguments": ("login",)},
            "the password is too long for the host's key: 117 bytes at most":
                {"arguments": ("login",), "password": "x" * 118},
        }
        for words, case in cases.items():
            with self.subTest(words):
                result = remote(SHARED, *case.pop("arguments"), **case)

                self.assertEqual((result.returncode, result.stderr), (1, f"showremote app: {words}\n"))
                self.assertNotIn(SECRET, result.stdout)

    def test_a_login_body_of_one_s_own_is_sent_as_it_stands(self):
        cipher = encrypt(public_key(self.stranger), "demo")

        result = showremote("app", "--host", SHARED, "login", json.dumps({"username": "demo", "password": cipher}))

        self.assertEqual(result.returncode, 0)
        self.assertRegex(result.stdout, r'<- login .*\n\{\n    "access": 1,\n    "account": "demo",\n    "result": 0')

    def test_listen_tells_a_takeover(self):
        command = [os.environ["SHOWREMOTE"], "app", "--host", SHARED, "--user", "demo", "listen"]
        with Terminal(command) as terminal:
            terminal.answer("Password: ", "demo")
            terminal.wait_for("listening")

            log_in(self.app(), force=1)
            code, output = terminal.ended()

        self.assertEqual(code, 1)
        self.assertIn(f"<- app-gone (0x{REPLY | APP_GONE:x}) on control\r\nno body\r\n", output)
        self.assertIn("another app has taken this one's place", output)

    def test_an_interrupt_ends_listening_properly(self):
        with Terminal([os.environ["SHOWREMOTE"], "app", "--host", SHARED, "listen"]) as terminal:
            terminal.wait_for("listening")

            terminal.process.send_signal(signal.SIGINT)

            self.assertEqual(terminal.ended()[0], 0)

    def test_options_that_do_not_go_together_are_refused(self):
        for arguments in (("--force", "login"), ("--seconds", 1, "heartbeat"), ("--bulk", "listen"),
                          ("--user", "demo", "login", "{}"), ("--user", "demo", "--count", 2, "login")):
            with self.subTest(arguments=arguments):
                self.assertEqual(showremote("app", "--host", SHARED, *arguments).returncode, 2)


class SupervisionTest(unittest.TestCase):
    """What takes seconds, all of it at the same time, a host each."""

    @classmethod
    def setUpClass(cls):
        trials = {cls.fall_silent: SHARED, cls.keep_beating: SECOND, cls.listen: THIRD, cls.listen_silently: FOURTH}
        with ThreadPoolExecutor(len(trials)) as pool:
            cls.outcomes = {trial.__name__: pool.submit(cls.on_a_host, trial, address)
                            for trial, address in trials.items()}

    @staticmethod
    def on_a_host(trial, address):
        with Folder() as state, ShowHost(address, state) as host:
            return trial(host)

    @staticmethod
    def fall_silent(host):
        with App(host.address, next(addresses)) as app, App(host.address, next(addresses)) as other:
            first = log_in(app)["result"]
            start = time.monotonic()
            closed = [app.control.receive() is None, app.bulk.receive() is None]
            duration = time.monotonic() - start
            second = log_in(other)["result"]
            wait_until(lambda: count(host, "host: demo logged in") == 2 and count(host, LOGGED_OUT), "the host's lines")
            return first, closed, duration, second, count(host, LOGGED_OUT)

    def test_a_silent_app_is_closed_on_both_channels_and_logged_out_once(self):
        first, closed, duration, second, logged_out = self.outcomes["fall_silent"].result()

        self.assertEqual((first, closed), (SUCCESS, [True, True]))
        self.assertGreater(duration, 4)
        self.assertEqual((second, logged_out), (SUCCESS, 1))

    @staticmethod
    def keep_beating(host):
        with App(host.address, next(addresses)) as app:
            log_in(app)
            answered = []
            end = time.monotonic() + 8
            while time.monotonic() < end:
                answered.append(answers_heartbeats(app))
                time.sleep(1)
            return answered, count(host, LOGGED_OUT), count(host, "heartBeat timeOut")

    def test_heartbeats_keep_an_app_logged_in(self):
        answered, logged_out, timeouts = self.outcomes["keep_beating"].result()

        self.assertEqual((all(answered), logged_out, timeouts), (True, 0, 0))

    @staticmethod
    def listen(host):
        result = remote(host.address, "--seconds", 8, "listen")
        return result.returncode, result.stdout + result.stderr, count(host, "heartBeat timeOut")

    def test_listening_keeps_the_login_alive_without_a_word(self):
        code, output, timeouts = self.outcomes["listen"].result()

        self.assertEqual((code, timeouts), (0, 0))
        self.assertTrue(output.endswith("\nlistening; Ctrl-C ends it\n"), output)

    @staticmethod
    def listen_silently(host):
        result = remote(host.address, "--no-heartbeat", "listen")
        return result.returncode, result.stderr

    def test_without_heartbeats_listening_ends_with_the_host_s_patience(self):
        code, errors = self.outcomes["listen_silently"].result()

        self.assertEqual(code, 1)
        self.assertRegex(errors, "the host closed the (control|bulk) channel")


class UsersTest(unittest.TestCase):
    """Users that showhost adds."""

    def setUp(self):
        self.state = self.enterContext(Folder())

    def command(self, *arguments):
        return [os.environ["SHOWHOST"], "--state", str(self.state), "--add-user", "Inspizientin", *map(str, arguments)]

    def add(self, password, *arguments):
        reading, writing = os.pipe()
        with open(reading) as pipe:
            with open(writing, "w", encoding="utf-8") as far_end:
                far_end.write(password + "\n")
            return subprocess.run(self.command("--password-fd", reading, *arguments), pass_fds=[reading],
                                  capture_output=True, encoding="utf-8", timeout=PATIENCE, env=environment())

    def log_in(self, *logins):
        """What each of the logins, pairs of user and password, gets from a host; and all that this host prints."""
        with ShowHost(SHARED, self.state) as host, App(SHARED, next(addresses)) as app:
            replies = [log_in(app, *login, force=1) for login in logins]
        return replies, "\n".join(host.lines)

    def test_an_added_user_logs_in_and_the_password_is_kept_and_printed_nowhere(self):
        added = self.add(SECRET, "--access", 3)
        replies, printed = self.log_in(("Inspizientin", SECRET), ("Inspizientin", SECRET + "!"), ("demo", SECRET))

        self.assertEqual((added.returncode, added.stderr), (0, ""))
        self.assertEqual(replies[0], {"result": SUCCESS, "account": "Inspizientin", "access": 3})
        self.assertEqual([reply["result"] for reply in replies[1:]], [WRONG_PASSWORD, UNKNOWN_USER])
        settings = (self.state / "settings.json").read_text(encoding="utf-8")
        self.assertIn("Inspizientin", settings)
        self.assertIn("login error code : 0", printed)
        for text in (settings, printed, added.stdout):
            self.assertNotIn("7 Zwerge", text)

    def test_adding_a_user_again_replaces_password_and_access(self):
        self.add("old")
        self.add("new", "--access", 2)

        replies, _ = self.log_in(("Inspizientin", "old"), ("Inspizientin", "new"))

        self.assertEqual([reply["result"] for reply in replies], [WRONG_PASSWORD, SUCCESS])
        self.assertEqual(replies[1]["access"], 2)

    def test_a_password_that_can_not_be_kept_is_refused(self):
        for password, reason in (("x" * 118, "too long: 117 bytes at most"), ("ü" * 59, "too long"), ("", "is empty")):
            with self.subTest(reason=reason):
                result = self.add(password)

                self.assertEqual(result.returncode, 2)
                self.assertIn(reason, result.stderr)
                self.assertFalse((self.state / "settings.json").exists())

    def test_a_terminal_is_asked_twice_without_showing_the_password(self):
        with Terminal(self.command()) as terminal:
            terminal.answer("Password: ", SECRET)
            terminal.answer("Password again: ", SECRET)
            code, output = terminal.ended()
        replies, _ = self.log_in(("Inspizientin", SECRET))

        self.assertEqual((code, output), (0, "Password: \r\nPassword again: \r\nuser Inspizientin added\r\n"))
        self.assertEqual(replies[0]["result"], SUCCESS)

    def test_two_different_passwords_are_refused(self):
        with Terminal(self.command()) as terminal:
            terminal.answer("Password: ", SECRET)
            terminal.answer("Password again: ", SECRET.lower())
            code, output = terminal.ended()

        self.assertEqual(code, 2)
        self.assertIn("the two passwords differ", output)
        self.assertFalse((self.state / "settings.json").exists())

    def test_an_interrupted_question_leaves_a_terminal_that_shows_what_is_typed(self):
        with Terminal(self.command()) as terminal:
            terminal.wait_for("Password: ")
            hidden = not terminal.shows_input()

            terminal.process.send_signal(signal.SIGINT)
            code, _ = terminal.ended()

            self.assertEqual((hidden, code, terminal.shows_input()), (True, -signal.SIGINT, True))


class Terminal:
    """A program on a terminal of its own."""

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
        return self._output.decode()

    def shows_input(self):
        return bool(termios.tcgetattr(self._far)[3] & termios.ECHO)

    def wait_for(self, text):
        wait_until(lambda: text in self.output(), f"\"{text}\" on the terminal")

    def answer(self, prompt, text):
        self.wait_for(prompt)
        os.write(self._near, text.encode() + b"\n")

    def ended(self):
        """The exit code and all that stands on the terminal."""
        wait_until(lambda: self.output() is not None and self.process.poll() is not None, "the program ends")
        return self.process.returncode, self.output()


if __name__ == "__main__":
    unittest.main()
