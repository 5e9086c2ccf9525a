#!/usr/bin/python3
"""An evening with the demo show: one long test with an app, central control, the cloud and devices at the same time.

The peers are independent of the host's sources: curl, the package zentravox, a pseudo-terminal and sockets.
"""

import json
import os
import select
import socket
import subprocess
import time
import tty
import unittest
from concurrent.futures import ThreadPoolExecutor
from urllib.parse import quote

from Support import TIMEOUT, Folder, ShowHost, copy_demo_show, environment, log_in
from zentravox import App, CentralControl, CloudService, discover
from zentravox.app import HEARTBEAT
from zentravox.wire import CLOUD_PORT, FTP_PORT, REPLY, picture_size

HOST, FIRST_APP, SECOND_APP, DEVICE, CLOUD = (f"127.0.0.{number}" for number in range(111, 116))
DEVICE_PORT = 25168

SHUT_DOWN, APP_GONE, PROJECT_LIST, MEDIA_THUMBNAIL, MEDIA_LIST = 0x011, 0x012, 0x109, 0x118, 0x200
SCENES, SCENE_PLAY, SCENE_THUMBNAIL, RESOURCE_LIST, RESOURCE_THUMBNAIL = 0x300, 0x306, 0x308, 0x400, 0x403
RESOURCE_USED, RESOURCE_DEMUXED, INFORMATION, EXPORT = 0x421, 0x422, 0x16, 0x19
SUCCESS, WRONG_PASSWORD, ANOTHER_APP = 0, 2, 3
SCENE_CHANGED = (SCENE_PLAY, {"result": 1})


class Tablet(App):
    """An app that sends heartbeats."""

    def __init__(self, source):
        super().__init__(HOST, source)
        self.start_heartbeats()

    def notices(self, count):
        """Waits for this many notices; returns all messages that have arrived."""
        return [self.wait_for_notice() for _ in range(count)] + self.control.unread()

    def picture_text(self, code, **body):
        id, picture = self.picture(code, **body)
        kind, width, height = picture_size(picture)
        return f"id {id}, {kind} {width} x {height}"

    def used(self):
        return {item["resourceId"] for item in self.request(RESOURCE_LIST)["resourceMgrData"] if item["isUsedFlag"]}


