"""Rules of the app's channels, of discovery and of logins."""

from __future__ import annotations

import base64
import contextlib
import json
import socket
import time
import uuid
from typing import Any

from cryptography.exceptions import UnsupportedAlgorithm

from ..app import HEARTBEAT, LOGIN, App, encrypt
from ..wire import (BULK_PORT, CODE_HEADER, CODE_MARK, CONTROL_PORT, DISCOVERY_PORT, DISCOVERY_REQUEST, MAX_REQUEST, REPLY,
                    EnvelopeChannel, Message, envelope, hexadecimal, picture_size, read_id_form, read_json)
from .generated import ENDING
from .rule import Failure, Register, expect
from .session import NotTried, Session

CHECK_APP_ID, APP_GONE, RESOURCE_LIST, RESOURCE = 0x010, 0x012, 0x400, 0x401
MEDIA_PICTURE, SCENE_PICTURE, RESOURCE_PICTURE = 0x118, 0x308, 0x403
QUERIES = (0x005, 0x006, 0x007, 0x100, 0x101, 0x109, 0x112, 0x119, 0x121, 0x300, 0x302, 0x405, 0x416)
UNKNOWN_ID = "00000000-0000-0000-0000-000000000001"
PICTURE_WIDTH, PICTURE_HEIGHT = 320, 180
CONNECTIONS = 100
# Seconds. The host waits 10 s for the rest of an envelope, and about 5 s for a heartbeat.
ENVELOPE_TIME, ENVELOPE_MARGIN = 9.0, 6.0
SILENCE, SILENCE_MARGIN = 4.0, 5.0
MAX_LOGOUT_TIME = 5.0
# More replies than the socket buffers hold; the host may close the connection that doesn't read.
STALLED_REQUESTS = 300

wire = Register("app control")
discovery = Register("app discovery")
login = Register("app control")
# Its check runs at the same time as those before it.
slow = Register("app control")


def done(message: Message | None, code: int = HEARTBEAT) -> None:
    expect(message is not None and message.code == code | REPLY and message.json() == {"result": 1},
           f'{hexadecimal(code | REPLY)} {{"result": 1}}', message)


def expect_closed(channel: EnvelopeChannel, what: str, timeout: float | None = None) -> None:
    try:
        channel.wait_for_end(timeout)
    except TimeoutError:
        raise Failure(f"that the host closes the connection after {what}", "an open connection") from None


@discovery("DISC-001", "A datagram with exactly the discovery text is answered with the object of the contract.")
def discovery_is_answered(session: Session) -> None:
    peer = session.datagrams(DISCOVERY_PORT)
    peer.send(DISCOVERY_REQUEST)
    session.contract.check_value(session.contract.text["discovery"]["reply"], read_json(peer.receive()), "discovery")


@discovery("DISC-002", "A datagram that differs from the discovery text in any byte is not answered.")
def other_datagrams_are_ignored(session: Session) -> None:
    peer = session.datagrams(DISCOVERY_PORT)
    for datagram in (DISCOVERY_REQUEST[:-1], DISCOVERY_REQUEST + b"\n", DISCOVERY_REQUEST + b"\0",
                     DISCOVERY_REQUEST.lower(), b" " + DISCOVERY_REQUEST, b"{}", b"\0"):
        peer.send(datagram)
    peer.send(DISCOVERY_REQUEST)
    peer.receive()
    with contextlib.suppress(TimeoutError):
        raise Failure("one answer, to the exact text", f"a second answer: {peer.receive(0.3)!r}")


@discovery("DISC-003", "The name in the answer is the one that 0x005 returns.")
def discovery_has_the_name(session: Session) -> None:
    peer = session.datagrams(DISCOVERY_PORT)
    peer.send(DISCOVERY_REQUEST)
    expect(read_json(peer.receive()).get("name") == session.ask("host-name-and-version")["name"],
           "the same name on both channels", "two names")


@wire("APP-001", "An envelope that arrives in single bytes is answered like a complete one.")
def split_at_every_byte(session: Session) -> None:
    channel = session.channel()
    for byte in envelope(HEARTBEAT, b'{"a": 1}'):
        channel.send_raw(bytes([byte]))
        time.sleep(0.002)
    done(channel.receive_bytes())


@wire("APP-002", "Envelopes that arrive together are all answered.")
def concatenated(session: Session) -> None:
    channel = session.channel()
    channel.send_raw(envelope(HEARTBEAT) * 50)
    for _ in range(50):
        done(channel.receive_bytes())


