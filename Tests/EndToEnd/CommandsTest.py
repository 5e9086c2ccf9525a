#!/usr/bin/python3
"""Tests what commands of remotes change."""

import ftplib
import io
import unittest

from Support import TIMEOUT, Folder, ShowHost, wait_until
from zentravox import App, CentralControl
from zentravox.wire import FTP_PORT, REPLY

HOST = "127.0.0.46"
SCREEN_LIST, SNAPSHOT, MEDIA_LIST, RESOURCE_LIST, RESOURCE_ITEM = 0x101, 0x100, 0x200, 0x400, 0x401


class CommandsTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = cls.enterClassContext(Folder())
        cls.host = cls.enterClassContext(ShowHost(HOST, cls.folder))

    def setUp(self):
        self.app = self.enterContext(App(HOST))
        self.central = self.enterContext(CentralControl(HOST))
        self.central.ask(cmd="switchProject", param=0)
        self.central.ask(cmd="openHDR")
        self.central.ask(cmd="playScene", sceneGrpCol=1, sceneCol=1)

    def ask_app(self, code):
        """Returns the answer; skips notices of earlier commands."""
        self.app.control.send(code)
        while True:
            answer, body = self.app.control.receive()
            if answer == REPLY | code:
                return body

    def all_states(self):
        stage = self.ask_app(SNAPSHOT)
        media = self.ask_app(MEDIA_LIST)
        for number in range(media["mediaList"]["count"]):
            media["mediaList"][str(number)]["currentTime"] = "any"
        return stage, media, self.ask_app(SCREEN_LIST), [self.central.ask(cmd=query) for query in (
            "getHDR", "getProjectName", "getGlobalBrightness", "getScreenStateByIndex")]

    def test_the_next_query_returns_what_a_command_has_changed(self):
        for command, query, answer in (
                ({"cmd": "pauseAll"}, "getGlobalPlayState", {"GlobalPlayState": "Pause"}),
                ({"cmd": "continueAll"}, "getGlobalPlayState", {"GlobalPlayState": "Play"}),
                ({"cmd": "pauseAll", "param": 2}, "getGlobalPlayState", {"GlobalPlayState": "Stop"}),
                ({"cmd": "playScene", "sceneGrpCol": 2, "sceneCol": 1}, "getPlayingChapter",
                 {"playingChapter": {"sceneGrpCol": 2, "sceneCol": 1}}),
                ({"cmd": "playNext"}, "getPlayingChapter", {"playingChapter": {"sceneGrpCol": 2, "sceneCol": 2}}),
                ({"cmd": "playLast"}, "getPlayingChapter", {"playingChapter": {"sceneGrpCol": 2, "sceneCol": 1}}),
                ({"cmd": "globalMute"}, "globalMuteState", {"globalMuteState": "mute"}),
                ({"cmd": "globalUnMute"}, "globalMuteState", {"globalMuteState": "unmute"}),
                ({"cmd": "globalBrightness", "param": 40}, "getGlobalBrightness", {"globalBrightness": 40}),
                ({"cmd": "blackAll"}, "getBlackAll", {"blackState": "balck"}),
                ({"cmd": "blackAll", "param": 0}, "getBlackAll", {"blackState": "unBlack"}),
                ({"cmd": "CloseAllScreen"}, "getScreenStateByIndex", {"screenState": "Closed"}),
                ({"cmd": "OpenAllScreen"}, "getScreenStateByIndex", {"screenState": "Opened"}),
                ({"cmd": "switchSoftwareHDR"}, "getHDR", {"HDRState": "opened", "HDRType": "software"}),
                ({"cmd": "closeHDR"}, "getHDR", {"HDRState": "closed", "HDRType": "software"}),
                ({"cmd": "switchProject", "param": 1}, "getProjectName", {"ProjectName": "Matinée für Familien.zxc"}),
                ({"cmd": "switchProject", "param": 0}, "getPlayingChapter",
                 {"playingChapter": {"sceneGrpCol": 0, "sceneCol": 0}})):
            with self.subTest(command):
                self.assertEqual(self.central.ask(**command), "SUCCESS")
                self.assertEqual(self.central.ask(cmd=query), answer)
        for command, volume in (({"cmd": "globalVolume", "param": 30}, 0.3), ({"cmd": "adjustVolume", "param": 90}, 1)):
            self.assertEqual(self.central.ask(**command), "SUCCESS")
            self.assertAlmostEqual(self.ask_app(SNAPSHOT)["stageData"]["globalVolumn"], volume, 5)

    def test_a_refused_command_changes_nothing(self):
        self.central.ask(cmd="closeHDR")
        self.central.ask(cmd="playScene", sceneGrpCol=1, sceneCol=3)  # the last scene of the group, without media
        self.central.ask(cmd="pauseAll")
        before = self.all_states()

        for text, commands in {
                "ERROR: out of range": [{"cmd": "globalVolume", "param": -1}, {"cmd": "adjustVolume", "param": 101},
                                        {"cmd": "switchProject", "param": 99}, {"cmd": "playNext"},
                                        {"cmd": "globalBrightness", "param": 1000000}],
                "row or col error": [{"cmd": "playScene", "sceneCol": 0}, {"cmd": "playScene", "sceneCol": 99},
                                     {"cmd": "switchSceneGroup", "sceneGrpCol": 99}],
                "no clip on this position": [{"cmd": "playScene", "sceneId": "00000000-0000-0000-0000-000000000001"}],
                "not a ppt": [{"cmd": "turnAllPPT"}],
                "COMMAND ERROR": [{"cmd": "stopWnd"}],
                "PARAMETER ERROR": [{"cmd": "globalVolume"}, {"cmd": "globalVolume", "respon": {"a": 1}, "errorMsg": "b"}, {"cmd": "globalVolume", "param": "50"},
                                    {"cmd": "globalVolume", "param": 0.5}, {"cmd": "globalVolume", "param": 1e300},
                                    {"cmd": "openHDR", "param": 2}, {"cmd": "playScene"}, {"cmd": "switchProject"}],
                "ERROR: HDR not on": [{"cmd": "switchHardwareHDR"}]}.items():
            for command in commands:
                with self.subTest(command):
                    self.assertEqual(self.central.ask(**command), text)
        self.assertEqual(self.all_states(), before)

    def resources(self):
        return {item["resourceName"]: item for item in self.ask_app(RESOURCE_LIST)["resourceMgrData"]}

    def upload(self, name, content):
        with ftplib.FTP(timeout=TIMEOUT) as ftp:
            ftp.connect(HOST, FTP_PORT)
            ftp.login("demo", "demo")
            ftp.storbinary(f"STOR {name}", io.BytesIO(content))
        wait_until(lambda: name in self.resources(), f"{name} is a playable resource")
        return self.resources()[name]

    def test_only_an_upload_creates_a_resource_and_a_huge_picture_is_reported_once(self):
        before = self.resources()
        picture = self.folder / "not uploaded.gif"
        picture.write_bytes(gif(10, 10))
        self.app.control.send(RESOURCE_ITEM, {"resourcePath": str(picture)})
        self.assertEqual(self.resources(), before)

        small = self.upload("small.gif", gif(10, 10))
        self.assertEqual((small["resolutionW"], small["resolutionH"]), (10, 10))
        huge = self.upload("huge.gif", gif(10000, 10000))
        self.assertEqual((huge["resolutionW"], huge["resolutionH"]), (0, 0))
        self.assertEqual(len(self.resources()), len(before) + 2)
        complaints = [line for line in self.host.lines if "megapixels" in line]
        self.assertEqual(len(complaints), 1, complaints)
        self.assertIn("10000 x 10000", complaints[0])


def gif(width, height):
    """Returns a picture of this size with data of the first pixel only."""
    size = width.to_bytes(2, "little") + height.to_bytes(2, "little")
    return b"GIF89a" + size + bytes.fromhex("800000 000000ffffff 2c00000000 01000100 00 02024401 00 3b")


if __name__ == "__main__":
    unittest.main()
