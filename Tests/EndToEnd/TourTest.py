#!/usr/bin/python3
"""A tour of showhost from outside: found, connected, asked, fed with media, stopped and killed."""

import json
import os
import signal
import socket
import subprocess
import threading
import unittest
from urllib.parse import quote

from Support import (BULK_PORT, CONTROL_PORT, FTP_PORT, PATIENCE, REPLY, App, Folder,
                     ShowHost, discover, environment, is_free, showhost_command, showremote, wait_until)

HEARTBEAT, SET_HOST_NAME, HOST_NAME_AND_VERSION = 1, 4, 5

SHARED, RENAMED, STARTED, NOBODY = "127.0.0.31", "127.0.0.32", "127.0.0.33", "127.0.0.34"


class RemotesTest(unittest.TestCase):
    """Remotes of one host that keeps running."""

    @classmethod
    def setUpClass(cls):
        cls.folder = cls.enterClassContext(Folder())
        cls.state = cls.folder / "state"
        cls.host = cls.enterClassContext(ShowHost(SHARED, cls.state))

    def assert_uploaded(self, name, content):
        self.assertEqual((self.state / "Resources" / name).read_bytes(), content)
        self.host.wait_for_line(lambda line: line.endswith(name), f"a line that names the upload {name}")

    def test_discovery_tells_who_the_host_is(self):
        reply = discover(SHARED)

        self.assertEqual(reply.keys(), {"name", "id", "macAddress", "macAddressList", "version"})
        self.assertEqual(reply["name"], socket.gethostname())
        self.assertEqual(reply["id"], "3F2C9D41-7B0E-4A65-9C13-D85E2F07A6B4")
        self.assertEqual(reply["version"], 2.0)

    def test_a_heartbeat_is_answered_on_the_channel_that_it_came_on_alone(self):
        with App(SHARED) as app:
            app.control.send(HEARTBEAT)
            app.bulk.send(HEARTBEAT)
            answers = [app.control.receive(), app.bulk.receive()]

            self.assertEqual(answers, [(REPLY | HEARTBEAT, {"result": 1})] * 2)
            self.assertEqual(app.control.receive_rest(), [])
            self.assertEqual(app.bulk.receive_rest(), [])

    def test_the_host_tells_its_name_and_version(self):
        with App(SHARED) as app:
            app.control.send(HOST_NAME_AND_VERSION)
            code, body = app.control.receive()

        self.assertEqual(code, REPLY | HOST_NAME_AND_VERSION)
        self.assertEqual(body.keys(), {"result", "name", "version"})
        self.assertEqual((body["result"], body["name"]), (1, socket.gethostname()))
        self.assertTrue(body["version"])

    def test_curl_uploads_a_file_with_a_name_in_any_script(self):
        name, content = "curl Grüße 舞台 🎬 #1%.bin", os.urandom(100_000)
        source = self.folder / "source"
        source.write_bytes(content)

        subprocess.run(["curl", "-sS", "--noproxy", "*", "--user", "demo:demo", "-T", source,
                        f"ftp://{SHARED}:{FTP_PORT}/{quote(name)}"], check=True, timeout=PATIENCE)

        self.assert_uploaded(name, content)

    def test_showremote_uploads_a_file_with_a_name_in_any_script(self):
        name, content = "showremote Grüße 舞台 🎬 #1%;type=a.bin", os.urandom(100_000)
        source = self.folder / name
        source.write_bytes(content)

        for arguments, arrives_as in (((), name), (("--as", "leer ⌀/" + name), "leer ⌀/" + name)):
            with self.subTest(arrives_as=arrives_as):
                result = showremote("upload", "--host", SHARED, source, *arguments)

                self.assertEqual((result.returncode, result.stderr), (0, ""))
                self.assert_uploaded(arrives_as, content)

    def test_showremote_tells_that_an_upload_was_refused(self):
        source = self.folder / "refused.bin"
        source.write_bytes(b"x")

        result = showremote("upload", "--host", SHARED, source, SHOWREMOTE_PASSWORD="wrong")

        self.assertEqual(result.returncode, 1)
        self.assertIn("login denied", result.stderr)
        self.assertFalse((self.state / "Resources" / "refused.bin").exists())

    def test_showremote_discovers_what_a_stranger_discovers(self):
        result = showremote("discover", "--host", SHARED)

        first, rest = result.stdout.split("\n", 1)
        self.assertEqual((result.returncode, first), (0, f"answer from {SHARED}:25505"))
        self.assertEqual(json.loads(rest), discover(SHARED))

    def test_showremote_shows_the_channels_and_the_reply(self):
        for request, channel in ((("heartbeat",), "control"), (("0x1", "--bulk"), "bulk")):
            with self.subTest(channel=channel):
                result = showremote("app", "--host", SHARED, *request)

                self.assertEqual(result.returncode, 0)
                lines = result.stdout.split("\n", 3)
                self.assertEqual(lines[:3], [f"control channel open: {SHARED}:{CONTROL_PORT}",
                                             f"bulk channel open: {SHARED}:{BULK_PORT}",
                                             f"<- heartbeat (0x10000001) on {channel}"])
                self.assertEqual(json.loads(lines[3]), {"result": 1})

    def test_showremote_repeats_a_request(self):
        result = showremote("app", "--host", SHARED, "--count", 3, "heartbeat")

        self.assertEqual(result.returncode, 0)
        self.assertEqual(result.stdout.count("<- heartbeat"), 3)
        self.assertIn("\n3 of 3 requests answered", result.stdout)


