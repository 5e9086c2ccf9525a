#!/usr/bin/python3
"""External control devices from outside: what a scene's change sends them, and changing them while the host runs."""

import json
import os
import signal
import socket
import subprocess
import threading
import unittest

from Support import PATIENCE, App, Folder, ShowHost, discover, environment, wait_until

HOST, BARE_HOST, DEVICE = "127.0.0.71", "127.0.0.75", "127.0.0.72"
SCENE_PLAY, LOCAL_PORT = 0x306, 25168
PROJECT, GROUP, FIRST, SECOND, LIGHTS, CURTAIN, ON, OFF = (
    f"00000000-0000-4000-8000-00000000000{number}" for number in range(1, 9))


def commands(on, off):
    return [{"CmdId": f"{{{ON}}}", "Data": on}, {"CmdId": f"{{{OFF}}}", "Data": off, "Format": "hexadecimal text"}]


def lights(port):
    return {"DevId": f"{{{LIGHTS}}}", "Name": "Lights", "Type": "udp", "Ip": DEVICE, "Port": port,
            "Commands": commands("PWR ON", "PWR OFF")}


def curtain(port_name):
    return {"DevId": f"{{{CURTAIN}}}", "Name": "Curtain", "Type": "serial", "PortName": str(port_name),
            "LineSettings": "19200,8,E,1", "Commands": commands("Ouvré\r", "ZU")}


def write_show(folder, devices):
    def entries(*pairs):
        return [{"device": device, "command": command} for device, command in pairs]

    scenes = [{"id": FIRST, "name": "First", "startCommands": entries((LIGHTS, ON), (CURTAIN, ON)),
               "endCommands": entries((CURTAIN, OFF), (LIGHTS, OFF))},
              {"id": SECOND, "name": "Second"}]
    show = {"name": "Devices", "devices": "Stage.json", "projects": [
        {"id": PROJECT, "name": "One", "groups": [{"id": GROUP, "name": "All", "scenes": scenes}]}]}
    (folder / "Stage.json").write_text(json.dumps({"ExControlDevData": devices}))
    path = folder / "show.zxc"
    path.write_text(json.dumps(show))
    return path


class UdpDevice:
    def __init__(self):
        self.socket = socket.socket(type=socket.SOCK_DGRAM)
        self.socket.settimeout(PATIENCE)
        self.socket.bind((DEVICE, 0))
        self.port = self.socket.getsockname()[1]

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.socket.close()

    def receive(self):
        datagram, (_, port) = self.socket.recvfrom(65535)
        return datagram, port


class SerialDevice:
    """showremote as the device: what it prints is what it was sent."""

    def __init__(self, link):
        self.process = subprocess.Popen([os.environ["SHOWREMOTE"], "device", "serial", "--link", str(link)],
                                        stdout=subprocess.PIPE, encoding="utf-8", env=environment())
        self.lines = []
        self._reader = threading.Thread(target=lambda: self.lines.extend(iter(self.process.stdout.readline, "")))
        self._reader.start()
        wait_until(lambda: link.exists(), "the serial device")

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.send_signal(signal.SIGINT)
        self.code = self.process.wait(PATIENCE)
        self._reader.join(PATIENCE)
        self.process.stdout.close()

    def has_received(self, text):
        return any(line.strip() == f"text: {text}" for line in self.lines)


class DevicesTest(unittest.TestCase):
    def setUp(self):
        self.folder = self.enterContext(Folder())

    def play(self, app, scene):
        app.control.send(SCENE_PLAY, {"sceneId": scene})
        self.assertEqual(app.control.receive()[0], 0x10000000 | SCENE_PLAY)

    def test_a_scene_change_by_an_app_reaches_both_devices_and_changes_of_them_hold_at_once(self):
        link, second = self.folder / "curtain", self.enterContext(UdpDevice())
        with UdpDevice() as first, SerialDevice(link) as serial, ShowHost(
                HOST, self.folder / "state", show=write_show(self.folder, [lights(first.port), curtain(link)])) as host, \
                App(HOST) as app:
            self.play(app, FIRST)
            self.assertEqual(first.receive(), (b"PWR ON", LOCAL_PORT))
            wait_until(lambda: serial.has_received("Ouvré\\r"), "the start command on the serial line")
            self.play(app, SECOND)
            self.assertEqual(first.receive(), (b"505752204f4646", LOCAL_PORT))
            wait_until(lambda: serial.has_received("5a55"), "the end command on the serial line")

            host.tell("device put " + json.dumps(lights(second.port)))
            host.tell(f"device delete {CURTAIN}")
            host.tell('device put {"DevId": "7"}')
            host.wait_for_line(lambda line: line.startswith("device put: DevId: must be an id"), "the complaint")
            self.play(app, FIRST)
            self.assertEqual(second.receive(), (b"PWR ON", LOCAL_PORT))

        self.assertEqual(serial.code, 0)
        self.assertFalse(link.is_symlink())
        self.assertEqual(sum("Ouvré" in line for line in serial.lines), 1)
        kept = json.loads((self.folder / "Stage.json").read_text())["ExControlDevData"]
        self.assertEqual(kept, [lights(second.port)])

    def test_a_host_whose_input_is_closed_or_empty_serves_as_any_other(self):
        for closed in (True, False):
            with self.subTest(closed=closed), ShowHost(BARE_HOST, self.folder / "state", show=write_show(self.folder, []),
                                                       stdin=None if closed else subprocess.DEVNULL) as host:
                for _ in range(3):
                    self.assertTrue(discover(BARE_HOST)["name"])
                self.assertIsNone(host.process.poll())


if __name__ == "__main__":
    unittest.main()