@wire("APP-003", "The host closes a connection on which it receives a mark other than ZXAP.")
def wrong_mark(session: Session) -> None:
    for data in (b"ZXAQ" + bytes(8), b"GET / HTTP/1.1\r\n\r\n", b"ZXID" + bytes(20)):
        channel = session.channel()
        channel.send_raw(data)
        expect_closed(channel, f"the mark {data[:4]!r}")


@wire("APP-004", "The host closes a connection after a length of more than 4 MiB.")
def oversized_length(session: Session) -> None:
    for length in (MAX_REQUEST + 1, 0xffffffff):
        channel = session.channel()
        channel.send_raw(CODE_HEADER.pack(CODE_MARK, HEARTBEAT, length))
        expect_closed(channel, f"a length of {length}")


@wire("APP-005", "A request with a body of exactly 4 MiB is answered.", must=False)
def largest_body(session: Session) -> None:
    channel = session.channel()
    channel.send_bytes(HEARTBEAT, b'{"a": "' + b"x" * (MAX_REQUEST - 9) + b'"}')
    done(channel.receive_bytes())


@slow("APP-006", "The host closes a connection whose envelope is incomplete for about 10 s, and not much earlier.", must=False)
def half_envelope(session: Session) -> None:
    channel = session.channel()
    channel.send_raw(envelope(HEARTBEAT)[:6])
    start = time.monotonic()
    expect_closed(channel, "half an envelope", ENVELOPE_TIME + ENVELOPE_MARGIN)
    elapsed = time.monotonic() - start
    expect(elapsed > ENVELOPE_TIME, "about 10 s", f"{elapsed:.1f} s")


@wire("APP-007", "A peer that has shut down its sending side still receives its replies.")
def half_close(session: Session) -> None:
    channel = session.channel()
    channel.send_raw(envelope(HEARTBEAT) * 3)
    channel.socket.shutdown(socket.SHUT_WR)
    for _ in range(3):
        done(channel.receive_bytes())


@wire("APP-008", "A body that is not a JSON object is read as an empty object.")
def malformed_body(session: Session) -> None:
    channel = session.channel()
    for body in (b"{", b"\xff\xfe", b"[1]", b"null", b'"text"', b'{"a": 1} x', b"\0" * 100):
        channel.send_bytes(HEARTBEAT, body)
        done(channel.receive_bytes())


@wire("APP-009", "JSON that is nested more than 64 levels deep or has a duplicate key is read as an empty object.")
def strict_json(session: Session) -> None:
    deep = b'{"id": "x", "a": ' + b"[" * 64 + b"]" * 64 + b"}"
    for body in (deep, b'{"id": "x", "id": "y"}'):
        received = session.exchange("app", CHECK_APP_ID, body)
        expect(not received, "no reply, as for a request without an id", received)
    flat = b'{"id": "x", "a": ' + b"[" * 63 + b"]" * 63 + b"}"
    expect(len(session.exchange("app", CHECK_APP_ID, flat)) == 1, "a reply to 64 levels of nesting", "none")


def check_refused(session: Session, who: str, codes: list[int]) -> None:
    for code in codes:
        body = {"param": 1, "key": "value"}
        for where, _, payload in session.exchange(who, code, {**body, "cmdType": code} if who == "cloud" else body):
            answer = read_json(payload)
            expect(where == who and answer == {**body, "errorMsg": "COMMAND ERROR", "result": 7},
                   f"COMMAND ERROR with the request's keys for {hexadecimal(code)}", payload.decode(errors="replace"))


def unknown_codes(session: Session) -> list[int]:
    return [code for code in (0x000, 0x0ee, 0x1ff, 0x2fe, 0x3fe, 0x4fe, 0x5000, 0x0fffffff)
            if code not in session.contract.messages]


def foreign_codes(session: Session, who: str) -> list[int]:
    return [code for code, message in session.contract.messages.items()
            if who not in message and code not in ENDING and "notice" not in message]


@wire("APP-010", "A code that the contract doesn't have is refused with COMMAND ERROR, or not answered.")
def app_unknown_codes(session: Session) -> None:
    check_refused(session, "app", unknown_codes(session))


@wire("APP-011", "A code that only other channels can send is refused with COMMAND ERROR, or not answered.")
def app_foreign_codes(session: Session) -> None:
    check_refused(session, "app", foreign_codes(session, "app"))


