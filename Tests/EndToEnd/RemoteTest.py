#!/usr/bin/python3
"""Tests showremote with faulty or hostile hosts, and with output that can't be written."""

import base64
import fcntl
import json
import os
import resource
import signal
import socket
import struct
import subprocess
import termios
import threading
import unittest
import uuid

from websockets.client import ClientConnection
from websockets.uri import parse_uri

from Support import TIMEOUT, Folder, environment, showremote, wait_until
from zentravox import EnvelopeChannel
from zentravox.app import HEARTBEAT, LOGIN, PUBLIC_KEY
from zentravox.wire import BULK_PORT, CENTRAL_PORT, CONTROL_PORT, CLOUD_PORT, DISCOVERY_PORT, REPLY, id_form

HOST, CLOUD = "127.0.0.141", "127.0.0.62"
NAME, NOTICE = 0x005, 0x306
NO_ID = uuid.UUID(int=0)

# Control characters that a terminal would execute: ESC, DEL and the 8-bit CSI; and a forged line.
HOSTILE = "Stage\x1b]0;pwned\x07\x7f\x9b2J\nlogged in as root"


class FakeHost:
    """A host that runs talk(control, bulk) with one app."""

    def __init__(self, talk):
        self._servers = [socket.create_server((HOST, port)) for port in (CONTROL_PORT, BULK_PORT)]
        self._thread = threading.Thread(target=self._run, args=(talk,))
        self.faults = []

    def _run(self, talk):
        channels = []
        try:
            for server in self._servers:
                server.settimeout(TIMEOUT)
                connection, _ = server.accept()
                connection.settimeout(TIMEOUT)
                channels.append(EnvelopeChannel(connection))
            talk(*channels)
            while channels[0].receive_bytes():
                pass
        except OSError:
            pass  # the remote has closed the connection
        except BaseException as fault:
            self.faults.append(fault)
        finally:
            for channel in channels:
                channel.close()

    def __enter__(self):
        self._thread.start()
        return self

    def __exit__(self, *_):
        for server in self._servers:
            server.shutdown(socket.SHUT_RDWR)
        self._thread.join(TIMEOUT)
        for server in self._servers:
            server.close()
        assert not self.faults, self.faults


def answering(*bodies, code=None):
    """Returns a talk function that answers a request with these bodies."""
    def talk(control, _):
        asked, _ = control.receive_bytes()
        for body in bodies:
            control.send_bytes(REPLY | (code or asked), body)
    return talk


def app(*arguments, **more):
    return showremote("app", "--host", HOST, *arguments, **more)


