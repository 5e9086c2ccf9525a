#!/usr/bin/python3
"""Central control and the FP controller as strangers: a flood, shutdown, packets and reconnects."""

import json
import socket
import subprocess
import threading
import unittest

from Support import (CENTRAL_PORT, FP_PORT, PATIENCE, App, Central, Folder, FPController, ShowHost, envelope, environment,
                     showhost_command, showremote, wait_until)

HEARTBEAT, PICTURE_ADJUSTMENT = 0x001, 0x112

SHARED, ENDED, CONTROLLER = "127.0.0.53", "127.0.0.54", "127.0.0.55"


def is_answered(central, datagram):
    """Not while the system has no room for one more datagram."""
    try:
        return central.exchange(datagram) is not None
    except TimeoutError:
        return False


class CentralControlTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = cls.enterClassContext(Folder())
        cls.host = cls.enterClassContext(ShowHost(SHARED, folder / "state", "--quiet"))

    def test_the_ready_line_tells_the_channel(self):
        self.host.wait_for_line(lambda line: f"central control {SHARED}:{CENTRAL_PORT}" in line, "the channel")

    def test_a_flood_leaves_the_app_and_others_answered(self):
        def flood():
            with Central(SHARED) as central:
                central.socket.settimeout(0)
                for _ in range(100_000):
                    try:
                        central.socket.send(b"getBlackAll")
                    except BlockingIOError:
                        pass

        flooder = threading.Thread(target=flood)
        flooder.start()
        with App(SHARED) as app:
            while flooder.is_alive():
                app.control.send(HEARTBEAT)
                self.assertEqual(app.control.receive()[1], {"result": 1})
        flooder.join()
        with Central(SHARED) as central:
            central.socket.settimeout(0.2)
            wait_until(lambda: is_answered(central, b"getBlackAll"), "an answer after the flood")

    def test_showremote_shows_the_answer_and_fails_on_a_refusal(self):
        cases = {("getBlackAll",): 0, ("getBlackAll", '{"row": 1}'): 0, ("no-keyword",): 1, ("--raw", "{"): 0}
        for arguments, code in cases.items():
            with self.subTest(arguments=arguments):
                result = showremote("central", "--host", SHARED, *arguments)

                self.assertEqual(result.returncode, code, result.stderr)
                self.assertTrue(result.stdout.startswith(f"answer from {SHARED}:{CENTRAL_PORT}\n"))
        self.assertRegex(showremote("central", "--list").stdout, "(?m)^0x193  getBlackAll$")


class ProcessTest(unittest.TestCase):
    def setUp(self):
        self.folder = self.enterContext(Folder())

    def test_central_control_ends_the_host(self):
        for keyword in (b"shutdown", b'{"cmd": "CloseSoftware"}'):
            with ShowHost(ENDED, self.folder / "state") as host, Central(ENDED) as central:
                central.socket.send(keyword)

                self.assertEqual(host.ended(), 0, keyword)

    def test_a_port_that_is_taken_is_told_with_its_address(self):
        with socket.socket(type=socket.SOCK_DGRAM) as taken:
            taken.bind((ENDED, CENTRAL_PORT))
            result = subprocess.run(showhost_command(ENDED, self.folder / "state"), capture_output=True,
                                    encoding="utf-8", timeout=PATIENCE, env=environment())

        self.assertEqual(result.returncode, 1)
        self.assertIn(f"{ENDED}:{CENTRAL_PORT}", result.stderr)

    def test_the_option_goes_over_the_settings_for_the_fp_controller(self):
        settings = self.folder / "settings.json"
        settings.write_text(json.dumps({"fp": {"address": CONTROLLER, "port": FP_PORT + 90}}))
        with FPController(CONTROLLER, FP_PORT + 90) as named, FPController(CONTROLLER) as given:
            with ShowHost(ENDED, self.folder / "state", "--settings", settings):
                named.accept().close()
            with ShowHost(ENDED, self.folder / "state", "--settings", settings, "--fp", f"{CONTROLLER}:{FP_PORT}"):
                given.accept().close()


class FPTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = cls.enterClassContext(Folder())
        cls.host = cls.enterClassContext(ShowHost(SHARED, folder / "state", "--fp", f"{CONTROLLER}:{FP_PORT}"))

    def test_packets_are_answered_under_their_code_and_the_host_comes_back(self):
        with FPController(CONTROLLER) as controller:
            for _ in range(2):
                channel = controller.accept()
                packet = envelope(PICTURE_ADJUSTMENT, {"id": 1})
                channel.socket.sendall(packet[:5])
                channel.socket.sendall(packet[5:] + packet)
                self.assertEqual([channel.receive()[0] for _ in range(2)], [PICTURE_ADJUSTMENT] * 2)
                channel.close()

    def test_showremote_shows_the_reply(self):
        result = showremote("fp", "--address", CONTROLLER, "picture-adjustment")

        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertIn("<- picture-adjustment (0x112) on FP", result.stdout)


if __name__ == "__main__":
    unittest.main()