@wire("APP-012", "Every message to the app has the reply bit 0x10000000, on both channels.")
def reply_bit(session: Session) -> None:
    app = session.app()
    for code in QUERIES:
        app.control.send(code, {})
    app.bulk.send(HEARTBEAT)
    messages = [app.control.take(lambda _: True, "a reply") for _ in QUERIES] + [app.bulk.take(lambda _: True, "a reply")]
    for message in messages:
        expect(bool(message.code & REPLY), "a code with the reply bit", hexadecimal(message.code))


@wire("APP-013", "The host accepts ids with braces and in upper case.")
def id_forms(session: Session) -> None:
    id = session.medium()["mediaId"]
    for form in (id.upper(), "{%s}" % id, "{%s}" % id.upper()):
        answer = session.ask("media-data", mediaId=form)
        expect(answer.get("mediaData", {}).get("mediaId") == id, f"the medium {id}", answer)


@wire("APP-014", "The requests of one connection are answered in their order.")
def order_of_replies(session: Session) -> None:
    app = session.app()
    codes = QUERIES + QUERIES[::-1]
    app.control.send_raw(b"".join(envelope(code, b"{}") for code in codes))
    for code in codes:
        message = app.control.take(lambda message: not session.contract.is_notice(*message),
                                   f"the reply to {hexadecimal(code)}")
        expect(message.code == code | REPLY, hexadecimal(code | REPLY), hexadecimal(message.code))


def pictures(session: Session) -> list[tuple[int, dict[str, Any], str]]:
    """Returns the requests for pictures that the show permits: code, keys, id."""
    found: list[tuple[int, dict[str, Any], str]] = []
    with contextlib.suppress(NotTried):
        id = session.medium()["mediaId"]
        found.append((MEDIA_PICTURE, {"mediaId": id}, id))
    with contextlib.suppress(NotTried):
        group, scene = session.scene()
        found.append((SCENE_PICTURE, {"sceneGroupId": group["sceneGroupId"], "sceneId": scene["sceneId"]}, scene["sceneId"]))
    with contextlib.suppress(NotTried):
        id = session.resource()["resourceId"]
        found.append((RESOURCE_PICTURE, {"resourceId": id}, id))
    if not found:
        raise NotTried("the project has neither media nor scenes nor resources")
    return found


@wire("APP-015", "A picture has the id that the request names.", channel="app bulk")
def picture_ids(session: Session) -> None:
    app = session.app()
    for code, keys, id in pictures(session):
        received = app.picture(code, **keys).id
        expect(received == uuid.UUID(id), f"{session.contract.name(code)} with the id {id}", received)


@wire("APP-016", "The pictures of media, scenes and resources are 320 by 180 pixels.", channel="app bulk")
def picture_sizes(session: Session) -> None:
    app = session.app()
    for code, keys, _ in pictures(session):
        _, width, height = picture_size(app.picture(code, **keys).data)
        expect((width, height) == (PICTURE_WIDTH, PICTURE_HEIGHT),
               f"{session.contract.name(code)} of {PICTURE_WIDTH} x {PICTURE_HEIGHT}", f"{width} x {height}")


@wire("APP-017", "Of two apps, each receives the pictures that it asked for, and no others.", channel="app bulk")
def bulk_isolation(session: Session) -> None:
    wanted = pictures(session)
    apps = []
    for _ in range(2):  # an app's channels belong together from its first picture on
        apps.append(session.app())
        apps[-1].picture(wanted[0][0], **wanted[0][1])
    for first, second in zip(wanted, wanted[::-1]):
        for app, (code, keys, _) in zip(apps, (first, second)):
            app.control.send(code, keys)
        for app, (code, _, id) in zip(apps, (first, second)):
            message = app.bulk.take(lambda _: True, f"the picture of {id}")
            expect(message.code == code | REPLY and read_id_form(message.body).id == uuid.UUID(id),
                   f"{session.contract.name(code)} of {id}", f"{hexadecimal(message.code)} {message.body[:20]!r}")
    for app in apps:
        app.bulk.send(HEARTBEAT)
        rest = []
        while (message := app.bulk.take(lambda _: True, "the reply to a heartbeat")).code != HEARTBEAT | REPLY:
            rest.append(message)
        expect(not rest, "no more pictures", [hexadecimal(message.code) for message in rest])


@wire("APP-018", "0x201 with an id that is not on the stage is answered with the request's keys.")
def unknown_medium(session: Session) -> None:
    answer = session.ask("media-data", mediaId=UNKNOWN_ID)
    expect(answer == {"mediaId": UNKNOWN_ID}, json.dumps({"mediaId": UNKNOWN_ID}), answer)


@wire("APP-019", "0x404 with an id that is not a text is answered with the result 4003.")
def unknown_text(session: Session) -> None:
    answer = session.ask("text-resource", resourceId=UNKNOWN_ID)
    expect(answer == {"result": 4003}, '{"result": 4003}', answer)