class AppTest(unittest.TestCase):
    def test_an_unexpected_reply_is_a_failure_and_writes_no_file(self):
        with Folder() as folder:
            for request, body, text in (("heartbeat", b"", "not a JSON object"), ("heartbeat", b"\0garbage", "not a JSON"),
                                        ("scene-play", b'{"errorMsg": "FAIL", "result": 1}', "refused the request: FAIL"),
                                        ("resource-thumbnail", id_form(NO_ID, b""), "empty picture"),
                                        ("resource-thumbnail", b"{}", "no reply contained a picture")):
                with self.subTest(body=body), FakeHost(answering(body)):
                    result = app("--out", folder / "picture", request)

                    self.assertEqual(result.returncode, 1)
                    self.assertIn(text, result.stderr)
            self.assertEqual(list(folder.iterdir()), [])

    def test_an_empty_name_is_only_answered_with_the_name(self):
        with FakeHost(answering(b'{"name": "Stage"}', code=NAME)):
            self.assertEqual(app("set-host-name", '{"name": ""}').returncode, 0)

    def test_printed_replies_are_valid_json_without_control_characters(self):
        with FakeHost(answering(json.dumps({"name": HOSTILE}, ensure_ascii=False).encode())):
            result = app("host-name-and-version")

        self.assertFalse(any(not c.isprintable() for c in result.stdout.replace("\n", "")), result.stdout)
        self.assertEqual(json.loads(result.stdout[result.stdout.index("{"):]), {"name": HOSTILE})

    def test_indentation_does_not_multiply_a_long_text(self):
        deep = b'{"a": ' + b"[" * 60 + b"1," * (1 << 19) + b"1" + b"]" * 60 + b"}"
        with FakeHost(answering(deep)):
            result = app("host-name-and-version")

        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertLess(len(result.stdout), 2 * len(deep))

    @unittest.skipIf(os.environ.get("SANITIZERS"), "sanitizers retain freed memory")
    def test_notices_during_a_request_do_not_fill_the_memory(self):
        def talk(control, _):
            asked, _ = control.receive_bytes()
            for _ in range(100):
                control.send_bytes(REPLY | NOTICE, notice)
            control.send(REPLY | asked, {})

        notice = bytes(2 << 20)
        with FakeHost(talk), subprocess.Popen([os.environ["SHOWREMOTE"], "app", "--host", HOST, "--timeout", str(TIMEOUT),
                                               "heartbeat"], stdout=subprocess.DEVNULL) as process:
            _, status, usage = os.wait4(process.pid, 0)
            process.returncode = os.waitstatus_to_exitcode(status)

        self.assertEqual(process.returncode, 0)
        self.assertLess(usage.ru_maxrss, 100 << 10)

    def test_a_login_stays_alive_while_a_request_is_handled(self):
        with Folder() as folder:
            key = folder / "key.pem"
            subprocess.run(["openssl", "genpkey", "-quiet", "-algorithm", "RSA", "-pkeyopt", "rsa_keygen_bits:1024", "-out", key],
                           check=True)
            public = subprocess.run(["openssl", "pkey", "-in", key, "-pubout", "-outform", "DER"], check=True,
                                    stdout=subprocess.PIPE).stdout

        def talk(control, bulk):
            for code, reply in ((PUBLIC_KEY, {"publicKey": base64.b64encode(public).decode()}), (LOGIN, {"result": 0})):
                assert control.receive_bytes()[0] == code
                control.send(REPLY | code, reply)
            for _ in range(2):
                asked, _ = control.receive_bytes()
                assert bulk.receive_bytes()[0] == HEARTBEAT
                bulk.send(REPLY | HEARTBEAT, {"result": 1})
                control.send(REPLY | asked, {})

        with FakeHost(talk):
            result = app("--user", "demo", "--count", 2, "host-name-and-version", SHOWREMOTE_PASSWORD="demo")

        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertNotIn("heartbeat", result.stdout)


class OutputTest(unittest.TestCase):
    """Output that can't be written."""

    def run_with(self, *arguments, **options):
        with FakeHost(answering(id_form(NO_ID, b"x" * 100_000))):
            return subprocess.run([os.environ["SHOWREMOTE"], "app", "--host", HOST, *map(str, arguments), "resource-thumbnail"],
                                  stderr=subprocess.PIPE, timeout=TIMEOUT, env=environment(), **options).returncode

    def test_it_is_a_failure(self):
        reading, unread = os.pipe()
        os.close(reading)
        with open("/dev/full", "wb") as full, open(unread, "wb") as without_reader:
            self.assertEqual(self.run_with(stdout=full), 1)
            self.assertEqual(self.run_with(stdout=without_reader, restore_signals=False), 1)
        # The descriptor of a closed standard output must not be reused for a connection, which would receive the output.
        self.assertEqual(self.run_with(preexec_fn=lambda: os.close(1)), 1)

    def test_a_file_that_did_not_fit_is_removed(self):
        def limit():
            signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
            resource.setrlimit(resource.RLIMIT_FSIZE, (50_000, 50_000))

        with Folder() as folder:
            code = self.run_with("--out", folder / "picture", stdout=subprocess.DEVNULL, preexec_fn=limit)

            self.assertEqual((code, list(folder.iterdir())), (1, []))