class HostNameTest(unittest.TestCase):
    def test_a_new_name_is_told_everywhere_and_survives_a_restart(self):
        with Folder() as state:
            with ShowHost(RENAMED, state), App(RENAMED) as app:
                app.control.send(SET_HOST_NAME, {"name": "Bühne 1"})
                replies = [app.control.receive(), app.control.receive()]
                discovered = discover(RENAMED)["name"]
            with ShowHost(RENAMED, state):
                discovered_later = discover(RENAMED)["name"]

        self.assertEqual(replies[0], (REPLY | SET_HOST_NAME, {"result": 1}))
        self.assertEqual((replies[1][0], replies[1][1]["name"]), (REPLY | HOST_NAME_AND_VERSION, "Bühne 1"))
        self.assertEqual((discovered, discovered_later), ("Bühne 1", "Bühne 1"))

    def test_showremote_waits_for_both_replies(self):
        with Folder() as state, ShowHost(RENAMED, state):
            result = showremote("app", "--host", RENAMED, "set-host-name", '{"name": "Bühne 2"}')

        self.assertEqual(result.returncode, 0)
        self.assertRegex(result.stdout, r"(?s)<- set-host-name.*<- host-name-and-version.*Bühne 2")


class ShowRemoteFailuresTest(unittest.TestCase):
    """What showremote tells when something is wrong, without a host."""

    def test_wrong_usage_is_told_in_one_line(self):
        cases = {
            ("app", "no-such-request"): "no request called \"no-such-request\"",
            ("app", "heartbeat", '{"ü": 1 "b": 2}'): "near character 9",
            ("app", "heartbeat", "[]"): "object",
            ("upload",): "FILE is missing",
            ("no-such-command",): "no command \"no-such-command\"",
        }
        for arguments, text in cases.items():
            with self.subTest(arguments=arguments):
                result = showremote(*arguments)

                self.assertEqual((result.returncode, result.stdout, result.stderr.count("\n")), (2, "", 1))
                self.assertIn(text, result.stderr)

    def test_a_host_where_nobody_listens_is_told_at_once(self):
        commands = {("discover",): 25505, ("app", "heartbeat"): CONTROL_PORT, ("upload", __file__): FTP_PORT}
        for arguments, port in commands.items():
            with self.subTest(arguments=arguments):
                result = showremote(*arguments, "--host", NOBODY)

                self.assertEqual(result.returncode, 1)
                self.assertIn(f"can't connect to {NOBODY}:{port}: connection refused; is showhost running?",
                              result.stderr)

    def test_a_host_that_does_not_answer_is_a_failure(self):
        with socket.create_server((NOBODY, CONTROL_PORT)), socket.create_server((NOBODY, BULK_PORT)):
            result = showremote("app", "--host", NOBODY, "--timeout", 0.2, "heartbeat")

        self.assertEqual(result.returncode, 1)
        self.assertIn("no reply heartbeat (0x10000001) within 0.2 s", result.stderr)

    def test_a_host_that_closes_is_a_failure(self):
        def hang_up(server):
            connection, _ = server.accept()
            connection.recv(4096)
            connection.close()

        with socket.create_server((NOBODY, CONTROL_PORT)) as control, socket.create_server((NOBODY, BULK_PORT)):
            control.settimeout(PATIENCE)
            far_end = threading.Thread(target=hang_up, args=(control,))
            far_end.start()
            result = showremote("app", "--host", NOBODY, "--timeout", PATIENCE, "heartbeat")
            far_end.join()

        self.assertEqual(result.returncode, 1)
        self.assertIn("the host closed the control channel", result.stderr)


class ProcessTest(unittest.TestCase):
    """How showhost starts and ends."""

    def setUp(self):
        self.folder = self.enterContext(Folder())

    def run_to_its_end(self, show=None):
        return subprocess.run(showhost_command(STARTED, self.folder / "state", show=show), capture_output=True,
                              encoding="utf-8", timeout=PATIENCE, env=environment())

    def test_a_bad_show_is_told_with_file_and_reason(self):
        show = self.folder / "Bühne.zxc"
        for text, reason in (("{", "unterminated object"), ('{"name": 3}', "name"), (None, "")):
            with self.subTest(text=text):
                show.unlink(missing_ok=True)
                if text is not None:
                    show.write_text(text)

                result = self.run_to_its_end(show)

                self.assertEqual(result.returncode, 2)
                self.assertRegex(result.stderr, rf"Bühne\.zxc: .*{reason}")

    def test_a_port_that_is_taken_is_told_with_its_address(self):
        for port in (CONTROL_PORT, BULK_PORT, FTP_PORT):
            with self.subTest(port=port), socket.create_server((STARTED, port)):
                result = self.run_to_its_end()

                self.assertEqual(result.returncode, 1)
                self.assertIn(f"{STARTED}:{port}", result.stderr)

    def test_an_interrupt_ends_it_properly(self):
        with ShowHost(STARTED, self.folder / "state") as host, App(STARTED):
            host.process.send_signal(signal.SIGINT)

            self.assertEqual(host.ended(), 0)

    def test_a_killed_host_leaves_no_upload_server_behind(self):
        host = ShowHost(STARTED, self.folder / "state")
        self.assertFalse(is_free(STARTED, FTP_PORT))

        host.kill()

        wait_until(lambda: is_free(STARTED, FTP_PORT), "the upload port becomes free")


if __name__ == "__main__":
    unittest.main()