@wire("APP-020", "Requests for a resource or the picture of a medium that the host doesn't know are not answered.")
def unknown_ids(session: Session) -> None:
    for code, key in ((RESOURCE, "resourceId"), (MEDIA_PICTURE, "mediaId")):
        app = session.app()
        app.control.send(code, {key: UNKNOWN_ID})
        for channel in (app.control, app.bulk):
            channel.send(HEARTBEAT)
            done(channel.take(lambda message: not session.contract.is_notice(*message), "the reply to the heartbeat"))


@wire("APP-021", "While one app doesn't read its replies, the others are answered.")
def stalled_reader(session: Session) -> None:
    stalled = session.channel()
    with contextlib.suppress(OSError):  # the host may close it, or stop to read from it
        stalled.socket.settimeout(1)
        stalled.send_raw(envelope(RESOURCE_LIST) * STALLED_REQUESTS)
    app = session.app()
    for channel in (app.control, app.bulk):
        channel.send(HEARTBEAT)
        done(channel.receive_bytes())


@wire("APP-022", "100 connections at once are all answered.")
def many_connections(session: Session) -> None:
    channels = [session.channel(BULK_PORT if number % 2 else CONTROL_PORT) for number in range(CONNECTIONS)]
    for channel in channels:
        channel.send(HEARTBEAT)
    for channel in channels:
        done(channel.receive_bytes())


@wire("APP-023", "JSON replies are indented and in UTF-8.", must=False)
def indented_json(session: Session) -> None:
    for code in QUERIES:
        for _, _, payload in session.exchange("app", code, {}):
            text = payload.decode(errors="replace")
            expect("\ufffd" not in text and text.startswith("{\n    "), "indented JSON in UTF-8", text[:60])


@wire("APP-024", "Lists are numbered from 0, and have as many entries as count says.")
def numbered_lists(session: Session) -> None:
    for listed in (session.ask("screen-list")["screenMgrData"], session.ask("project-list"),
                   session.ask("media-list")["mediaList"], session.ask("main-scene-group")["sceneGroupData"],
                   session.ask("shared-folder-list")):
        session.numbered(listed)
    session.groups()
    listed = session.ask("resource-list")
    expect(listed["count"] == len(listed["resourceMgrData"]), f"{listed['count']} resources", len(listed["resourceMgrData"]))


@wire("APP-025", "The stage's media are those of the media list, and its scene is in the list of scenes.")
def consistent_stage(session: Session) -> None:
    stage, media = session.stage(), [medium["mediaId"] for medium in session.media()]
    expect(stage["mediaIdList"] == media, f"the media {media}", stage["mediaIdList"])
    scenes = [scene["sceneId"] for group in session.groups() for scene in group["scenes"]]
    if uuid.UUID(stage["currentSceneId"]).int:
        expect(stage["currentSceneId"] in scenes, "a scene of the project", stage["currentSceneId"])


@wire("APP-026", "0x107 has the same reply as 0x100, and 0x304 the same as 0x302.")
def repeated_queries(session: Session) -> None:
    for first, second in ((0x100, 0x107), (0x302, 0x304)):
        replies = [session.exchange("app", code, {}) for code in (first, second)]
        expect([payload for _, _, payload in replies[0]] == [payload for _, _, payload in replies[1]],
               f"the reply of {hexadecimal(first)}", f"another one for {hexadecimal(second)}")


@wire("APP-027", "The data of each listed medium and resource is what the request for this one returns.")
def items_of_lists(session: Session) -> None:
    for medium in session.media()[:5]:
        one = session.ask("media-data", mediaId=medium["mediaId"]).get("mediaData", {})
        expect({**one, "currentTime": 0} == {**medium, "currentTime": 0}, f"the medium {medium}", one)
    for resource in session.resources()[:5]:
        one = session.ask("resource-item", resourceId=resource["resourceId"])["resourceData"]
        expected = {key: value for key, value in resource.items() if key != "isUsedFlag"}
        expect({**one, "path": ""} == {**expected, "path": ""}, f"the resource {expected}", one)


# Logins. Only one app is logged in, so each check logs out before its end by closing its connections.


def logged_in(session: Session, second: bool = False, force: bool = False) -> App:
    """Returns an app that has logged in; heartbeats are up to the caller."""
    app = session.app(second)
    reply = try_log_in(session, app, force=force)
    if reply["result"] == 3 and not force:
        raise NotTried("another app is logged in")
    expect(reply["result"] == 0, f"result 0 for the user {session.target.user}", reply)
    return app


