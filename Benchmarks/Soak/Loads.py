"""The loads of the soak test. Each function runs until the event stop is set and calls done() after each round.

chance is the load's random generator, folder a folder for its files.
"""

import contextlib
import ftplib
import json
import select
import socket
import struct
from pathlib import Path

from Support import DEMO_SHOW
from zentravox import App, CloudService, EnvelopeChannel, FpController
from zentravox.app import HEARTBEAT, LOGIN
from zentravox.wire import BULK_PORT, CENTRAL_PORT, CONTROL_PORT, DISCOVERY_PORT, FTP_PORT, envelope

ADDRESS, APP_ADDRESS, CLOUD_ADDRESS = "127.0.0.43", "127.0.0.44", "127.0.0.45"
TIMEOUT = 30

SET_HOST_NAME, NAME_AND_VERSION = 0x004, 0x005
LISTS = (0x101, 0x109, 0x112, 0x119, 0x121, 0x200, 0x300, 0x302, 0x304, 0x400, 0x405, 0x416, 0x418)
STAGE_SNAPSHOT, RESOURCE_THUMBNAIL = 0x100, 0x403
SCENE_PLAY, VOLUME, BRIGHTNESS, MUTE, TURN_PAGES, PLAY_CONTROL = 0x306, 0x105, 0x113, 0x199, 0x205, 0x104

MEDIA = Path(DEMO_SHOW).parent / "Media"
RESOURCES = [resource["id"] for resource in json.loads(DEMO_SHOW.read_text(encoding="utf-8"))["projects"][0]["resources"]]


def command(chance):
    """A command that changes the show, with its body."""
    return chance.choice([
        (SCENE_PLAY, {"sceneGrpCol": 1, "sceneCol": chance.randint(0, 4)}), (VOLUME, {"param": chance.randint(-5, 110)}),
        (BRIGHTNESS, {"param": chance.randint(0, 100)}), (MUTE, {"param": chance.randint(0, 2)}),
        (TURN_PAGES, {"param": chance.randint(0, 3)}), (PLAY_CONTROL, {"param": chance.randint(0, 3)})])


def drain(channel, seconds=0.05):
    """Reads and discards all received data."""
    while select.select([channel], [], [], seconds)[0]:
        if not channel.recv(1 << 16):
            return


def app(chance, folder, stop, done):
    """An app on both channels that logs in, requests lists and pictures, and sends commands as fast as an operator."""
    with App(ADDRESS, APP_ADDRESS) as peer:
        peer.try_log_in("demo", "demo", force=True)
        for _ in range(chance.randint(5, 40)):
            if stop.is_set():
                return
            peer.control.send(HEARTBEAT)
            peer.bulk.send(HEARTBEAT)
            for code in chance.sample(LISTS, 4):
                peer.control.send(code)
            peer.control.send(STAGE_SNAPSHOT)
            peer.control.send(RESOURCE_THUMBNAIL, {"resourceId": chance.choice(RESOURCES)})
            peer.control.send(*command(chance))
            peer.control.send(SET_HOST_NAME, {"name": f"Stage {chance.randint(0, 9)}"})
            drain(peer.control.socket)
            drain(peer.bulk.socket)
            done()
            stop.wait(0.5)


def short_connections(chance, folder, stop, done):
    """Connections without a login that send one request or nothing, or end within an envelope or a reply."""
    while not stop.is_set():
        with socket.create_connection((ADDRESS, chance.choice((CONTROL_PORT, BULK_PORT))), TIMEOUT) as peer:
            choice = chance.random()
            if choice < 0.3:
                peer.sendall(envelope(chance.choice(LISTS))[:chance.randint(0, 12)])
            elif choice < 0.6:
                peer.sendall(envelope(STAGE_SNAPSHOT) + envelope(chance.choice(LISTS)))
            else:
                peer.sendall(envelope(NAME_AND_VERSION))
                drain(peer)
            if chance.random() < 0.5:
                # Closes with a reset.
                peer.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        done()
        stop.wait(0.02)


def crowd(chance, folder, stop, done):
    """Many connections at once, each of which sends a request, waits for the reply and closes."""
    while not stop.is_set():
        with contextlib.ExitStack() as stack:
            peers = [stack.enter_context(EnvelopeChannel.connect(ADDRESS, CONTROL_PORT)) for _ in range(100)]
            for peer in peers:
                peer.send(chance.choice(LISTS))
            for peer in peers:
                if not peer.receive_bytes():
                    raise ConnectionError("the host has closed the connection")
        done()
        stop.wait(5)


def slow_reader(chance, folder, stop, done):
    """A peer that requests lists repeatedly and reads nothing for 3 s."""
    while not stop.is_set():
        with EnvelopeChannel.connect(ADDRESS, CONTROL_PORT) as peer:
            for _ in range(300):
                peer.send(chance.choice((0x300, 0x400)))
            stop.wait(3)
        done()


