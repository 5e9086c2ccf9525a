"""The connections to the host under test, and the exchange of one request with all its replies."""

from __future__ import annotations

import contextlib
import ipaddress
import json
import select
import socket
import threading
import time
from dataclasses import dataclass
from typing import Any

from ..app import HEARTBEAT, App
from ..central_control import CentralControl
from ..cloud_service import CloudService, HostLink
from ..contract import Contract, ContractError, Promise, place_text, shipped
from ..fp_controller import FpController, FpLink
from ..wire import (CONTROL_PORT, REPLY, DatagramPeer, EnvelopeChannel, Message, ProtocolError, data_text,
                    hexadecimal)
from .rule import Failure

HOST_NAME, OPERATION_LOG, LOGS = 0x005, 4, 0x017
MAX_TRAFFIC = 30
# Seconds.
ACCEPT_PERIOD, DUPLICATE_TIME, CLOSE_TIME = 0.05, 0.1, 1.0
Reply = tuple[str, int | None, bytes]


class NotTried(Exception):
    """The show or the options don't permit a rule's check. The text says what is missing."""


@dataclass
class Target:
    """The host under test, and how to reach it.

    timeout: for one reply, in seconds. second_source: another address of this machine, for rules with two apps; on
    loopback one is chosen. fp and cloud: listening peers that the host is configured to connect to, None if not tested.
    """

    host: str
    user: str = ""
    password: str = ""
    source: str = ""
    second_source: str = ""
    timeout: float = 5.0
    connect_timeout: float = 20.0
    fp: FpController | None = None
    cloud: CloudService | None = None

    def __post_init__(self) -> None:
        if not self.second_source and ipaddress.ip_address(self.host).is_loopback:
            self.source = self.source or "127.0.77.1"
            self.second_source = "127.0.77.2"


def has_ended(connection: socket.socket) -> bool:
    """Returns whether the peer has closed the connection and everything has been read."""
    poll = select.poll()
    poll.register(connection, select.POLLIN)
    try:
        return bool(poll.poll(0)) and not connection.recv(1, socket.MSG_PEEK)
    except OSError:
        return True


class Arrivals:
    """Accepts the host's connections to a listening peer on a thread, and stores the newest."""

    def __init__(self, name: str, peer: FpController | CloudService) -> None:
        self._name = name
        self._peer = peer
        self._changed = threading.Condition()
        self._link: Any = None
        self._is_absent = self._ended = False
        self._thread = threading.Thread(target=self._accept, daemon=True, name=name)
        self._thread.start()

    def _accept(self) -> None:
        while not self._ended:
            with contextlib.suppress(OSError, ProtocolError):
                link = self._peer.accept(ACCEPT_PERIOD)
                if has_ended(link.socket):  # it has waited too long to be accepted
                    link.close()
                    continue
                with self._changed:
                    self._link, old = link, self._link
                    self._changed.notify_all()
                if old:
                    old.close()

    def newest(self, timeout: float) -> Any:
        """Returns the connection. Raises NotTried if the host doesn't connect; then later calls don't wait."""
        with self._changed:
            if self._link and has_ended(self._link.socket):
                self._link = None
            if not self._changed.wait_for(lambda: bool(self._link), 0 if self._is_absent else timeout):
                self._is_absent = True
                raise NotTried(f"the host doesn't connect to {self._name}")
            return self._link

    def drop(self) -> None:
        with self._changed:
            if self._link:
                self._link.close()
            self._link = None

    def close(self) -> None:
        self._ended = True
        self._thread.join()
        self.drop()


