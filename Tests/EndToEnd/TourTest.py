#!/usr/bin/python3
"""Tests showremote's commands with a running host and its errors without one, and how showhost starts and ends."""

import json
import os
import signal
import socket
import subprocess
import threading
import unittest
from pathlib import Path

from Support import TIMEOUT, Folder, ShowHost, environment, showhost_command, showremote
from zentravox import App, discover
from zentravox.wire import BULK_PORT, CENTRAL_PORT, CONTROL_PORT, FP_PORT, FTP_PORT

CONTRACT = Path(__file__).resolve().parents[2] / "Src/Contract/Contract.json"
SHARED, STARTED, NO_HOST, CONTROLLER = "127.0.0.31", "127.0.0.33", "127.0.0.34", "127.0.0.55"


class ShowRemoteTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = cls.enterClassContext(Folder())
        cls.state = cls.folder / "state"
        cls.host = cls.enterClassContext(ShowHost(SHARED, cls.state, "--fp", f"{CONTROLLER}:{FP_PORT}"))

    def test_it_discovers_the_host_and_the_machines_adapters(self):
        listed = json.loads(subprocess.run(["ip", "-json", "address"], capture_output=True, check=True).stdout)
        adapters = [(one.get("address", "").upper().replace(":", "-"),
                     [address["local"] for address in one["addr_info"] if address["family"] == "inet"])
                    for one in listed if one["link_type"] != "loopback"]

        result = showremote("discover", "--host", SHARED)

        first, rest = result.stdout.split("\n", 1)
        self.assertEqual((result.returncode, first), (0, f"answer from {SHARED}:25505"))
        self.assertEqual(json.loads(rest), {
            "name": discover(SHARED)["name"], "id": "3F2C9D41-7B0E-4A65-9C13-D85E2F07A6B4", "version": 2,
            "macAddress": next((hardware for hardware, addresses in adapters if addresses), ""),
            "macAddressList": [hardware for hardware, _ in adapters]})

    def test_it_prints_the_channels_and_every_reply(self):
        for request, channel in ((("heartbeat",), "control"), (("0x1", "--bulk"), "bulk")):
            with self.subTest(channel=channel):
                result = showremote("app", "--host", SHARED, *request)

                self.assertEqual(result.returncode, 0)
                lines = result.stdout.split("\n", 3)
                self.assertEqual(lines[:3], [f"bulk channel open: {SHARED}:{BULK_PORT}",
                                             f"control channel open: {SHARED}:{CONTROL_PORT}",
                                             f"<- heartbeat (0x10000001) on {channel}"])
                self.assertEqual(json.loads(lines[3]), {"result": 1})
        result = showremote("app", "--host", SHARED, "--count", 3, "heartbeat")
        self.assertEqual((result.returncode, result.stdout.count("<- heartbeat")), (0, 3))
        self.assertIn("\n3 of 3 requests answered", result.stdout)
        result = showremote("app", "--host", SHARED, "set-host-name", '{"name": "Bühne 2"}')
        self.assertEqual(result.returncode, 0)
        self.assertRegex(result.stdout, r"(?s)<- set-host-name.*<- host-name-and-version.*Bühne 2")

    def test_it_uploads_a_file_with_a_name_in_any_script_and_reports_a_refusal(self):
        name, content = "showremote Grüße 舞台 🎬 #1%;type=a.bin", os.urandom(100_000)
        source = self.folder / name
        source.write_bytes(content)

        for arguments, arrives_as in (((), name), (("--as", "leer ⌀/" + name), "leer ⌀/" + name)):
            with self.subTest(arrives_as=arrives_as):
                result = showremote("upload", "--host", SHARED, source, *arguments)

                self.assertEqual((result.returncode, result.stderr), (0, ""))
                self.assertEqual((self.state / "Resources" / arrives_as).read_bytes(), content)
                self.host.wait_for_line(lambda line: line.endswith(arrives_as), f"a line that names {arrives_as}")
        result = showremote("upload", "--host", SHARED, source, "--as", "refused.bin", SHOWREMOTE_PASSWORD="wrong")
        self.assertEqual(result.returncode, 1)
        self.assertIn("login denied", result.stderr)
        self.assertFalse((self.state / "Resources" / "refused.bin").exists())

    def test_central_prints_the_answer_and_fails_on_a_refusal(self):
        cases = {("getBlackAll",): 0, ("getBlackAll", '{"row": 1}'): 0, ("no-keyword",): 1, ("--raw", "{"): 0}
        for arguments, code in cases.items():
            with self.subTest(arguments=arguments):
                result = showremote("central", "--host", SHARED, *arguments)

                self.assertEqual(result.returncode, code, result.stderr)
                self.assertTrue(result.stdout.startswith(f"answer from {SHARED}:{CENTRAL_PORT}\n"))

    def test_fp_prints_the_reply(self):
        result = showremote("fp", "--listen", CONTROLLER, "picture-adjustment")

        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertIn("<- picture-adjustment (0x112) on FP", result.stdout)


