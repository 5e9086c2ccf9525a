"""Rules whose checks change the show. Each check restores what it changed; media that were playing start again."""

from __future__ import annotations

import contextlib
import json
from collections.abc import Iterator
from typing import Any, NamedTuple

from ..app import Refused
from ..wire import REPLY, discover
from .rule import Failure, Register, expect
from .session import NotTried, Session

SET_HOST_NAME, HOST_NAME, BRIGHTNESS, SCENE_PLAY, RESOURCE_USED = 0x004, 0x005, 0x113, 0x306, 0x421
PLAY, PAUSE, STOP = range(3)
# The snapshot's volumes are slightly above the stored ones.
VOLUME_TOLERANCE = 0.005
MAX_NAME = 255
PLAY_STATES = ("Play", "Pause", "Stop")

app = Register("app control")
central = Register("central control")
cloud = Register("cloud")
fp = Register("FP")


class State(NamedTuple):
    """What the checks change and restore."""

    name: str
    project: str
    scene: tuple[str, str]
    playing: int
    volume: int
    muted: bool
    brightness: int
    black: bool
    hdr: tuple[str, str]


def command(session: Session, keyword: str, **keys: Any) -> None:
    """Sends a command of central control. Raises Refused."""
    session.central().command(keyword, **keys)


def volume(session: Session) -> float:
    return float(session.stage()["globalVolumn"])


def read_state(session: Session) -> State:
    muted = session.query("globalMuteState")["globalMuteState"] == "mute"
    if muted:  # a muted show has the volume 0
        command(session, "globalUnMute")
    stage = session.stage()
    if muted:
        command(session, "globalMute")
    hdr = session.query("getHDR")
    return State(session.ask("host-name-and-version")["name"], session.ask("project-list")["currentProId"],
                 (stage["currentSceneGroupId"], stage["currentSceneId"]), stage["globalPlayState"],
                 round(100 * stage["globalVolumn"]), muted, session.query("getGlobalBrightness")["globalBrightness"],
                 stage["blackScreen"], (hdr["HDRState"], hdr["HDRType"]))


def restore(session: Session, before: State) -> None:
    now = read_state(session)
    if now.name != before.name:
        session.exchange("app", SET_HOST_NAME, {"name": before.name})
    if now.project != before.project:
        session.app().request("switch-project", projectId=before.project)
    if now.scene != before.scene or now.project != before.project:
        session.app().request("scene-play", sceneGroupId=before.scene[0], sceneId=before.scene[1])
        now = read_state(session)
    if now.playing != before.playing:
        session.app().request("play-control", param=before.playing)
    command(session, "globalVolume", param=before.volume)
    command(session, "globalBrightness", param=before.brightness)
    command(session, "globalMute" if before.muted else "globalUnMute")
    command(session, "blackAll", param=int(before.black))
    if now.hdr != before.hdr:
        command(session, "openHDR")
        command(session, "switchSoftwareHDR" if before.hdr[1] == "software" else "switchHardwareHDR")
        command(session, "openHDR" if before.hdr[0] == "opened" else "closeHDR")
    after = read_state(session)
    expect(after == before, f"the state before the check, {before}", after)


@contextlib.contextmanager
def restored(session: Session) -> Iterator[State]:
    """Restores the show's state at the end."""
    before = read_state(session)
    try:
        yield before
    finally:
        restore(session, before)


def expect_volume(session: Session, percent: int, what: str) -> None:
    session.wait_until(lambda: abs(volume(session) - percent / 100) < VOLUME_TOLERANCE, f"the volume {percent} % after {what}")


@central("CHG-001", "globalVolume sets the volume that the app reads.", changes=True)
def set_volume(session: Session) -> None:
    with restored(session):
        command(session, "globalUnMute")
        for percent in (0, 1, 37, 100):
            command(session, "globalVolume", param=percent)
            expect_volume(session, percent, "globalVolume")


@central("CHG-002", "adjustVolume adds to the volume, between 0 and 100.", changes=True)
def adjust_volume(session: Session) -> None:
    with restored(session):
        command(session, "globalUnMute")
        command(session, "globalVolume", param=50)
        for change, percent in ((-20, 30), (5, 35), (100, 100), (-100, 0)):
            command(session, "adjustVolume", param=change)
            expect_volume(session, percent, f"adjustVolume {change}")


@central("CHG-003", "globalBrightness sets the brightness that getGlobalBrightness returns.", changes=True)
def set_brightness(session: Session) -> None:
    with restored(session):
        for percent in (0, 41, 100):
            command(session, "globalBrightness", param=percent)
            expect_query(session, "getGlobalBrightness", {"globalBrightness": percent})