class Session:
    """One run. Connections that a rule opens are closed after it; the host's own connections remain."""

    def __init__(self, target: Target, contract: Contract | None = None) -> None:
        self.target = target
        self.contract = contract or shipped()
        self.traffic: list[str] = []
        self._rule = contextlib.ExitStack()
        self._app: App | None = None
        self._fp = Arrivals("the FP controller", target.fp) if target.fp else None
        self._cloud = Arrivals("the cloud service", target.cloud) if target.cloud else None
        self._exchanges: dict[tuple[str, int, str], list[Reply]] = {}
        self._fences = 0

    def begin(self) -> None:
        self.traffic = []

    def end(self, failed: bool = False) -> None:
        """Closes what the rule has opened. After a failure, late replies must not disturb the next rule."""
        self._rule.close()
        if failed:
            self._drop_app()

    def _drop_app(self) -> None:
        if self._app:
            self._app.close()
            self._app = None

    def close(self) -> None:
        self.end(failed=True)
        for arrivals in (self._fp, self._cloud):
            if arrivals:
                arrivals.close()

    def trace(self, direction: str, text: str) -> None:
        self.traffic.append(f"{direction}: {text}")
        if len(self.traffic) > MAX_TRAFFIC:
            del self.traffic[MAX_TRAFFIC // 2]

    # Connections.

    def app(self, second: bool = False) -> App:
        """Opens an app, from the second address if asked."""
        source = self.target.second_source if second else self.target.source
        if second and not source:
            raise NotTried("no second address; use --second-source")
        app = self._rule.enter_context(self._open(source))
        self._finish_after_rule(app.bulk)
        self._finish_after_rule(app.control)
        return app

    def _finish_after_rule(self, channel: EnvelopeChannel) -> None:
        """Waits for the host before closing: it ends the login of the channel's address, which may be the next rule's."""

        def finish() -> None:
            with contextlib.suppress(TimeoutError, ProtocolError):
                channel.finish(CLOSE_TIME)

        self._rule.callback(finish)

    def listener(self) -> App:
        """Opens an app that receives notices: the host has accepted its connection."""
        app = self.app()
        app.request("heartbeat")
        return app

    def _open(self, source: str) -> App:
        app = App(self.target.host, source, self.target.timeout)
        app.control.trace = app.bulk.trace = self.trace
        return app

    def shared_app(self) -> App:
        """Returns an app that several rules use."""
        if not self._app:
            self._app = self._open(self.target.source)
        return self._app

    def channel(self, port: int = CONTROL_PORT) -> EnvelopeChannel:
        """Opens one channel of an app."""
        channel = EnvelopeChannel.connect(self.target.host, port, self.target.source, self.target.timeout,
                                          f"port {port}")
        channel.trace = self.trace
        self._rule.enter_context(channel)
        self._finish_after_rule(channel)
        return channel

    def datagrams(self, port: int) -> DatagramPeer:
        peer = self._rule.enter_context(DatagramPeer(self.target.host, port, self.target.timeout))
        peer.trace = self.trace
        return peer

    def central(self) -> CentralControl:
        peer = self._rule.enter_context(CentralControl(self.target.host, self.target.timeout))
        peer.trace = self.trace
        return peer

    def fp(self) -> FpLink:
        """Returns the host's connection to the FP controller."""
        if not self._fp:
            raise NotTried("no address for the FP controller; use --listen")
        link: FpLink = self._fp.newest(self.target.connect_timeout)
        link.timeout, link.trace = self.target.timeout, self.trace
        return link

    def drop_fp(self) -> None:
        """Closes the connection to the FP controller; the host connects again."""
        if self._fp:
            self._fp.drop()

    def cloud(self) -> HostLink:
        """Returns the host's connection to the cloud service."""
        if not self._cloud:
            raise NotTried("no address for the cloud service; use --listen")
        link: HostLink = self._cloud.newest(self.target.connect_timeout)
        link.socket.settimeout(self.target.timeout)
        link.trace = self.trace
        return link

    def drop_cloud(self) -> None:
        if self._cloud:
            self._cloud.drop()

    # Exchanges. Replies are (channel, code or route, payload). A "fence" is a request after the actual one: its reply shows
    # that all earlier replies have arrived, because a host answers the requests of one connection in their order.

    def exchange(self, who: str, code: int, body: bytes | dict[str, Any]) -> list[Reply]:
        """Sends a request and returns all replies, without notices."""
        payload = body if isinstance(body, bytes) else json.dumps(body).encode()
        if who == "central":
            return self._exchange_central(payload)
        if who == "cloud":
            return self._exchange_cloud(code, payload)
        if who == "fp":
            return self._exchange_fp(code, payload)
        return self._exchange_app(self.shared_app(), who, code, payload)

    def once(self, who: str, code: int, body: dict[str, Any]) -> list[Reply]:
        """Like exchange(), but sends the same request of several rules only once."""
        key = who, code, json.dumps(body)
        if key not in self._exchanges:
            self._exchanges[key] = self.exchange(who, code, body)
        return self._exchanges[key]

    def _exchange_app(self, app: App, who: str, code: int, payload: bytes) -> list[Reply]:
        if who == "app-bulk":
            return self._exchange_bulk(app, code, payload)
        fence = HOST_NAME if code == HEARTBEAT else HEARTBEAT
        pictures = sum(1 if schema.get("many") in (None, True) else schema["many"]
                       for where, _, schema in self._promises(who, code) if where == "app-bulk")
        if pictures:
            app.wait_for_bulk()
        app.control.send_bytes(code, payload)
        app.control.send(fence)
        received = [("app", *message) for message in self._until(app.control, fence | REPLY)]
        # A picture may take longer than the next reply on the other channel.
        bulk: list[Message] = []
        with contextlib.suppress(TimeoutError):
            while len(bulk) < pictures:
                bulk.append(app.bulk.take(lambda _: True, "a picture"))
        app.bulk.send(HEARTBEAT)
        bulk += self._until(app.bulk, HEARTBEAT | REPLY)
        return [*received, *(("app-bulk", *message) for message in bulk)]

    def _exchange_bulk(self, app: App, code: int, payload: bytes) -> list[Reply]:
        """The heartbeat is the only request on the bulk channel, so no other request can serve as the fence."""
        app.bulk.send_bytes(code, payload)
        received = [app.bulk.take(lambda _: True, "a reply")]
        time.sleep(DUPLICATE_TIME)
        app.control.send(HOST_NAME)
        others = self._until(app.control, HOST_NAME | REPLY)
        return [*(("app-bulk", *message) for message in received + app.bulk.unread()),
                *(("app", *message) for message in others)]

    def _until(self, channel: EnvelopeChannel, fence: int) -> list[Message]:
        received: list[Message] = []
        what = f"the reply {hexadecimal(fence)} to the next request"
        while (message := channel.take(lambda _: True, what)).code != fence:
            if not self.contract.is_notice(*message):
                received.append(message)
        return received

    def _exchange_fp(self, code: int, payload: bytes) -> list[Reply]:
        link = self.fp()
        fence = 0x192 if code == 0x191 else 0x191
        try:
            link.send_bytes(code, payload)
            link.send(fence, {})
            received: list[Reply] = []
            while (message := link.take(lambda _: True, f"the reply {hexadecimal(fence)} to the next request")).code != fence:
                received.append(("fp", *message))
            return received
        except Exception:
            self.drop_fp()
            raise

    def _exchange_central(self, payload: bytes) -> list[Reply]:
        central = self.central()
        self._fences += 1
        fence = f"fence {self._fences}"
        central.send(payload)
        central.send(json.dumps({"cmd": fence}).encode())
        received: list[Reply] = []
        while fence.encode() not in (answer := central.receive()):
            received.append(("central", None, answer))
        return received

    def _exchange_cloud(self, code: int, payload: bytes) -> list[Reply]:
        link = self.cloud()
        try:
            link.send_text(payload)
            link.send(cmdType=LOGS)
            received: list[Reply] = []
            while sum(place == OPERATION_LOG for _, place, _ in received) < 1 + (code == LOGS):
                route, data = link.receive()
                received.append(("cloud", route, data.encode()))
            return received[:-2]
        except Exception:
            self.drop_cloud()
            raise

    def _promises(self, who: str, code: int) -> list[Promise]:
        return self.contract.replies(who, code) if who in self.contract.messages.get(code, {}) else []

    def check_delivery(self, who: str, code: int, received: list[Reply]) -> None:
        """Raises ContractError if a reply came with a wrong code, on a wrong channel, too often, or not at all."""
        promised = self.contract.replies(who, code)
        places = {(promise.where, promise.place): promise.schema.get("many", 1) for promise in promised}
        expected = ", ".join(f"{where} {place_text(who, place)}".rstrip() for where, place in places) or "no reply"
        what = f"{who} {self.contract.name(code)}: expected {expected}"
        for where, place, payload in received:
            if (where, place) not in places:
                raise ContractError(f"{what}, got {where} {place_text(who, place)}: {data_text(payload)}")
        for key, many in places.items():
            count = sum((where, place) == key for where, place, _ in received)
            if count == 0:
                raise ContractError(f"{what}, got no reply before the one to the next request")
            if many is not True and count != many:
                raise ContractError(f"{what}, {many} times, got it {count} times")

    def check_content(self, who: str, code: int, received: list[Reply]) -> None:
        """Raises ContractError if the body of a reply is not one that the contract defines for its code."""
        promised = self.contract.replies(who, code)
        for where, place, payload in received:
            fitting = [promise.schema for promise in promised if (promise.where, promise.place) == (where, place)]
            if fitting:
                what = f"{self.contract.name(code)}: {where} {place_text(who, place)}".rstrip()
                self.contract.matching(fitting, payload, what)
        if promised and not received:
            raise ContractError(f"{who} {self.contract.name(code)}: expected a reply, got none")

    def ask(self, request: str, **keys: Any) -> Any:
        """Returns the host's reply to a request of the app. Raises Failure if it is not as in the contract."""
        code = self.contract.code(request)
        reply = self.shared_app().request(code, keys, check=False)
        failures = []
        for promise in self.contract.replies("app", code):
            try:
                self.contract.check_value(promise.schema["body"], reply, request)
                return reply
            except ContractError as error:
                failures.append(error)
        raise failures[0]

    def query(self, keyword: str, **keys: Any) -> dict[str, Any]:
        """Returns central control's reply to a query."""
        return self.central().query(keyword, **keys)

    # The show's ids, from the host's own lists.

    def media(self) -> list[dict[str, Any]]:
        listed = self.ask("media-list")["mediaList"]
        return self.numbered(listed)

    @staticmethod
    def numbered(listed: dict[str, Any]) -> list[dict[str, Any]]:
        """Returns the entries 0, 1, ... of a list in an object. Raises Failure if their number is not its count."""
        entries = [listed[str(place)] for place in range(len(listed)) if str(place) in listed]
        numbers = sum(key.isdigit() for key in listed)
        if len(entries) != listed["count"] or numbers != listed["count"]:
            raise Failure(f"{listed['count']} entries, as count says, numbered from 0",
                          f"the keys {', '.join(key for key in listed if key.isdigit()) or 'none'}")
        return entries

    def medium(self) -> dict[str, Any]:
        media = self.media()
        if not media:
            raise NotTried("no medium on the stage")
        return media[0]

    def resources(self) -> list[dict[str, Any]]:
        resources: list[dict[str, Any]] = self.ask("resource-list")["resourceMgrData"]
        return resources

    def resource(self, kind: str = "resourceId") -> dict[str, Any]:
        """Returns the first resource whose key kind is true."""
        found = [resource for resource in self.resources() if resource.get(kind)]
        if not found:
            raise NotTried("no resource in the project" if kind == "resourceId" else f"no resource with {kind}")
        return found[0]

    def groups(self) -> list[dict[str, Any]]:
        """Returns the scene groups; each has its scenes under "scenes"."""
        listed = self.ask("scene-manager-data")["sceneMgrData"]
        groups = [listed["sceneGroupDataList"][key] for key in sorted(listed["sceneGroupDataList"], key=int)]
        if len(groups) != listed["count"]:
            raise Failure(f"{listed['count']} scene groups, as count says", len(groups))
        return [{**group, "scenes": self.numbered(group)} for group in groups]

    def scene(self) -> tuple[dict[str, Any], dict[str, Any]]:
        """Returns a scene with its group."""
        for group in self.groups():
            if group["scenes"]:
                return group, group["scenes"][0]
        raise NotTried("no scene in the project")

    def stage(self) -> dict[str, Any]:
        stage: dict[str, Any] = self.ask("stage-snapshot")["stageData"]
        return stage

    def wait_until(self, condition: Any, what: str) -> None:
        """Repeats the condition until it is true. Raises Failure after the timeout."""
        deadline = time.monotonic() + self.target.timeout
        while not condition():
            if time.monotonic() > deadline:
                raise Failure(what, f"another state for {self.target.timeout:g} s")
            time.sleep(0.02)

