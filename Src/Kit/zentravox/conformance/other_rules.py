"""Rules of central control, the cloud and the FP controller."""

from __future__ import annotations

import base64
import binascii
import json
from typing import Any

from ..wire import REPLY, envelope, hexadecimal, picture_size, read_json
from .app_rules import check_refused, expect_closed, foreign_codes, unknown_codes
from .rule import Failure, Register, expect
from .session import Session

FORMAT_ERROR = {"errorMsg": "FORMAT ERROR", "result": 6}
INFORMATION, EXPORT, PREVIEW = 0x016, 0x019, 0x189
PICTURE_ROUTE = 2
# A host may drop further commands of the cloud while this many wait.
BATCH = 16

central = Register("central control")
cloud = Register("cloud")
fp = Register("FP")


def answer(session: Session, datagram: bytes) -> list[bytes]:
    return [payload for _, _, payload in session.exchange("central", 0, datagram)]


@central("CENT-001", "A keyword alone, with or without quotes, is answered like an object with this keyword.")
def bare_keywords(session: Session) -> None:
    expected = answer(session, b'{"cmd": "getProjectName"}')
    for datagram in (b"getProjectName", b'"getProjectName"'):
        received = answer(session, datagram)
        expect(received == expected, repr(expected), received)


@central("CENT-002", "A datagram that is neither an object nor a keyword is answered with FORMAT ERROR.")
def malformed_datagrams(session: Session) -> None:
    for datagram in (b"{", b"no such keyword", b"[1]", b"\xff\xfe", b'{"param": 1}', b'{"cmd": 1}', b'{"cmd": "getHDR"} x'):
        received = answer(session, datagram)
        expect(len(received) == 1 and read_json(received[0]) == FORMAT_ERROR, json.dumps(FORMAT_ERROR), received)


@central("CENT-003", "An unknown keyword in an object is answered with COMMAND ERROR and the keyword.")
def unknown_keyword(session: Session) -> None:
    received = answer(session, b'{"cmd": "noSuchKeyword"}')
    expected = {"cmd": "noSuchKeyword", "errorMsg": "COMMAND ERROR", "result": 7}
    expect(len(received) == 1 and read_json(received[0]) == expected, json.dumps(expected), received)


@central("CENT-004", "A malformed or unknown datagram that has an errorMsg is not answered.")
def no_answer_to_errors(session: Session) -> None:
    for datagram in (b'{"errorMsg": "FORMAT ERROR", "result": 6}', b'{"cmd": "noSuchKeyword", "errorMsg": "x"}'):
        received = answer(session, datagram)
        expect(not received, "no answer", received)


@central("CENT-005", "A known keyword without a command is answered with the text COMMAND ERROR.")
def keywords_without_command(session: Session) -> None:
    for keyword in session.contract.text["keywordsWithoutCommand"]:
        received = answer(session, json.dumps({"cmd": keyword}).encode())
        expect(received == [b"COMMAND ERROR"], f"COMMAND ERROR for {keyword}", received)


@central("CENT-006", "Each of two peers receives the answers to its own datagrams, in their order.")
def two_peers(session: Session) -> None:
    peers = [session.central(), session.central()]
    for number in range(10):
        for name, peer in enumerate(peers):
            peer.send(json.dumps({"cmd": f"peer {name} datagram {number}"}).encode())
    for number in range(10):
        for name, peer in enumerate(peers):
            received = peer.receive()
            expect(f"peer {name} datagram {number}".encode() in received, f"the answer to datagram {number}", received)


@central("CENT-007", "JSON that is nested more than 64 levels deep or has a duplicate key is answered with FORMAT ERROR.")
def central_strict_json(session: Session) -> None:
    for datagram in (b'{"cmd": "getHDR", "a": ' + b"[" * 64 + b"]" * 64 + b"}", b'{"cmd": "getHDR", "cmd": "getHDR"}'):
        received = answer(session, datagram)
        expect(len(received) == 1 and read_json(received[0]) == FORMAT_ERROR, json.dumps(FORMAT_ERROR), received)