def expect_query(session: Session, keyword: str, expected: dict[str, Any]) -> None:
    received = session.query(keyword)
    expect(received == expected, f"{keyword}: {json.dumps(expected)}", json.dumps(received))


@central("CHG-004", "globalMute and globalUnMute set the state that globalMuteState returns; a muted show has the volume 0.",
         changes=True)
def mute(session: Session) -> None:
    with restored(session):
        command(session, "globalVolume", param=50)
        command(session, "globalMute")
        expect_query(session, "globalMuteState", {"globalMuteState": "mute"})
        expect(volume(session) == 0, "the volume 0 while muted", volume(session))
        command(session, "globalUnMute")
        expect_query(session, "globalMuteState", {"globalMuteState": "unmute"})
        expect_volume(session, 50, "globalUnMute")


@central("CHG-005", "blackAll sets the state that getBlackAll and the app read.", changes=True)
def black(session: Session) -> None:
    with restored(session):
        for param, state in ((1, "balck"), (0, "unBlack")):
            command(session, "blackAll", param=param)
            expect_query(session, "getBlackAll", {"blackState": state})
            expect(session.stage()["blackScreen"] == bool(param), f"blackScreen {bool(param)}", session.stage()["blackScreen"])


@central("CHG-006", "pauseAll, continueAll and 0x104 set the state that the queries return.", changes=True)
def play_state(session: Session) -> None:
    with restored(session) as before:
        if before.playing == STOP:
            raise NotTried("the show is stopped")
        for keyword, state in (("pauseAll", PAUSE), ("continueAll", PLAY), ("pauseAll", PAUSE)):
            command(session, keyword)
            expect_query(session, "getGlobalPlayState", {"GlobalPlayState": PLAY_STATES[state]})
            expect(session.stage()["globalPlayState"] == state, f"globalPlayState {state}", session.stage()["globalPlayState"])
        session.app().request("play-control", param=PLAY)
        expect_query(session, "getGlobalPlayState", {"GlobalPlayState": "Play"})


def other_scene(session: Session, before: State) -> tuple[int, int, dict[str, Any]]:
    """Returns group, position and scene of a scene that isn't playing; numbers count from 1."""
    require_scene(before)
    for number, group in enumerate(session.groups(), 1):
        for position, scene in enumerate(group["scenes"], 1):
            if scene["sceneId"] != before.scene[1]:
                return number, position, scene
    raise NotTried("the project has no second scene")


def require_scene(before: State) -> None:
    if not int(before.scene[1].replace("-", "") or "0", 16):
        raise NotTried("no scene plays")


@app("CHG-007", "0x306 plays the scene, is answered, and every app receives the notice 0x306 once.", changes=True)
def play_scene(session: Session) -> None:
    with restored(session) as before:
        group, position, scene = other_scene(session, before)
        playing, other = session.listener(), session.listener()
        reply = playing.request("scene-play", sceneGrpCol=group, sceneCol=position)
        expect(reply == {"sceneGrpCol": group, "sceneCol": position, "result": 0, "errorMsg": "SUCCESS"},
               "the request's keys with SUCCESS", reply)
        for peer in (playing, other):
            notice = peer.wait_for_notice("scene-play")
            session.contract.check_value({"$ref": "#/$defs/done"}, notice.body, "the notice 0x306")
        current = session.stage()["currentSceneId"]
        expect(current == scene["sceneId"], f"the scene {scene['sceneId']}", current)
        expect_query(session, "getPlayingChapter", {"playingChapter": {"sceneGrpCol": group, "sceneCol": position}})
        other.request("heartbeat")
        more = [message for message in other.control.unread() if message.code == SCENE_PLAY | REPLY]
        expect(not more, "one notice 0x306", more)


@app("CHG-008", "Notices of a scene change match the contract, and 0x421 names the resources whose use changed.", changes=True)
def used_notices(session: Session) -> None:
    def used() -> set[str]:
        return {resource["resourceId"] for resource in session.resources() if resource["isUsedFlag"]}

    with restored(session) as before:
        group, position, _ = other_scene(session, before)
        first, listener = used(), session.listener()
        command(session, "playScene", sceneGrpCol=group, sceneCol=position)
        second = used()
        found: set[str] = set()
        for _ in range(1 + len(first ^ second)):
            notice = listener.wait_for_notice()
            session.contract.check_notice(notice.code, json.dumps(notice.body).encode() if notice.body is not None else b"")
            if notice.code == RESOURCE_USED:
                found.add(notice.body["resId"])
                expect(notice.body["usedFlag"] == (notice.body["resId"] in second), "the new usedFlag", notice.body)
        expect(found == first ^ second, f"notices 0x421 of {sorted(first ^ second)}", sorted(found))