def try_log_in(session: Session, app: App, user: str = "", password: str = "", force: bool = False) -> dict[str, Any]:
    """Waits while the host still considers an earlier app to be logged in: it learns of a closed connection later."""
    if not session.target.user:
        raise NotTried("no user; use --user")
    deadline = time.monotonic() + min(session.target.timeout, MAX_LOGOUT_TIME)
    while True:
        reply = app.try_log_in(user or session.target.user, password or session.target.password, force)
        if reply["result"] != 3 or force or time.monotonic() > deadline:
            return reply
        time.sleep(0.05)


@login("LOGIN-001", "A login with the right password has result 0, the user's name and the access level.")
def login_succeeds(session: Session) -> None:
    app = session.app()
    reply = try_log_in(session, app)
    if reply["result"] == 3:
        raise NotTried("another app is logged in")
    expect(reply["result"] == 0 and reply.get("account") == session.target.user and isinstance(reply.get("access"), int),
           f'result 0 and the account "{session.target.user}"', reply)


@login("LOGIN-002", "A login of an unknown user has result 1.")
def login_unknown_user(session: Session) -> None:
    reply = session.app().try_log_in("no such user", "password")
    expect(reply["result"] == 1, "result 1", reply)


@login("LOGIN-003", "A login with a wrong password has result 2, and no app is logged in.")
def login_wrong_password(session: Session) -> None:
    app = session.app()
    reply = try_log_in(session, app, password=session.target.password + "x")
    expect(reply["result"] == 2, "result 2", reply)
    session.wait_until(lambda: session.query("getAppConnectState") == {"AppConnectState": "NotConnected"},
                       "the state NotConnected")


@login("LOGIN-004", "While an app is logged in, the login of an app at another address has result 3.")
def login_refused(session: Session) -> None:
    logged_in(session)
    reply = session.app(second=True).try_log_in(session.target.user, session.target.password)
    expect(reply["result"] == 3, "result 3", reply)


@login("LOGIN-005", "A login with force replaces the app at another address, which receives 0x012 without a body.")
def displacement(session: Session) -> None:
    first = logged_in(session)
    logged_in(session, second=True, force=True)
    message = first.control.take(lambda message: session.contract.is_notice(*message), "the notice app-gone (0x012)")
    expect(message == (APP_GONE | REPLY, b""), f"{hexadecimal(APP_GONE | REPLY)} without a body", message)


@login("LOGIN-006", "The host closes the connections of an app without heartbeats after about 5 s, and not while they come.")
def silence(session: Session) -> None:
    app = logged_in(session)
    last = 0.0
    for _ in range(3):
        time.sleep(1)
        last = time.monotonic()
        app.bulk.send(HEARTBEAT)
        done(app.bulk.receive_bytes())
    for channel in (app.control, app.bulk):
        expect_closed(channel, "5 s without a heartbeat", SILENCE + SILENCE_MARGIN)
        elapsed = time.monotonic() - last
        expect(elapsed > SILENCE, "about 5 s after the last heartbeat", f"{elapsed:.1f} s")


@login("LOGIN-007", "0x007 returns an RSA key that encrypts a login.")
def key_is_valid(session: Session) -> None:
    try:
        cipher = base64.b64decode(encrypt(session.ask("public-key")["publicKey"], "password"))
    except (ValueError, UnsupportedAlgorithm) as error:
        raise Failure("an RSA key", error) from None
    expect(len(cipher) == 128, "a key of 1024 bits", f"{8 * len(cipher)} bits")


@login("LOGIN-008", "A cipher that can't be decrypted is a wrong password.")
def malformed_cipher(session: Session) -> None:
    if not session.target.user:
        raise NotTried("no user; use --user")
    for cipher in ("", "AAAA", "*", base64.b64encode(bytes(range(128))).decode()):
        reply = session.app().request(LOGIN, username=session.target.user, password=cipher)
        expect(reply["result"] == 2, "result 2", reply)


@login("LOGIN-009", "When the logged-in app closes its connections, the next login succeeds.")
def logout_by_close(session: Session) -> None:
    logged_in(session).close()
    reply = try_log_in(session, session.app())
    expect(reply["result"] == 0, "result 0", reply)


@login("LOGIN-010", "While an app is logged in, central control's getAppConnectState returns Connected.")
def connect_state(session: Session) -> None:
    logged_in(session)
    session.wait_until(lambda: session.query("getAppConnectState") == {"AppConnectState": "Connected"}, "the state Connected")