@central("CENT-008", "A query ignores keys that it doesn't have.")
def additional_keys(session: Session) -> None:
    expected = session.query("getProjectName")
    received = session.query("getProjectName", row=1, remoteIp="192.0.2.1", remotePort=1)
    expect(received == expected, json.dumps(expected), received)


@central("CENT-009", "The state of a screen that doesn't exist is NotFound.")
def screen_not_found(session: Session) -> None:
    received = session.query("getScreenStateByIndex", param=10000)
    expect(received == {"screenState": "NotFound"}, "NotFound", received)


@central("CENT-010", "The state that central control reads is the one that the app reads.")
def same_state(session: Session) -> None:
    stage = session.stage()
    state = session.query("getGlobalPlayState")["GlobalPlayState"]
    expect(state == ("Play", "Pause", "Stop")[stage["globalPlayState"]], f"the state {stage['globalPlayState']}", state)
    black = session.query("getBlackAll")["blackState"]
    expect((black == "balck") == stage["blackScreen"], f"blackScreen {stage['blackScreen']}", black)


def information(session: Session) -> dict[str, Any]:
    value = read_json(session.exchange("cloud", INFORMATION, {"cmdType": INFORMATION})[0][2])
    if not isinstance(value, dict):
        raise Failure("an object", value)
    return value


@cloud("CLOUD-001", "The host connects with its user name and password in the path /VexorWebSocket/websocket/chat.")
def cloud_login(session: Session) -> None:
    link = session.cloud()
    path = link.path.partition("?")[0]
    expect(path == "/VexorWebSocket/websocket/chat", "/VexorWebSocket/websocket/chat", path)
    expect("username=" in link.path and "password=" in link.path, "username and password", "other keys")


@cloud("CLOUD-002", "A text frame that is not an object with a keyword or a code is ignored.")
def cloud_malformed(session: Session) -> None:
    for frame in (b"{", b"text", b"[1]", b"{}", b'{"cmdType": "x"}', b'{"cmd": 1}', b'{"cmd": "noSuchKeyword"}', b""):
        received = session.exchange("cloud", 0, frame)
        expect(not received, "no reply", received)


@cloud("CLOUD-003", "A binary frame is ignored.")
def cloud_binary(session: Session) -> None:
    session.cloud().send_binary(b'{"cmdType": 22}')
    received = session.exchange("cloud", 0, b"{}")
    expect(not received, "no reply", received)


@cloud("CLOUD-004", "A keyword overrides the code.")
def keyword_overrides(session: Session) -> None:
    received = session.exchange("cloud", 0x018, {"cmd": "refresh", "cmdType": EXPORT})
    expect([place for _, place, _ in received] == [0, PICTURE_ROUTE], "the replies of refresh",
           [place for _, place, _ in received])


@cloud("CLOUD-005", "A code that the contract doesn't have or that only other channels can send is not answered.")
def cloud_unknown(session: Session) -> None:
    codes = unknown_codes(session) + foreign_codes(session, "cloud")
    for start in range(0, len(codes), BATCH):
        some = codes[start:start + BATCH]
        for code in some:
            session.cloud().send(cmdType=code)
        received = session.exchange("cloud", 0, b"{}")
        expect(not received, f"no reply to {', '.join(map(hexadecimal, some))}", received)


@cloud("CLOUD-006", "The pictures are JPEG in base64.")
def cloud_pictures(session: Session) -> None:
    for code in (PREVIEW, EXPORT):
        for _, place, payload in session.once("cloud", code, {"cmdType": code}):
            if place == PICTURE_ROUTE:
                try:
                    kind, _, _ = picture_size(base64.b64decode(read_json(payload)["data"], validate=True))
                except binascii.Error as error:
                    raise Failure("base64", error) from None
                expect(kind == "JPEG", "a JPEG picture", kind)


