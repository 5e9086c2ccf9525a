#!/usr/bin/python3
"""Tests logins: showremote's passwords, refused logins and listening, and users that showhost adds."""

import itertools
import json
import os
import signal
import subprocess
import unittest
from concurrent.futures import ThreadPoolExecutor

from Support import TIMEOUT, Folder, ShowHost, Terminal, environment, log_in, showremote, wait_until
from zentravox import App, encrypt
from zentravox.wire import REPLY

APP_GONE = 0x12
SUCCESS, UNKNOWN_USER, WRONG_PASSWORD = range(3)

SHARED, SECOND, THIRD = "127.0.0.35", "127.0.0.36", "127.0.0.37"

# The host identifies an app by its address, so every app of these tests has its own.
addresses = (f"127.0.35.{number}" for number in itertools.count(1))

SECRET = "Vorhang auf, 7 Zwerge: \"ß\""


def remote(address, *arguments, password="demo", user="demo"):
    return showremote("app", "--host", address, "--user", user, *arguments, SHOWREMOTE_PASSWORD=password)


def run_with_password(command, *lines):
    """Runs the command with these lines on the descriptor of --password-fd."""
    reading, writing = os.pipe()
    with open(reading) as pipe:
        with open(writing, "w", encoding="utf-8") as far_end:
            far_end.write("\n".join(lines) + "\n")
        return subprocess.run([*map(str, command), "--password-fd", str(reading)], pass_fds=[reading],
                              capture_output=True, encoding="utf-8", timeout=TIMEOUT, env=environment())


def count(host, *texts):
    return sum(all(text in line for text in texts) for line in host.lines)


class ShowRemoteLoginTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.host = cls.enterClassContext(ShowHost(SHARED, cls.enterClassContext(Folder())))

    def setUp(self):
        # A remote of the last test that closes late would log out a remote with the same address.
        # The show's devices connect too, if another process has created the serial port that they name.
        wait_until(lambda: count(self.host, " app ", " connected") == count(self.host, " app ", " closed: "), "no app is connected")

    def app(self):
        return self.enterContext(App(SHARED, next(addresses)))

    def command(self, *arguments):
        return [os.environ["SHOWREMOTE"], "app", "--host", SHARED, "--user", "demo", *arguments]

    def test_the_password_comes_from_the_environment_a_descriptor_or_the_terminal(self):
        for result in (remote(SHARED, "login"), run_with_password(self.command("--force", "login"), "demo", "more")):
            self.assertEqual((result.returncode, result.stderr), (0, ""))
            self.assertRegex(result.stdout, r'(?s)<- login .*"account": "demo".*\nlogged in as demo')
        with Terminal(self.command("--force", "login")) as terminal:
            terminal.answer("Password: ", "demo")
            code, output = terminal.ended()
        self.assertEqual(code, 0, output)
        self.assertTrue(output.startswith("Password: \r\n"), output)

    def test_a_refused_login_is_explained(self):
        log_in(self.app())
        for words, arguments, password, user in (
                ("the host doesn't know this user", ("--force", "login"), "demo", "nobody"),
                ("wrong password", ("--force", "login"), SECRET, "demo"),
                ("another app is logged in; use --force to replace it", ("login",), "demo", "demo"),
                ("can't encrypt the password: the password is too long for the key: 117 bytes at most", ("login",), "x" * 118, "demo")):
            with self.subTest(words):
                result = remote(SHARED, *arguments, password=password, user=user)

                self.assertEqual((result.returncode, result.stderr), (1, f"showremote app: {words}\n"))
                self.assertNotIn(SECRET, result.stdout)

    def test_a_given_login_body_is_sent_unchanged(self):
        body = {"username": "demo", "password": encrypt(self.app().public_key(), "demo")}

        result = showremote("app", "--host", SHARED, "login", json.dumps(body))

        self.assertEqual(result.returncode, 0)
        self.assertRegex(result.stdout, r'<- login .*\n\{\n    "access": 1,\n    "account": "demo",\n    "result": 0')
        self.assertEqual(showremote("app", "--host", SHARED, "login", "{}").returncode, 1)

    def test_listening_reports_a_takeover_and_ends_on_an_interrupt(self):
        with Terminal(self.command("listen")) as terminal:
            terminal.answer("Password: ", "demo")
            terminal.wait_for("listening")
            log_in(self.app(), force=1)
            code, output = terminal.ended()
        self.assertEqual(code, 1)
        self.assertIn(f"<- app-gone (0x{REPLY | APP_GONE:x}) on control\r\nno body\r\n", output)
        self.assertIn("another app logged in and replaced this one", output)

        with Terminal([os.environ["SHOWREMOTE"], "app", "--host", SHARED, "listen"]) as terminal:
            terminal.wait_for("listening")
            terminal.process.send_signal(signal.SIGINT)
            self.assertEqual(terminal.ended()[0], 0)

    def test_incompatible_options_are_refused(self):
        for arguments in (("--force", "login"), ("--seconds", 1, "heartbeat"), ("--bulk", "listen"),
                          ("--user", "demo", "login", "{}"), ("--user", "demo", "--count", 2, "login")):
            with self.subTest(arguments=arguments):
                self.assertEqual(showremote("app", "--host", SHARED, *arguments).returncode, 2)


