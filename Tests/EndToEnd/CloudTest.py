#!/usr/bin/python3
"""Tests with a cloud service: login, commands and replies, and invalid data."""

import json
import os
import signal
import socket
import ssl
import struct
import subprocess
import time
import unittest
import urllib.parse

from websockets.frames import Opcode

from Support import TIMEOUT, Folder, ShowHost, environment, showremote, wait_until
from zentravox import CloudService
from zentravox.wire import CLOUD_PORT

PATH = "/VexorWebSocket/websocket/chat?username="
PLAY_LOG = 3

HOST, CLOUD, OTHER_CLOUD = "127.0.0.82", "127.0.0.83", "127.0.0.84"


class ServedTest(unittest.TestCase):
    """One host, one service, and a new connection for each test."""

    @classmethod
    def setUpClass(cls):
        folder = cls.enterClassContext(Folder())
        cls.cloud = cls.enterClassContext(CloudService(CLOUD))
        cls.enterClassContext(ShowHost(HOST, folder / "state", "--cloud", f"ws://{CLOUD}:{CLOUD_PORT}"))

    def setUp(self):
        self.link = self.enterContext(self.cloud.accept())

    def test_data_that_is_too_long_or_invalid_only_ends_the_connection(self):
        final_text = 0x80 | Opcode.TEXT
        too_long = struct.pack(">BBQ", final_text, 127, 1 << 40)
        link = self.link
        for data in (too_long + b"x" * 100, b"\xff" * 20, struct.pack(">BB", final_text, 2) + b"\xff\xff"):
            link.socket.sendall(data)
            self.assertRaises(ConnectionError, link.receive)
            link.close()
            link = self.enterContext(self.cloud.accept())
        link.send(cmd="downLoadLog")

        self.assertEqual(link.receive()[0], PLAY_LOG)

    def test_a_new_connection_receives_nothing_of_an_interrupted_export(self):
        self.link.send(cmdType=0x19)
        self.link.receive()
        self.link.socket.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        self.link.close()
        with self.cloud.accept() as link:
            link.send(cmd="downLoadLog")

            self.assertEqual(link.receive()[0], PLAY_LOG)


class ProcessTest(unittest.TestCase):
    def setUp(self):
        self.folder = self.enterContext(Folder())

    def settings(self, **cloud):
        file = self.folder / "settings.json"
        file.write_text(json.dumps({"cloudSupport": True, "cloud": {"url": f"ws://{CLOUD}:{CLOUD_PORT}", **cloud}}))
        return file

    def start(self, *options):
        return ShowHost(HOST, self.folder / "state", *options)

    def test_the_login_is_percent_encoded_and_an_invalid_password_is_empty(self):
        user = "B\u00fchne 1&2=%1+/?#"
        settings = self.settings(user=user, account="x", encryptedPassword="bm8gY2lwaGVy")
        with CloudService(CLOUD) as cloud, self.start("--settings", settings), cloud.accept() as link:
            self.assertEqual(link.path, PATH + urllib.parse.quote(user, safe="") + "&password=")

    def test_the_host_ends_at_once_while_the_cloud_is_silent(self):
        with CloudService(CLOUD) as cloud, self.start("--cloud", f"ws://{CLOUD}:{CLOUD_PORT}") as host, cloud.accept_socket():
            start = time.monotonic()
            host.process.send_signal(signal.SIGTERM)

            self.assertEqual(host.ended(), 0)
            # Much less than the timeout of a silent connection.
            self.assertLess(time.monotonic() - start, 5)

    def test_the_play_log_has_the_scene_that_plays_when_the_host_starts_and_ends(self):
        def played(link):
            link.send(cmd="downLoadLog")
            tables = dict(link.receive() for _ in range(2))
            return [line.split(",")[1] for line in tables[PLAY_LOG].splitlines()[1:]]

        url = f"ws://{CLOUD}:{CLOUD_PORT}"
        with CloudService(CLOUD) as cloud:
            with self.start("--cloud", url) as host, cloud.accept() as link:
                self.assertEqual(played(link), [])
                link.send(cmd="stop")
                wait_until(lambda: "Vorhang" in played(link), "the record of the scene's last medium")
                scene = played(link)
                self.assertIn("Harbour at dawn", scene)
                link.send(cmdType=0x104, param=0)
                self.assertEqual(played(link), scene)
                # Before the link is closed: the host would connect again.
                host.process.send_signal(signal.SIGTERM)
                host.ended()
            with self.start("--cloud", url), cloud.accept() as link:
                self.assertEqual(played(link), 2 * scene)

    def test_only_a_known_certificate_is_trusted(self):
        certificate, key = self.folder / "cloud.pem", self.folder / "key.pem"
        subprocess.run(["openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "2", "-subj", "/CN=cloud",
                        "-addext", f"subjectAltName=IP:{CLOUD}", "-keyout", key, "-out", certificate],
                       check=True, capture_output=True)
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.load_cert_chain(certificate, key)
        url = f"wss://{CLOUD}:{CLOUD_PORT}"
        with CloudService(CLOUD, context) as cloud, self.start("--cloud", url) as host:
            self.assertRaises(OSError, cloud.accept)
            host.wait_for_line(lambda line: "certificate" in line, "the refusal")
        settings = self.settings(caFile=str(certificate))
        with CloudService(CLOUD, context) as cloud, self.start("--cloud", url, "--settings", settings) as host:
            with cloud.accept() as link:
                self.assertEqual(link.path, PATH + "demo&password=demo")
            self.assertFalse(any("password=" in line for line in host.lines))


class ShowRemoteTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = cls.enterClassContext(Folder())
        cls.host = cls.enterClassContext(
            ShowHost(HOST, folder / "state", "--cloud", f"ws://{OTHER_CLOUD}:{CLOUD_PORT}"))

    def test_replies_are_printed_and_saved(self):
        with Folder() as folder:
            for command in ("0x16", "downLoadLog", "0x19", "0x189"):
                result = showremote("cloud", "--listen", OTHER_CLOUD, "--out", folder, command)
                self.assertEqual(result.returncode, 0, result.stderr)
                self.assertIn(" as demo\n", result.stdout)
                self.assertNotIn("password", result.stdout)

            names = {file.name for file in folder.iterdir()}
            self.assertLessEqual({"system-information.json", "play-log.csv", "operation-log.csv", "project.json",
                                  "preview.jpg"}, names)
            self.assertTrue(any(name.startswith("chapter-") for name in names))
            information = json.loads((folder / "system-information.json").read_text(encoding="utf-8"))
            self.assertRegex(information["version"], r"^Zentravox XA 2\.0 \d+\.\d+\.\d+$")

    def test_a_command_without_a_reply_ends_when_the_host_has_received_it(self):
        result = showremote("cloud", "--listen", OTHER_CLOUD, "globalVolume", '{"param": 7}')

        self.assertEqual(result.returncode, 0, result.stderr)
        self.host.wait_for_line(lambda line: " <- volume (0x105)" in line, "the command")

    def test_listening_ends_by_ctrl_c_and_by_time(self):
        process = subprocess.Popen([os.environ["SHOWREMOTE"], "cloud", "--listen", OTHER_CLOUD, "listen"],
                                   stdout=subprocess.PIPE, encoding="utf-8", env=environment())
        with process:
            wait_until(lambda: process.stdout.readline().startswith("listening"), "that it listens")
            process.send_signal(signal.SIGINT)
            self.assertEqual(process.wait(TIMEOUT), 0)
        self.assertEqual(showremote("cloud", "--listen", OTHER_CLOUD, "--seconds", 0.2, "listen").returncode, 0)

    def test_wrong_usage_is_reported(self):
        for arguments in (("no-such-keyword",), ("refresh", "[]"), ("--cert", "x", "refresh"), ()):
            self.assertEqual(showremote("cloud", *arguments).returncode, 2, arguments)


if __name__ == "__main__":
    unittest.main()
