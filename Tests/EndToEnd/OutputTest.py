#!/usr/bin/python3
"""Tests what showhost prints and stores: unread output, full disks, texts from remotes, permissions of its files; and what it
sends to a service manager."""

import ftplib
import json
import os
import resource
import signal
import socket
import subprocess
import unittest

from Support import TIMEOUT, Folder, ShowHost, environment, showhost_command
from zentravox import App, CentralControl, discover
from zentravox.wire import FTP_PORT

HOST = "127.0.0.61"
SET_HOST_NAME = 0x004
# More lines than the pipe and the queue of 1 MiB hold.
FLOOD = 12_000


def upload(address, name):
    with ftplib.FTP(encoding="utf-8") as ftp:
        ftp.connect(address, FTP_PORT, TIMEOUT)
        ftp.login("demo", "demo")
        with open(__file__, "rb") as file:
            ftp.storbinary(f"STOR {name}", file)


class UnreadOutputTest(unittest.TestCase):
    def test_a_host_whose_output_is_not_read_serves_and_ends_normally(self):
        host = self.enterContext(subprocess.Popen(showhost_command(HOST, self.enterContext(Folder())),
                                                  stdin=subprocess.PIPE, stdout=subprocess.PIPE, encoding="utf-8",
                                                  env=environment()))
        self.addCleanup(host.kill)
        while not host.stdout.readline().startswith("showhost ready"):
            self.assertIsNone(host.poll(), "showhost ended")
        with CentralControl(HOST) as central:
            for _ in range(FLOOD):
                central.ask(cmd="getHDR")
        host.send_signal(signal.SIGTERM)

        self.assertEqual(host.wait(TIMEOUT), 0)


class ServiceTest(unittest.TestCase):
    def test_a_service_notifies_its_manager_and_logs_priorities_instead_of_times(self):
        folder = self.enterContext(Folder())
        for name in (f"\0showhost-{os.getpid()}", f"{folder}/notify"):
            with self.subTest(name=name), socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as manager:
                manager.bind(name)
                manager.settimeout(TIMEOUT)
                log, output = os.pipe()
                journal = os.fstat(output)
                variables = {"NOTIFY_SOCKET": name.replace("\0", "@"), "WATCHDOG_USEC": "200000",
                             "JOURNAL_STREAM": f"{journal.st_dev}:{journal.st_ino}"}
                host = subprocess.Popen(showhost_command(HOST, folder / "state"), stdin=subprocess.DEVNULL, stdout=output,
                                        env=environment(**variables))
                self.addCleanup(host.kill)
                os.close(output)

                self.assertEqual([manager.recv(99) for _ in range(3)], [b"READY=1", b"WATCHDOG=1", b"WATCHDOG=1"])
                discover(HOST)
                host.send_signal(signal.SIGTERM)
                while (state := manager.recv(99)) != b"STOPPING=1":
                    self.assertEqual(state, b"WATCHDOG=1")
                self.assertEqual(host.wait(TIMEOUT), 0)
                with open(log, encoding="utf-8") as lines:
                    for line in lines:
                        self.assertRegex(line, "^<5>showhost ready" if " ready" in line else r"^<[3-7]>\D")


class TextsTest(unittest.TestCase):
    def test_names_from_remotes_cannot_forge_a_line(self):
        with Folder() as state, ShowHost(HOST, state) as host:
            host.write_line("device put " + json.dumps({"DevId": "75abf6a9-add1-4262-84c2-217f41365491", "Type": "udp",
                                                  "lamp\n12:00:00.000 host: forged\x1b[2J\u202e": 1}))
            upload(HOST, "opening\x1b[2J\x9b\u2028.txt")
            host.wait_for_line(lambda line: "host: uploaded" in line, "the upload")
            text = "\n".join(host.lines)

        self.assertIn("lamp\\n12:00:00.000 host: forged\\x1b[2J\\u202e", text)
        self.assertIn("opening\\x1b[2J\\x9b\\u2028.txt", text)
        for character in "\x1b\x9b\u2028\u202e":
            self.assertNotIn(character, text)


class CommandsTest(unittest.TestCase):
    def test_a_command_takes_effect_and_its_result_is_logged(self):
        with Folder() as state, ShowHost(HOST, state) as host, CentralControl(HOST) as central:
            for percent, result in ((40, "SUCCESS"), (140, "ERROR: out of range")):
                self.assertEqual(central.ask(cmd="globalBrightness", param=percent), result)
                self.assertEqual(central.ask(cmd="getGlobalBrightness"), {"globalBrightness": 40})
                host.wait_for_line(lambda line: line.endswith(f"host: CenterControl: brightness (0x113): {result}"),
                                   "the result")


class StateTest(unittest.TestCase):
    def rights_of_others(self, folder):
        return {path.name: oct(path.stat().st_mode & 0o077) for path in (folder, *folder.rglob("*"))
                if path.stat().st_mode & 0o077}

    def setUp(self):
        self.addCleanup(os.umask, os.umask(0o022))
        self.folder = self.enterContext(Folder())
        self.state = self.folder / "state"

    def test_the_state_folder_and_its_existing_files_become_private(self):
        old = self.state / "Resources" / "Old"
        old.mkdir(parents=True)
        for file in (self.state / "settings.json", self.state / "show.sqlite", self.state / "operation.log", old / "clip.mp4"):
            file.write_text("{}" if file.suffix == ".json" else "")

        with ShowHost(HOST, self.state) as host:
            upload(HOST, "new.txt")
            self.assertEqual(self.rights_of_others(self.state), {})
            self.assertTrue((self.state / "show.sqlite-wal").exists())

    def test_a_full_disk_is_reported_once_and_stored_data_is_not_lost(self):
        with ShowHost(HOST, self.state, "--quiet") as host, App(HOST) as app:
            def name(text):
                app.control.send(SET_HOST_NAME, {"name": text})
                for _ in range(2):
                    app.control.receive()

            def settings():
                return json.loads((self.state / "settings.json").read_text())

            name("before")
            limits = resource.prlimit(host.process.pid, resource.RLIMIT_FSIZE)
            resource.prlimit(host.process.pid, resource.RLIMIT_FSIZE, (1, limits[1]))
            for number in range(3):
                name(f"full {number}")
            self.assertEqual(settings()["hostName"], "before")
            self.assertEqual(discover(HOST)["name"], "full 2")
            resource.prlimit(host.process.pid, resource.RLIMIT_FSIZE, limits)
            name("after")
            self.assertEqual(settings()["hostName"], "after")
            host.write_line("a marker")
            host.wait_for_line(lambda line: "a marker" in line, "the marker")

        reports = [line.split("settings.json: ")[1] for line in host.lines if "settings.json: " in line]
        self.assertEqual(reports, ["not written: File too large", "written again"])

    def test_a_user_whose_password_cannot_be_decrypted_is_refused(self):
        self.state.mkdir()
        (self.state / "settings.json").write_text('{"users": [{"name": "anna", "encryptedPassword": "plain"}]}')

        for command in (showhost_command(HOST, self.state),
                        [os.environ["SHOWHOST"], "--state", self.state, "--add-user", "ben", "--password-fd", "0"]):
            result = subprocess.run(command, input="secret\n", capture_output=True, encoding="utf-8", timeout=TIMEOUT,
                                    env=environment())
            self.assertEqual(result.returncode, 2)
            self.assertIn("settings.json: users[0].encryptedPassword: the password of \"anna\" ", result.stderr)


if __name__ == "__main__":
    unittest.main()