def malformed(chance, folder, stop, done):
    """Invalid data on every port."""
    def junk():
        return chance.choice([
            bytes(chance.randrange(256) for _ in range(chance.randint(1, 2000))), b"GET / HTTP/1.1\r\n\r\n",
            b"ZXAP" + b"\xff" * 8, envelope(0x7FFFFFFF, b"{}"), envelope(VOLUME, b'{"param":' + b"[" * 500),
            envelope(LOGIN, b'{"username":"demo","password":"AAAA"}'), envelope(0x403, b"ZXID" + bytes(20))])

    datagrams = [b'{"cmd":1}', b'{"cmd":"none"}', b"[" * 2000, b'{"cmd":"getHDR","cmd":["x"]}', b"\0" * 1000, b"unknown"]
    while not stop.is_set():
        for port in (CONTROL_PORT, BULK_PORT, FTP_PORT):
            with contextlib.suppress(OSError), socket.create_connection((ADDRESS, port), TIMEOUT) as peer:
                peer.sendall(junk())
                drain(peer)
        with socket.socket(type=socket.SOCK_DGRAM) as peer:
            for port in (CENTRAL_PORT, DISCOVERY_PORT):
                peer.sendto(chance.choice([*datagrams, junk()]), (ADDRESS, port))
        done()
        stop.wait(0.1)


def uploads(chance, folder, stop, done):
    """Files over FTP under a few names, some of them aborted."""
    files = [MEDIA / "Balloons.jpg", MEDIA / "Emblem.png", MEDIA / "Speech.txt"]
    with ftplib.FTP(timeout=TIMEOUT) as session:
        session.connect(ADDRESS, FTP_PORT)
        session.login("demo", "demo")
        for _ in range(chance.randint(1, 8)):
            if stop.is_set():
                return
            file = chance.choice(files)
            name = f"Soak {chance.randint(0, 9)}{file.suffix}"
            if chance.random() < 0.2:
                with contextlib.closing(session.transfercmd(f"STOR {name}")) as data:
                    data.sendall(b"half a file")
                    data.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
                session.close()
                return
            with file.open("rb") as content:
                session.storbinary(f"STOR {name}", content)
            done()
            stop.wait(2)


def central(chance, folder, stop, done):
    """Central control: queries and commands."""
    words = ("getProjectName", "getScreenState", "getHDR", "getGlobalBrightness", "getPlayingChapter")
    with socket.socket(type=socket.SOCK_DGRAM) as peer:
        peer.connect((ADDRESS, CENTRAL_PORT))
        while not stop.is_set():
            for word in words:
                peer.send(json.dumps({"cmd": word}).encode())
            peer.send(json.dumps({"cmd": "globalVolume", "param": chance.randint(0, 100)}).encode())
            drain(peer)
            done()
            stop.wait(0.5)


def discovery(chance, folder, stop, done):
    with socket.socket(type=socket.SOCK_DGRAM) as peer:
        peer.connect((ADDRESS, DISCOVERY_PORT))
        while not stop.is_set():
            peer.send(b"App Server request Zentravox Controller")
            drain(peer)
            done()
            stop.wait(1)


@contextlib.contextmanager
def accepted(listener, stop):
    """Provides the next connection of the host to this peer, or None if the load ends."""
    with listener:
        while not stop.is_set():
            with contextlib.suppress(TimeoutError):
                connection = listener.accept(0.2)
                break
        else:
            yield None
            return
    with connection:
        yield connection


def fp(chance, folder, stop, done):
    """An FP controller that sends queries and commands, and sometimes closes the connection."""
    with accepted(FpController(CLOUD_ADDRESS), stop) as peer:
        if not peer:
            return
        for _ in range(chance.randint(5, 100)):
            if stop.is_set():
                return
            for code in (0x109, 0x112, 0x191, 0x192, 0x193, 0x300, 0x013):
                peer.send(code, {})
            peer.send(*command(chance))
            drain(peer.socket)
            done()
            stop.wait(0.5)


def cloud(chance, folder, stop, done):
    """The cloud service: information, pictures, exports and logs, and connections that end during them."""
    with accepted(CloudService(CLOUD_ADDRESS), stop) as link:
        if not link:
            return
        for _ in range(chance.randint(2, 30)):
            if stop.is_set():
                return
            for query in ({"cmdType": 0x16}, {"cmdType": 0x18}, {"cmdType": 0x19}, {"cmd": "downLoadLog"}, {"cmdType": "x"}):
                link.send(**query)
            for _ in range(5):
                link.receive()
            with contextlib.suppress(TimeoutError):
                while True:
                    link.receive(0.5)
            done()
            stop.wait(1)
        link.send(cmdType=0x19)


LOADS = {load.__name__: load for load in (app, short_connections, crowd, slow_reader, malformed, uploads, central,
                                          discovery, fp, cloud)}
