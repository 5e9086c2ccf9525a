#!/usr/bin/python3
"""Hostile peers of a showhost with a small address space, which must answer other peers meanwhile."""

import contextlib
import functools
import itertools
import json
import os
import resource
import select
import signal
import socket
import struct
import time
import unittest
import zlib

from Support import DEMO_SHOW, TIMEOUT, Folder, ShowHost, copy_demo_show, log_in, wait_until
from zentravox import App
from zentravox.app import HEARTBEAT
from zentravox.wire import BULK_PORT, CODE_HEADER, CODE_MARK, CONTROL_PORT, MAX_REQUEST, REPLY

HOST = "127.0.0.131"
HOST_NAME, RESOURCE_LIST, RESOURCE_THUMBNAIL = 0x005, 0x400, 0x403
MIB = 1 << 20
ADDRESS_SPACE = 1500 * MIB
BUDGET, MAX_QUEUED, MAX_CONNECTIONS = 256 * MIB, 64 * MIB, 1000
# The host must end within 2 s; twice as long on a busy machine.
END_SECONDS = 4
# A sanitizer needs far more address space.
IS_SANITIZED = bool(os.environ["SANITIZERS"])


def header(code, length):
    return CODE_HEADER.pack(CODE_MARK, code, length)


@functools.lru_cache
def slow_picture():
    """Returns a transparent, interlaced PNG of 62 megapixels, which takes long to read."""
    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

    side, compression = 7872, zlib.compressobj(1)
    data = b""
    # First column, first row, column step and row step of the seven Adam7 passes.
    for x, y, across, down in ((0, 0, 8, 8), (4, 0, 8, 8), (0, 4, 4, 8), (2, 0, 4, 4), (0, 2, 2, 4), (1, 0, 2, 2),
                               (0, 1, 1, 2)):
        data += compression.compress(bytes(-(-(side - y) // down) * (1 + -(-(side - x) // across) * 4)))
    data += compression.flush()
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", side, side, 8, 6, 0, 0, 1)) +
            chunk(b"IDAT", data) + chunk(b"IEND", b""))


def count_closed(peers):
    """Returns how many of the peers the host has closed. The peers must not read."""
    poll = select.poll()
    for peer in peers:
        poll.register(peer, select.POLLRDHUP)
    return len(poll.poll(0))


class HostileTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        # For both ends of the connections: the host inherits the limit.
        _, hard = resource.getrlimit(resource.RLIMIT_NOFILE)
        resource.setrlimit(resource.RLIMIT_NOFILE, (min(hard, 8192), hard))

    def setUp(self):
        self.folder = self.enterContext(Folder())
        self.sources = (f"127.0.131.{number}" for number in itertools.count(1))

    def start(self, show=None):
        self.host = self.enterContext(ShowHost(HOST, self.folder / "state", show=show))
        if not IS_SANITIZED:
            resource.prlimit(self.host.process.pid, resource.RLIMIT_AS, (ADDRESS_SPACE, ADDRESS_SPACE))

    def large_show(self):
        """Returns the path of a show whose resource list is large but quickly created."""
        show = json.loads(DEMO_SHOW.read_text(encoding="utf-8"))
        project = next(project for project in show["projects"] if project["id"] == show["openProject"])
        for number in range(2, 6):
            project["resources"].append({"id": f"{number:08}-0000-4000-8000-000000000000", "type": 2,
                                         "name": "x" * 2 * MIB, "file": "Media/Curtain.jpg", "width": 9, "height": 9})
        file = copy_demo_show(self.folder, {})
        file.write_text(json.dumps(show), encoding="utf-8")
        return file

    def app(self):
        return self.enterContext(App(HOST, next(self.sources)))

    def connect(self, port=CONTROL_PORT):
        return self.enterContext(socket.create_connection((HOST, port), TIMEOUT))

    def assert_answers(self, app):
        for channel in (app.control, app.bulk):
            channel.send(HOST_NAME)
        self.assertEqual(app.control.receive()[0], REPLY | HOST_NAME)

    def assert_ends(self):
        start = time.monotonic()
        self.host.process.send_signal(signal.SIGTERM)
        self.assertEqual(self.host.ended(), 0)
        self.assertLess(time.monotonic() - start, END_SECONDS)
        self.assertFalse(any("abandoned" in line for line in self.host.lines))

    def test_incomplete_envelopes_of_many_peers_use_a_limited_amount_of_memory(self):
        self.start()
        app = self.app()
        half = header(HOST_NAME, MAX_REQUEST) + bytes(MAX_REQUEST - MIB // 4)
        peers = [self.connect() for _ in range(BUDGET // len(half) + 15)]
        for peer in peers:
            with contextlib.suppress(ConnectionError):
                peer.sendall(half)
        too_long = self.connect()
        too_long.sendall(header(HOST_NAME, MAX_REQUEST + 1))

        wait_until(lambda: count_closed(peers) >= 10, "peers are closed")
        wait_until(lambda: count_closed([too_long]), "the too long envelope's peer is closed")
        self.host.wait_for_line(lambda line: "an envelope is longer than the maximum" in line, "the reason")
        self.assert_answers(app)

    def test_peers_that_do_not_read_use_a_limited_amount_of_memory(self):
        self.start(self.large_show())
        app = self.app()
        list_bytes = 8 * MIB
        requests = MAX_QUEUED // list_bytes - 1
        peers = [self.connect() for _ in range(BUDGET // (requests * list_bytes) + 3)]
        for peer in peers:
            peer.sendall(header(RESOURCE_LIST, 0) * requests)

        # A peer doesn't notice the end before it has read what it was sent earlier.
        self.host.wait_for_line(lambda line: "unsent replies exceed the memory limit" in line, "a peer is closed")
        self.assert_answers(app)

    def test_too_many_connections_displace_idle_ones_but_no_logged_in_app(self):
        self.start()
        app = self.app()
        self.assertEqual(log_in(app)["result"], 0)
        idle = self.app()
        peers = []
        for _ in range(MAX_CONNECTIONS + 50):
            peers += [self.connect(port) for port in (CONTROL_PORT, BULK_PORT)]
            app.bulk.send(HEARTBEAT)

        def are_displaced():
            app.bulk.send(HEARTBEAT)
            return count_closed(peers) == 2 * 51  # the two apps have two connections on each channel

        wait_until(are_displaced, "the longest idle are closed")
        self.assertEqual(count_closed([idle.control.socket, idle.bulk.socket]), 2)
        self.assert_answers(app)
        self.assert_answers(self.app())

    def test_the_host_ends_while_a_batch_of_requests_is_queued(self):
        self.start(self.large_show())
        app = self.app()
        app.control.socket.sendall(header(RESOURCE_LIST, 0) * 500)
        self.assertTrue(app.control.receive())

        self.assert_ends()

    def test_the_host_ends_while_slow_pictures_are_decoded(self):
        show = copy_demo_show(self.folder, {})
        for name in ("Curtain.jpg", "Emblem.png", "Harbour at dawn.jpg"):
            (show.parent / "Media" / name).write_bytes(slow_picture())
        self.start(show)
        for picture in ("8981c270-e2e5-4ad1-adc3-773ecb7042b6", "b5cb4f0e-69ea-4a69-9ed8-1a97be963151",
                        "051d905d-5696-4763-a4da-1ae462208c3e"):
            self.app().control.send(RESOURCE_THUMBNAIL, {"resourceId": picture})
        wait_until(lambda: sum("<- resource-thumbnail" in line for line in self.host.lines) == 3, "the requests")

        self.assert_ends()


if __name__ == "__main__":
    unittest.main()