@cloud("CLOUD-007", "The export sends the pictures of resources, then of scenes, then the project.")
def export_order(session: Session) -> None:
    received = session.once("cloud", EXPORT, {"cmdType": EXPORT})
    kinds = [read_json(payload)["type"] if place == PICTURE_ROUTE else "project" for _, place, payload in received]
    expect(kinds == sorted(kinds, key=["clip", "chapter", "project"].index) and kinds.count("project") == 1,
           "clip ..., chapter ..., project", kinds)


@cloud("CLOUD-008", "The export's pictures of scenes have the ids of the open project's scenes.")
def export_ids(session: Session) -> None:
    ids = {scene["sceneId"] for group in session.groups() for scene in group["scenes"]}
    pictures = [read_json(payload) for _, place, payload in session.once("cloud", EXPORT, {"cmdType": EXPORT})
                if place == PICTURE_ROUTE]
    found = {picture["id"] for picture in pictures if picture["type"] == "chapter"}
    expect(found <= ids, f"ids of {sorted(ids)}", sorted(found - ids))


@cloud("CLOUD-009", "The system information has the scene and the brightness that the app reads.")
def cloud_same_state(session: Session) -> None:
    stage, cloud_state = session.stage(), information(session)
    brightness = session.query("getGlobalBrightness")["globalBrightness"]
    expect(cloud_state["curChapterId"] in ("", stage["currentSceneId"]), stage["currentSceneId"], cloud_state["curChapterId"])
    expect(abs(cloud_state["luminance"] - brightness) <= 1, f"the brightness {brightness}", cloud_state["luminance"])


@fp("FP-001", "An envelope that arrives in single bytes is answered like a complete one.")
def fp_split(session: Session) -> None:
    link = session.fp()
    for byte in envelope(0x191, b"{}"):
        link.send_raw(bytes([byte]))
    expect(link.take(lambda _: True, "0x191").code == 0x191, "0x191", "another code")


@fp("FP-002", "A code that the contract doesn't have is refused with COMMAND ERROR, or not answered.")
def fp_unknown(session: Session) -> None:
    check_refused(session, "fp", unknown_codes(session))


@fp("FP-003", "A code that only other channels can send is refused with COMMAND ERROR, or not answered.")
def fp_foreign(session: Session) -> None:
    check_refused(session, "fp", foreign_codes(session, "fp"))


@fp("FP-004", "No message to the FP controller has the reply bit, and replies come in the order of the requests.")
def fp_order(session: Session) -> None:
    link = session.fp()
    codes = (0x191, 0x192, 0x193, 0x112, 0x109, 0x300, 0x302, 0x013)
    link.send_raw(b"".join(envelope(code, b"{}") for code in codes))
    try:
        for code in codes:
            message = link.take(lambda _: True, hexadecimal(code))
            expect(not message.code & REPLY and message.code == code, hexadecimal(code), hexadecimal(message.code))
    except Exception:
        session.drop_fp()
        raise


@fp("FP-005", "The FP controller reads the same lists and states as the app.")
def fp_same_state(session: Session) -> None:
    link = session.fp()
    for request in ("project-list", "scene-manager-data", "main-scene-group"):
        expected = session.ask(request)
        received = link.request(request)
        expect(received == expected, f"the app's reply to {request}", received)
    state, expected = link.request("play-state-number"), session.stage()["globalPlayState"]
    expect(state == {"globalPlayState": expected}, f"the state {expected}", state)


@fp("FP-006", "The host closes a connection on which it receives a wrong mark, and connects again.")
def fp_wrong_mark(session: Session) -> None:
    link = session.fp()
    link.send_raw(b"ZXAQ" + bytes(8))
    try:
        expect_closed(link, "a wrong mark")
    finally:
        session.drop_fp()
    session.fp()

