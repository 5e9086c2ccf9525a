#!/usr/bin/python3
"""Commands from remotes: what they change."""

import unittest

from Support import REPLY, App, Central, Folder, ShowHost

OBEDIENT = "127.0.0.46"
SCREEN_LIST, SNAPSHOT, MEDIA_LIST = 0x101, 0x100, 0x200


class ObedienceTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.enterClassContext(ShowHost(OBEDIENT, cls.enterClassContext(Folder())))

    def setUp(self):
        self.app = self.enterContext(App(OBEDIENT))
        self.central = self.enterContext(Central(OBEDIENT))
        self.central.ask(cmd="switchProject", param=0)
        self.central.ask(cmd="playScene", sceneGrpCol=1, sceneCol=1)

    def ask_app(self, code):
        """The answer, past the notices of what commands have done."""
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

    def test_what_a_command_changes_the_next_query_tells(self):
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

    def test_what_cannot_be_done_changes_nothing(self):
        self.central.ask(cmd="closeHDR")
        self.central.ask(cmd="playScene", sceneGrpCol=1, sceneCol=3)  # the group's last, with nothing on the stage
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
                "PARAMETER ERROR": [{"cmd": "globalVolume"}, {"cmd": "globalVolume", "param": "50"},
                                    {"cmd": "globalVolume", "param": 0.5}, {"cmd": "globalVolume", "param": 1e300},
                                    {"cmd": "openHDR", "param": 2}, {"cmd": "playScene"}, {"cmd": "switchProject"}],
                "ERROR: HDR not on": [{"cmd": "switchHardwareHDR"}]}.items():
            for command in commands:
                with self.subTest(command):
                    self.assertEqual(self.central.ask(**command), text)
        self.assertEqual(self.all_states(), before)


if __name__ == "__main__":
    unittest.main()