class ShowRemoteFailuresTest(unittest.TestCase):
    """What showremote prints without a host: its version and its error messages."""

    def test_the_version_names_the_contract_s_version(self):
        contract = json.loads(CONTRACT.read_text(encoding="utf-8"))["version"]

        result = showremote("--version")

        self.assertEqual(result.returncode, 0)
        self.assertRegex(result.stdout, rf"\Ashowremote [\d.]+ \(contract {contract}\)\n\Z")

    def test_wrong_usage_is_reported_in_one_line(self):
        cases = {
            ("app", "no-such-request"): "unknown request \"no-such-request\"",
            ("app", "heartbeat", '{"ü": 1 "b": 2}'): "near character 9",
            ("app", "heartbeat", "[]"): "object",
            ("upload",): "FILE is missing",
            ("no-such-command",): "unknown command \"no-such-command\"",
        }
        for arguments, text in cases.items():
            with self.subTest(arguments=arguments):
                result = showremote(*arguments)

                self.assertEqual((result.returncode, result.stdout, result.stderr.count("\n")), (2, "", 1))
                self.assertIn(text, result.stderr)

    def test_a_refused_connection_is_reported_at_once(self):
        commands = {("discover",): 25505, ("app", "heartbeat"): BULK_PORT, ("upload", __file__): FTP_PORT}
        for arguments, port in commands.items():
            with self.subTest(arguments=arguments):
                result = showremote(*arguments, "--host", NO_HOST)

                self.assertEqual(result.returncode, 1)
                self.assertIn(f"can't connect to {NO_HOST}:{port}: connection refused; is showhost running?",
                              result.stderr)

    def test_a_host_that_does_not_answer_or_closes_is_a_failure(self):
        def hang_up(server):
            connection, _ = server.accept()
            connection.recv(4096)
            connection.close()

        with socket.create_server((NO_HOST, CONTROL_PORT)), socket.create_server((NO_HOST, BULK_PORT)):
            silent = showremote("app", "--host", NO_HOST, "--timeout", 0.2, "heartbeat")
        with socket.create_server((NO_HOST, CONTROL_PORT)) as control, socket.create_server((NO_HOST, BULK_PORT)):
            control.settimeout(TIMEOUT)
            far_end = threading.Thread(target=hang_up, args=(control,))
            far_end.start()
            closed = showremote("app", "--host", NO_HOST, "--timeout", TIMEOUT, "heartbeat")
            far_end.join()

        for result, text in ((silent, "no reply heartbeat (0x10000001) within 0.2 s"),
                             (closed, "the host closed the control channel")):
            self.assertEqual(result.returncode, 1)
            self.assertIn(text, result.stderr)


class ProcessTest(unittest.TestCase):
    """Tests how showhost starts and ends."""

    def setUp(self):
        self.folder = self.enterContext(Folder())

    def run_until_it_ends(self, show=None):
        return subprocess.run(showhost_command(STARTED, self.folder / "state", show=show), capture_output=True,
                              encoding="utf-8", timeout=TIMEOUT, env=environment())

    @staticmethod
    def taken(port):
        if port != CENTRAL_PORT:
            return socket.create_server((STARTED, port))
        datagrams = socket.socket(type=socket.SOCK_DGRAM)
        datagrams.bind((STARTED, port))
        return datagrams

    def test_an_invalid_show_is_reported_with_file_and_reason(self):
        show = self.folder / "Bühne.zxc"
        for text, reason in ((None, ""), ("{", "unterminated object"), ('{"name": 3}', "name")):
            with self.subTest(text=text):
                if text is not None:
                    show.write_text(text)

                result = self.run_until_it_ends(show)

                self.assertEqual(result.returncode, 2)
                self.assertRegex(result.stderr, rf"Bühne\.zxc: .*{reason}")

    def test_a_port_in_use_is_reported_with_its_address(self):
        for port in (CONTROL_PORT, BULK_PORT, FTP_PORT, CENTRAL_PORT):
            with self.subTest(port=port), self.taken(port):
                result = self.run_until_it_ends()

                self.assertEqual(result.returncode, 1)
                self.assertRegex(result.stderr, f"{STARTED}:{port}.*already in use")

    def test_an_interrupt_ends_it_with_code_0(self):
        with ShowHost(STARTED, self.folder / "state") as host, App(STARTED):
            host.process.send_signal(signal.SIGINT)

            self.assertEqual(host.ended(), 0)

    def test_a_host_with_a_closed_or_empty_input_works_normally(self):
        for stdin in (None, subprocess.DEVNULL):
            with self.subTest(stdin=stdin), ShowHost(STARTED, self.folder / "state", stdin=stdin) as host:
                for _ in range(3):
                    self.assertTrue(discover(STARTED)["name"])
                self.assertIsNone(host.process.poll())
        with ShowHost(STARTED, self.folder / "state") as host:
            host.process.stdin.write("fault list")
            host.process.stdin.close()
            host.wait_for_line(lambda line: line == "0 fault rules", "the answer to a last line without a line feed")


if __name__ == "__main__":
    unittest.main()
