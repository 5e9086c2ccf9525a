"""The cloud service, to which the host connects by WebSocket."""

from __future__ import annotations

import json
import socket
import ssl
import urllib.parse
from typing import Any, NamedTuple

from websockets.frames import Frame, Opcode
from websockets.http11 import Request
from websockets.server import ServerConnection

from .wire import CLOUD_PORT, DEFAULT_TIMEOUT, RECEIVE_SIZE, Closed, Closing, ProtocolError, data_text, read_json


class CloudReply(NamedTuple):
    route: int
    data: str


class HostLink(Closing):
    """The connection of one host. The functions raise TimeoutError, wire.Closed and wire.ProtocolError."""

    def __init__(self, connection: socket.socket, timeout: float = DEFAULT_TIMEOUT) -> None:
        """Owns the connection, and answers the host's opening handshake. timeout: the longest wait, in seconds."""
        self.socket = connection
        self.socket.settimeout(timeout)
        self._protocol = ServerConnection(max_size=None)
        self._events: list[Any] = []
        request = self._next_event()
        if not isinstance(request, Request):
            raise ProtocolError(f"expected the opening handshake of a WebSocket (RFC 6455), got {request!r}")
        self.path = request.path
        self._protocol.send_response(self._protocol.accept(request))
        self._send_waiting()

    @property
    def login(self) -> tuple[str, str]:
        """The user and the password that the host logs in with."""
        keys = urllib.parse.parse_qs(urllib.parse.urlsplit(self.path).query, keep_blank_values=True)
        return keys.get("username", [""])[0], keys.get("password", [""])[0]

    def _send_waiting(self) -> None:
        self.socket.sendall(b"".join(self._protocol.data_to_send()))

    def _next_event(self) -> Any:
        while not self._events:
            data = self.socket.recv(RECEIVE_SIZE)
            if not data:
                raise Closed("the host has closed the cloud connection")
            self._protocol.receive_data(data)
            self._send_waiting()
            self._events += self._protocol.events_received()
        return self._events.pop(0)

    def send(self, **command: Any) -> None:
        self.send_text(json.dumps(command).encode())

    def send_text(self, text: bytes) -> None:
        """Sends a text frame."""
        self.traced("sent", lambda: f"cloud: {data_text(text)}")
        self._protocol.send_text(text)
        self._send_waiting()

    def send_binary(self, data: bytes) -> None:
        """Sends a binary frame."""
        self.traced("sent", lambda: f"cloud, binary: {data_text(data)}")
        self._protocol.send_binary(data)
        self._send_waiting()

    def receive(self, timeout: float | None = None) -> CloudReply:
        """Returns the next reply. timeout: in seconds, by default the connection's."""
        previous = self.socket.gettimeout()
        self.socket.settimeout(previous if timeout is None else timeout)
        try:
            text, final = b"", False
            while not final:
                frame = self._next_event()
                if isinstance(frame, Frame) and frame.opcode in (Opcode.TEXT, Opcode.CONT):
                    text += frame.data
                    final = frame.fin
        finally:
            self.socket.settimeout(previous)
        self.traced("received", lambda: f"cloud: {data_text(text)}")
        reply = read_json(text)
        if not isinstance(reply, dict) or set(reply) != {"route", "data"} or not isinstance(reply["data"], str):
            raise ProtocolError(f'expected an object with "route" and a text as "data", got {text[:200]!r}')
        return CloudReply(reply["route"], reply["data"])

    def close(self) -> None:
        self.socket.close()


class CloudService(Closing):
    """Listens for hosts. context: with it the service uses TLS (wss)."""

    # The class of its connections.
    link_type = HostLink

    def __init__(self, address: str = "127.0.0.1", context: ssl.SSLContext | None = None, port: int = CLOUD_PORT,
                 timeout: float = DEFAULT_TIMEOUT) -> None:
        self.timeout = timeout
        self._context = context
        self._listener = socket.create_server((address, port))

    def accept_socket(self, timeout: float | None = None) -> socket.socket:
        """Returns the next connection without a handshake."""
        self._listener.settimeout(self.timeout if timeout is None else timeout)
        connection, _ = self._listener.accept()
        connection.settimeout(self.timeout)
        return connection

    def accept(self, timeout: float | None = None) -> HostLink:
        """Waits for a host, timeout seconds at most. Raises TimeoutError, and ssl.SSLError if TLS fails."""
        connection = self.accept_socket(timeout)
        if self._context:
            connection = self._context.wrap_socket(connection, server_side=True)
        return self.link_type(connection, self.timeout)

    def close(self) -> None:
        self._listener.close()