class ListeningTest(unittest.TestCase):
    def test_listening_keeps_the_login_alive_and_without_heartbeats_ends_with_the_timeout(self):
        def listen(address, *options):
            with Folder() as state, ShowHost(address, state) as host:
                return remote(address, *options, "listen"), count(host, "heartBeat timeOut")

        with ThreadPoolExecutor() as pool:
            beating, silent = pool.submit(listen, SECOND, "--seconds", 8), pool.submit(listen, THIRD, "--no-heartbeat")

        result, timeouts = beating.result()
        self.assertEqual((result.returncode, timeouts), (0, 0))
        self.assertTrue(result.stdout.endswith("\nlistening; Ctrl-C ends it\n"), result.stdout)
        result, _ = silent.result()
        self.assertEqual(result.returncode, 1)
        self.assertRegex(result.stderr, "the host closed the (control|bulk) channel")


class UsersTest(unittest.TestCase):
    """Users that showhost adds."""

    def setUp(self):
        self.state = self.enterContext(Folder())

    def command(self, *arguments):
        return [os.environ["SHOWHOST"], "--state", str(self.state), "--add-user", "Inspizientin", *arguments]

    def test_an_added_user_can_log_in_and_the_password_is_neither_stored_nor_printed(self):
        with Terminal(self.command()) as terminal:
            for prompt in ("Password: ", "Password again: "):
                terminal.answer(prompt, "old")
            self.assertEqual(terminal.ended(),
                             (0, "Password: \r\nPassword again: \r\nuser Inspizientin added\r\n"))
        again = run_with_password(self.command("--access", 3), SECRET)
        self.assertEqual((again.returncode, again.stderr), (0, ""))

        with ShowHost(SHARED, self.state) as host, App(SHARED, next(addresses)) as app:
            self.assertEqual(log_in(app, "Inspizientin", SECRET),
                             {"result": SUCCESS, "account": "Inspizientin", "access": 3})
            refused = [log_in(app, *login, force=1)["result"] for login in
                       (("Inspizientin", SECRET + "!"), ("Inspizientin", "old"), ("demo", SECRET))]

        self.assertEqual(refused, [WRONG_PASSWORD, WRONG_PASSWORD, UNKNOWN_USER])
        settings, printed = (self.state / "settings.json").read_text(encoding="utf-8"), "\n".join(host.lines)
        self.assertIn("Inspizientin", settings)
        self.assertIn("login error code : 0", printed)
        for text in (settings, printed, again.stdout):
            self.assertNotIn("7 Zwerge", text)

    def test_an_invalid_password_is_refused(self):
        for password, reason in (("x" * 118, "too long: 117 bytes at most"), ("ü" * 59, "too long"), ("", "is empty")):
            with self.subTest(reason=reason):
                result = run_with_password(self.command(), password)

                self.assertEqual(result.returncode, 2)
                self.assertIn(reason, result.stderr)
        with Terminal(self.command()) as terminal:
            terminal.answer("Password: ", SECRET)
            terminal.answer("Password again: ", SECRET.lower())
            code, output = terminal.ended()
        self.assertEqual(code, 2)
        self.assertIn("the two passwords differ", output)
        self.assertFalse((self.state / "settings.json").exists())

    def test_an_interrupted_prompt_restores_the_terminals_echo(self):
        for number in (signal.SIGINT, signal.SIGHUP):
            with Terminal(self.command()) as terminal:
                terminal.wait_for("Password: ")
                hidden = not terminal.shows_input()

                terminal.process.send_signal(number)
                code, _ = terminal.ended()

                self.assertEqual((hidden, code, terminal.shows_input()), (True, -number, True))


if __name__ == "__main__":
    unittest.main()