@app("CHG-009", "0x306 accepts the ids of scene and group, with or without braces.", changes=True)
def play_scene_by_id(session: Session) -> None:
    with restored(session) as before:
        number, _, scene = other_scene(session, before)
        group = session.groups()[number - 1]["sceneGroupId"]
        for form in ("%s", "{%s}"):
            session.app().request("scene-play", sceneId=form % scene["sceneId"], sceneGroupId=form % group)
            playing = session.stage()["currentSceneId"]
            expect(playing == scene["sceneId"], f"the scene {scene['sceneId']}", playing)


@central("CHG-010", "playNext and playLast play the next and the previous scene of the group.", changes=True)
def next_and_last(session: Session) -> None:
    with restored(session) as before:
        require_scene(before)
        group = next((number for number, group in enumerate(session.groups(), 1) if len(group["scenes"]) > 1), None)
        if group is None:
            raise NotTried("no scene group has two scenes")
        command(session, "playScene", sceneGrpCol=group, sceneCol=1)
        for keyword, position in (("playNext", 2), ("playLast", 1)):
            command(session, keyword)
            expect_query(session, "getPlayingChapter", {"playingChapter": {"sceneGrpCol": group, "sceneCol": position}})


@central("CHG-011", "switchSceneGroup plays the first scene of the group.", changes=True)
def switch_group(session: Session) -> None:
    with restored(session) as before:
        require_scene(before)
        for number, group in enumerate(session.groups(), 1):
            if group["scenes"]:
                command(session, "switchSceneGroup", sceneGrpCol=number)
                expect_query(session, "getPlayingChapter", {"playingChapter": {"sceneGrpCol": number, "sceneCol": 1}})


@central("CHG-012", "openHDR, closeHDR and the kinds of HDR set the state that getHDR returns.", changes=True)
def hdr(session: Session) -> None:
    with restored(session):
        command(session, "openHDR")
        for keyword, kind in (("switchSoftwareHDR", "software"), ("switchHardwareHDR", "hardware")):
            command(session, keyword)
            expect_query(session, "getHDR", {"HDRState": "opened", "HDRType": kind})
        command(session, "closeHDR")
        expect(session.query("getHDR")["HDRState"] == "closed", "closed", session.query("getHDR"))
        answer = session.central().ask(cmd="switchSoftwareHDR")
        expect(answer == "ERROR: HDR not on", "ERROR: HDR not on", answer)


@central("CHG-013", "switchProject opens the project; its first scene is on the stage, stopped.", changes=True)
def switch_project(session: Session) -> None:
    with restored(session) as before:
        require_scene(before)
        projects = session.numbered(session.ask("project-list"))
        other = next((number for number, project in enumerate(projects) if project["projectId"] != before.project), None)
        if other is None:
            raise NotTried("no second project")
        command(session, "switchProject", param=other)
        expect(session.ask("project-list")["currentProId"] == projects[other]["projectId"],
               f"the project {projects[other]['projectName']}", session.ask("project-list")["currentProName"])
        stage = session.stage()
        first = next((scene["sceneId"] for group in session.groups() for scene in group["scenes"]), stage["currentSceneId"])
        expect((stage["currentSceneId"], stage["globalPlayState"]) == (first, STOP), f"the scene {first}, stopped",
               (stage["currentSceneId"], stage["globalPlayState"]))


@app("CHG-014", "0x004 sets the name that 0x005 and discovery return, cut at a character within 255 bytes of UTF-8.",
     changes=True)