class EveningTest(unittest.TestCase):
    def setUp(self):
        self.folder = self.enterContext(Folder())
        self.lights = self.new_lights()
        self.curtain, curtain_port = os.openpty()
        tty.setraw(curtain_port)
        show = copy_demo_show(self.folder, {"/tmp/curtain": os.ttyname(curtain_port), '"127.0.0.1"': f'"{DEVICE}"',
                                            "25169": str(self.lights.getsockname()[1])})
        self.devices = show.with_name("Devices.json")
        self.cloud_service = self.enterContext(CloudService(CLOUD))
        self.host = self.enterContext(ShowHost(HOST, self.folder / "state", "--cloud", f"ws://{CLOUD}:{CLOUD_PORT}", show=show))
        self.central = self.enterContext(CentralControl(HOST))

    def test_an_evening(self):
        self.assertEqual(discover(HOST)["name"], socket.gethostname())
        self.cloud = self.enterContext(self.cloud_service.accept())
        with Tablet(FIRST_APP) as tablet:
            self.assertEqual(log_in(tablet, password="Demo")["result"], WRONG_PASSWORD)
            self.assertEqual(log_in(tablet), {"result": SUCCESS, "account": "demo", "access": 1})
            self.look_around(tablet)
            self.upload(tablet)
            self.change_scenes_and_devices(tablet)
            self.work_together(tablet)
            with Tablet(SECOND_APP) as second:
                self.take_over_and_stop_heartbeats(tablet, second)
        with Tablet(FIRST_APP) as tablet:
            self.assertEqual(log_in(tablet)["result"], SUCCESS)
            tablet.control.send(SHUT_DOWN)
            self.assertEqual(self.host.ended(), 0)

    def look_around(self, tablet):
        self.assertEqual(tablet.request(PROJECT_LIST)["0"]["projectName"], "Opening gala")
        scenes = tablet.request(SCENES)["sceneMgrData"]
        self.group = scenes["currentSceneGroupId"]
        self.scenes = [scenes["sceneGroupDataList"]["0"][str(position)]["sceneId"] for position in range(3)]
        self.assertEqual(scenes["currentSceneId"], self.scenes[0])
        medium = tablet.request(MEDIA_LIST)["mediaList"]["0"]
        self.assertEqual(medium["mediaName"], "Harbour at dawn")
        for code, kind, body in ((SCENE_THUMBNAIL, "JPEG", {"sceneGroupId": self.group, "sceneId": self.scenes[1]}),
                                 (MEDIA_THUMBNAIL, "PNG", {"mediaId": medium["mediaId"]}),
                                 (RESOURCE_THUMBNAIL, "PNG", {"resourceId": medium["resourceId"]})):
            self.assertEqual(tablet.picture_text(code, **body), f"id {list(body.values())[-1]}, {kind} 320 x 180")

    def upload(self, tablet):
        clip, name = self.folder / "clip", "Zugabe Grüße 舞台 🎬 #1%.mp4"
        clip.write_bytes(os.urandom(300_000))
        subprocess.run(["curl", "-sS", "--noproxy", "*", "--user", "demo:demo", "-T", clip,
                        f"ftp://{HOST}:{FTP_PORT}/{quote(name)}"], check=True, timeout=TIMEOUT, env=environment())
        (code, notice), = tablet.notices(1)
        added = tablet.request(RESOURCE_LIST)["resourceMgrData"][-1]
        self.assertEqual((code, notice["dexumerFlag"]), (RESOURCE_DEMUXED, True))
        self.assertEqual((added["resourceId"], added["resourceName"], added["resourceType"]), (notice["resId"], name, 0))
        self.assertEqual((self.folder / "state" / "Resources" / name).read_bytes(), clip.read_bytes())

    def play(self, tablet, group, scene, by_app=False):
        """The app receives a notice of the scene change, then of the changed use of resources, and nothing else."""
        before = tablet.used()
        position = {"sceneGrpCol": group, "sceneCol": scene}
        answer = tablet.request(SCENE_PLAY, position)["errorMsg"] if by_app else self.central.ask(cmd="playScene", **position)
        self.assertEqual(answer, "SUCCESS")
        after = tablet.used()
        notices = tablet.notices(1 + len(before ^ after))
        self.assertTrue(before ^ after)
        self.assertEqual(notices[0], SCENE_CHANGED)
        self.assertCountEqual([(code, body["resId"], body["usedFlag"]) for code, body in notices[1:]],
                              [(RESOURCE_USED, resource, resource in after) for resource in before ^ after])
        self.assertEqual(self.central.ask(cmd="getPlayingChapter"), {"playingChapter": position})

    def new_lights(self):
        lights = self.enterContext(socket.socket(type=socket.SOCK_DGRAM))
        lights.settimeout(TIMEOUT)
        lights.bind((DEVICE, 0))
        return lights

    def assert_devices_receive(self, *datagrams, curtain=b""):
        for expected in datagrams:
            datagram, (_, port) = self.lights.recvfrom(65535)
            self.assertEqual((datagram, port), (expected, DEVICE_PORT))
        received = b""
        while select.select([self.curtain], [], [], TIMEOUT if len(received) < len(curtain) else 0)[0]:
            received += os.read(self.curtain, 4096)
        self.assertEqual(received, curtain)

    def change_scenes_and_devices(self, tablet):
        self.play(tablet, 1, 3, by_app=True)
        self.assert_devices_receive(b"HOUSE 50\r", b"HOUSE 0\r")
        self.play(tablet, 2, 1)
        self.assert_devices_receive(b"HOUSE 0\r", curtain=b"4f50454e")
        self.play(tablet, 1, 1)
        self.assert_devices_receive(b"HOUSE 100\r", curtain=b"CLOSE\r")
        # The lights get another port and the curtain is deleted: this takes effect at once and is saved.
        lights, curtain = json.loads(self.devices.read_text())["ExControlDevData"]
        self.lights = self.new_lights()
        lights["Port"] = self.lights.getsockname()[1]
        for line in ("put " + json.dumps(lights), "delete " + curtain["DevId"], 'put {"DevId": "7"}'):
            self.host.write_line("device " + line)
        self.host.wait_for_line(lambda line: line.startswith("device put: DevId: must be an id"), "the error")
        self.play(tablet, 1, 3)
        self.play(tablet, 1, 1)
        self.assert_devices_receive(b"HOUSE 50\r", b"HOUSE 0\r", b"HOUSE 100\r")
        self.assertEqual(json.loads(self.devices.read_text())["ExControlDevData"], [lights])

    def work_together(self, tablet):
        """All send requests at once, and each receives the correct answers to its own."""
        def central():
            for number in range(101):
                self.assertEqual(self.central.ask(cmd="globalBrightness", param=number), "SUCCESS")
                self.assertEqual(self.central.ask(cmd="getGlobalBrightness"), {"globalBrightness": number})

        def cloud():
            for number in range(0, 101, 5):
                self.cloud.send(cmd="globalVolume", param=number)
                self.cloud.send(cmdType=INFORMATION)
                self.assertEqual(json.loads(self.cloud.receive().data)["volume"], number)
            self.cloud.send(cmdType=EXPORT)
            while (route := self.cloud.receive().route) != 1:
                self.assertEqual(route, 2)

        def app():
            for number in range(30):
                scene = self.scenes[number % 3]
                self.assertIn(scene, tablet.picture_text(SCENE_THUMBNAIL, sceneGroupId=self.group, sceneId=scene))
                self.assertEqual(tablet.request(SCENES)["sceneMgrData"]["currentSceneId"], self.scenes[0])

        with ThreadPoolExecutor() as pool:
            for job in [pool.submit(job) for job in (central, cloud, app)]:
                job.result()

    def take_over_and_stop_heartbeats(self, first, second):
        self.assertEqual(log_in(second)["result"], ANOTHER_APP)
        self.assertEqual(log_in(second, force=1)["result"], SUCCESS)
        self.assertEqual(first.notices(1), [(APP_GONE, None)])
        first.stop_heartbeats()
        second.stop_heartbeats()
        start = time.monotonic()
        self.assertIsNone(second.control.receive())
        self.assertTrue(all(code == REPLY | HEARTBEAT for code, _ in iter(second.bulk.receive, None)))
        self.assertGreater(time.monotonic() - start, 3)
        self.host.wait_for_line(lambda line: line.endswith("host: the app disconnected"), "the notice that the app disconnected")


if __name__ == "__main__":
    unittest.main()