class DatagramsTest(unittest.TestCase):
    def ask(self, port, answer, *arguments):
        """Answers one datagram of showremote; returns its exit code, the datagram and its output."""
        with socket.socket(type=socket.SOCK_DGRAM) as host:
            host.bind((HOST, port))
            host.settimeout(TIMEOUT)
            process = subprocess.Popen([os.environ["SHOWREMOTE"], *arguments, "--host", HOST, "--timeout", str(TIMEOUT)],
                                       stdout=subprocess.PIPE, stderr=subprocess.PIPE, encoding="utf-8", env=environment())
            with process:
                asked, address = host.recvfrom(65536)
                if answer is not None:
                    host.sendto(answer, address)
                output, error = process.communicate(timeout=TIMEOUT)
        return process.returncode, asked, output + error

    def test_central_control_sends_an_object_unchanged(self):
        code, asked, _ = self.ask(CENTRAL_PORT, b'{"HDRState": "opened"}', "central", '{"cmd": "getHDR", "x": 1}')

        self.assertEqual((code, json.loads(asked)), (0, {"cmd": "getHDR", "x": 1}))

    def test_a_command_without_an_answer_succeeds_if_the_port_is_open(self):
        self.assertEqual(self.ask(CENTRAL_PORT, None, "central", "shutdown")[0], 0)
        self.assertEqual(self.ask(CENTRAL_PORT, b"PARAMETER ERROR", "central", '{"cmd": "shutdown"}')[0], 1)
        self.assertEqual(showremote("central", "--host", HOST, "shutdown").returncode, 1)

    def test_answers_are_escaped_and_garbage_is_a_failure(self):
        for port, command in ((CENTRAL_PORT, ("central", "blackAll")), (DISCOVERY_PORT, ("discover",))):
            for answer in (HOSTILE.encode(), b"", b"[1]"):
                with self.subTest(command=command, answer=answer):
                    code, _, output = self.ask(port, answer, *command)

                    self.assertEqual(code, 1)
                    self.assertFalse(any(not c.isprintable() for c in output.replace("\n", "")), output)
                    self.assertNotIn("\nlogged in", output)


class CloudTest(unittest.TestCase):
    def setUp(self):
        self.folder = self.enterContext(Folder())

    def start(self, *arguments):
        process = subprocess.Popen([os.environ["SHOWREMOTE"], "cloud", "--listen", CLOUD, *map(str, arguments)],
                                   stdout=subprocess.PIPE, stderr=subprocess.STDOUT, encoding="utf-8", env=environment())
        self.assertTrue(process.stdout.readline().startswith("waiting for the host"))
        return process

    def connect(self, user="demo"):
        """Connects as the host; returns a function that sends a reply."""
        link = self.enterContext(socket.create_connection((CLOUD, CLOUD_PORT), TIMEOUT))
        protocol = ClientConnection(parse_uri(f"ws://{CLOUD}:{CLOUD_PORT}/?username={user}"))
        protocol.send_request(protocol.connect())
        link.sendall(b"".join(protocol.data_to_send()))
        while not protocol.events_received():
            protocol.receive_data(link.recv(4096))

        def send(route, data):
            protocol.send_text(json.dumps({"route": route, "data": data}).encode())
            link.sendall(b"".join(protocol.data_to_send()))
        return send

    def test_a_host_can_neither_write_outside_the_folder_nor_control_the_terminal(self):
        log = f"1,{HOSTILE}"
        for command, replies, files in (
                ("0x189", [(2, {"type": "preview", "id": "", "data": ""})], []),
                ("0x189", [(2, {"type": "../preview", "id": "", "data": "AAAA"})], []),
                ("0x189", [(2, {"type": "clip", "id": "../../x", "data": "AAAA"})], []),
                ("downLoadLog", [(3, log), (4, log)], ["operation-log.csv", "play-log.csv"])):
            with self.subTest(replies=replies), Folder() as folder, self.start("--out", folder / "out", command) as process:
                send = self.connect("%1b%5b2J%0a")
                for route, data in replies:
                    send(route, data if isinstance(data, str) else json.dumps(data))
                output, _ = process.communicate(timeout=TIMEOUT)

                self.assertEqual(process.returncode, 0 if files else 1, output)
                self.assertFalse(any(not c.isprintable() for c in output.replace("\n", "")), output)
                self.assertEqual(sorted(str(file.relative_to(folder)) for file in folder.rglob("*.*")),
                                 [f"out/{file}" for file in files])

    def test_an_object_is_sent_unchanged(self):
        with self.start('{"cmdType": 22}') as process:
            self.connect()(0, "{}")
            process.communicate(timeout=TIMEOUT)
            self.assertEqual(process.returncode, 0)

    def test_a_second_ctrl_c_ends_it_while_its_output_is_not_read(self):
        with self.start("listen") as process:
            self.connect()(3, "x" * 100_000)
            wait_until(lambda: struct.unpack("i", fcntl.ioctl(process.stdout, termios.FIONREAD, b"    "))[0] > 40_000,
                       "the pipe is full")
            # Two signals that are sent at once may be delivered as one.
            wait_until(lambda: process.send_signal(signal.SIGINT) or process.poll() is not None, "it ends")

            self.assertEqual(process.returncode, -signal.SIGINT)


if __name__ == "__main__":
    unittest.main()