def host_name(session: Session) -> None:
    with restored(session):
        for name, stored in (("Stage ü 舞台", "Stage ü 舞台"), ("ü" * 200, "ü" * (MAX_NAME // 2))):
            received = [place for _, place, _ in session.exchange("app", SET_HOST_NAME, {"name": name})]
            expect(received == [REPLY | SET_HOST_NAME, REPLY | HOST_NAME], "the replies 0x004 and 0x005", received)
            names = session.ask("host-name-and-version")["name"], discover(session.target.host, session.target.timeout)["name"]
            expect(names == (stored, stored), stored, names)


@app("CHG-015", "0x004 with an empty name stores nothing and has only the reply 0x005.", changes=True)
def empty_name(session: Session) -> None:
    with restored(session) as before:
        received = [place for _, place, _ in session.exchange("app", SET_HOST_NAME, {"name": ""})]
        expect(received == [REPLY | HOST_NAME], "the reply 0x005", received)
        expect(session.ask("host-name-and-version")["name"] == before.name, before.name, "another name")


@app("CHG-016", "A refused command changes nothing.", changes=True)
def refused_commands(session: Session) -> None:
    with restored(session) as before:
        cases: list[tuple[str, dict[str, Any], str]] = [
                ("globalVolume", {"param": 101}, "ERROR: out of range"), ("globalVolume", {"param": -1}, "ERROR: out of range"),
                ("globalBrightness", {"param": 1000}, "ERROR: out of range"), ("globalVolume", {}, "PARAMETER ERROR"),
                ("globalVolume", {"param": 0.5}, "PARAMETER ERROR"), ("openHDR", {"param": 2}, "PARAMETER ERROR"),
                ("playScene", {}, "PARAMETER ERROR"), ("switchProject", {}, "PARAMETER ERROR"),
                ("switchProject", {"param": 10000}, "ERROR: out of range"),
                ("playScene", {"sceneGrpCol": 1, "sceneCol": 10000}, "row or col error"),
                ("switchSceneGroup", {"sceneGrpCol": 10000}, "row or col error")]
        for keyword, keys, text in cases:
            answer = session.central().ask(cmd=keyword, **keys)
            expect(answer == text, f"{text} for {keyword} {keys}", answer)
        expect(read_state(session) == before, f"the state {before}", read_state(session))


@app("CHG-017", "0x205 without a presentation on the stage is refused with \"not a ppt\".", changes=True)
def turn_pages(session: Session) -> None:
    if any(medium["multiPageResource"] for medium in session.media()):
        raise NotTried("a presentation is on the stage")
    try:
        session.app().request("turn-pages", param=1)
        raise Failure("not a ppt", "SUCCESS")
    except Refused as error:
        expect((error.result, error.text) == (5, "not a ppt"), "not a ppt (result 5)", error)


@app("CHG-018", "0x211 with an id that is not on the stage is refused with \"no clip on this position\".", changes=True)
def mute_unknown_medium(session: Session) -> None:
    try:
        session.app().request("mute-media", mediaId="00000000-0000-0000-0000-000000000001", param=1)
        raise Failure("no clip on this position", "SUCCESS")
    except Refused as error:
        expect((error.result, error.text) == (4, "no clip on this position"), "no clip on this position (result 4)", error)


@app("CHG-019", "0x211 mutes one medium, as the media list shows.", changes=True)
def mute_medium(session: Session) -> None:
    def muted(id: str) -> bool:
        return bool(session.ask("media-data", mediaId=id)["mediaData"]["isMuted"])

    medium = next((medium for medium in session.media() if medium["volumeSupport"]), None)
    if not medium:
        raise NotTried("no medium with sound on the stage")
    id = medium["mediaId"]
    try:
        for param in (int(not medium["isMuted"]), int(medium["isMuted"])):
            session.app().request("mute-media", mediaId=id, param=param)
            expect(muted(id) == bool(param), f"isMuted {bool(param)}", muted(id))
    finally:
        session.app().request("mute-media", mediaId=id, param=int(medium["isMuted"]))


@app("CHG-020", "A command of the app has the effect that central control reads.", changes=True)
def app_command(session: Session) -> None:
    with restored(session):
        session.app().request("brightness", param=33)
        expect_query(session, "getGlobalBrightness", {"globalBrightness": 33})


@fp("CHG-021", "A command of the FP controller has the effect that central control reads.", changes=True)
def fp_command(session: Session) -> None:
    link = session.fp()
    with restored(session):
        reply = link.request("brightness", param=34)
        expect(reply == {"param": 34, "result": 0, "errorMsg": "SUCCESS"}, "SUCCESS", reply)
        expect_query(session, "getGlobalBrightness", {"globalBrightness": 34})


@cloud("CHG-022", "A command of the cloud has the effect that central control reads, by keyword and by code.", changes=True)
def cloud_command(session: Session) -> None:
    session.cloud()
    with restored(session):
        cases: list[tuple[int, dict[str, Any]]] = [(35, {"cmd": "globleBrightness"}), (36, {"cmdType": BRIGHTNESS})]
        for brightness, keys in cases:
            received = session.exchange("cloud", BRIGHTNESS, {**keys, "param": brightness})
            expect(not received, "no reply", received)
            expect_query(session, "getGlobalBrightness", {"globalBrightness": brightness})
