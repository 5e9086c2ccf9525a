"""The wire formats: envelopes of the app and the FP controller, id forms, ports and limits.

Numbers are big-endian. Times are in seconds, sizes in bytes.
"""

from __future__ import annotations

import contextlib
import json
import select
import socket
import struct
import threading
import time
import uuid
from types import TracebackType
from typing import Any, Callable, NamedTuple, TypeVar

DISCOVERY_PORT, CONTROL_PORT, BULK_PORT, CENTRAL_PORT, FP_PORT, CLOUD_PORT, FTP_PORT = (
    25505, 25506, 25507, 25509, 25510, 25511, 25521)
DISCOVERY_REQUEST = b"App Server request Zentravox Controller"

CODE_MARK, ID_MARK = b"ZXAP", b"ZXID"
CODE_HEADER, ID_HEADER = struct.Struct(">4sII"), struct.Struct(">4s16sI")
# Set in the code of every message to the app.
REPLY = 0x10000000
MAX_REQUEST, MAX_REPLY = 4 << 20, 64 << 20
MAX_DATAGRAM = 65535
# Received messages that wait to be taken from one channel.
MAX_UNREAD = 256 << 20
RECEIVE_SIZE = 1 << 16
MAX_SHOWN = 300

# Long, because a busy machine or a host with a sanitizer is slow: only a failure waits that long.
DEFAULT_TIMEOUT = 30.0


class ProtocolError(Exception):
    """The peer violated the wire format. The text says what was expected and what was received."""


class Closed(ConnectionError):
    """The peer has closed the connection."""


class Message(NamedTuple):
    """One envelope: its code (with the reply bit, if set) and its body."""

    code: int
    body: bytes

    def json(self) -> Any:
        """Returns the body as JSON, None for an empty body. Raises ProtocolError for other bodies."""
        return read_json(self.body) if self.body else None


class IdForm(NamedTuple):
    """The body of a picture reply: an id and the picture's bytes."""

    id: uuid.UUID
    data: bytes


def hexadecimal(code: int) -> str:
    return f"0x{code:03x}"


def data_text(data: bytes) -> str:
    """Returns the beginning of the data as text, with its length if it is long."""
    text = data[:MAX_SHOWN].decode(errors="backslashreplace")
    shown = text if text.isprintable() or "\n" in text and text.replace("\n", "").isprintable() else repr(data[:MAX_SHOWN])
    return shown + (f" ... ({len(data)} bytes)" if len(data) > MAX_SHOWN else "")


def message_text(message: Message) -> str:
    return f"{hexadecimal(message.code)} {data_text(message.body)}"


def read_json(text: bytes | str) -> Any:
    """Returns the value. Raises ProtocolError if the text is not JSON."""
    try:
        return json.loads(text)
    except ValueError as error:
        raise ProtocolError(f"expected JSON, got {text[:80]!r}: {error}") from None


def envelope(code: int, body: bytes = b"") -> bytes:
    return CODE_HEADER.pack(CODE_MARK, code, len(body)) + body


def id_form(id: uuid.UUID, data: bytes) -> bytes:
    return ID_HEADER.pack(ID_MARK, id.bytes, len(data)) + data


def read_id_form(body: bytes) -> IdForm:
    """Raises ProtocolError if the body is not exactly one id form."""
    if len(body) < ID_HEADER.size or not body.startswith(ID_MARK):
        raise ProtocolError(f"expected an id form ({ID_MARK.decode()}, id, length, data), got {body[:40]!r}")
    _, id, length = ID_HEADER.unpack_from(body)
    data = body[ID_HEADER.size:]
    if length != len(data):
        raise ProtocolError(f"expected {length} bytes after the id, got {len(data)}")
    return IdForm(uuid.UUID(bytes=id), data)


def picture_size(picture: bytes) -> tuple[str, int, int]:
    """Returns format ("PNG" or "JPEG"), width and height in pixels. Raises ProtocolError for other formats."""
    try:
        if picture.startswith(b"\x89PNG\r\n\x1a\n"):
            width, height = struct.unpack_from(">II", picture, 16)
            return "PNG", width, height
        if picture.startswith(b"\xff\xd8\xff"):
            place = 2
            while picture[place + 1] not in (0xc0, 0xc2):  # baseline or progressive frame
                place += 2 + int.from_bytes(picture[place + 2:place + 4], "big")
            height, width = struct.unpack_from(">HH", picture, place + 5)
            return "JPEG", width, height
    except (struct.error, IndexError):
        raise ProtocolError(f"expected a complete picture, got {len(picture)} bytes") from None
    raise ProtocolError(f"expected a PNG or JPEG picture, got {picture[:12]!r}")


class Decoder:
    """Cuts a stream of bytes into envelopes."""

    def __init__(self, max_body: int = MAX_REPLY) -> None:
        self._max_body = max_body
        self._bytes = bytearray()

    @property
    def incomplete(self) -> int:
        """The number of received bytes that don't form a complete envelope yet."""
        return len(self._bytes)

    def feed(self, data: bytes) -> list[Message]:
        """Returns the envelopes that are complete now. Raises ProtocolError for a wrong mark or a too long body."""
        self._bytes += data
        messages = []
        start = 0
        while len(self._bytes) - start >= CODE_HEADER.size:
            mark, code, length = CODE_HEADER.unpack_from(self._bytes, start)
            if mark != CODE_MARK:
                raise ProtocolError(f"expected an envelope with the mark {CODE_MARK!r}, got {bytes(mark)!r}")
            if length > self._max_body:
                raise ProtocolError(f"expected a body of at most {self._max_body} bytes, got a length of {length}")
            body = start + CODE_HEADER.size
            if len(self._bytes) - body < length:
                break
            messages.append(Message(code, bytes(self._bytes[body:body + length])))
            start = body + length
        del self._bytes[:start]
        return messages


Self = TypeVar("Self", bound="Closing")
# Called with "sent" or "received" and the data as text.
Trace = Callable[[str, str], None]


class Closing:
    """A context manager that closes the object at its end."""

    # Set it to observe the traffic of a channel.
    trace: Trace | None = None

    def traced(self, direction: str, text: Callable[[], str]) -> None:
        if self.trace:
            self.trace(direction, text())

    def close(self) -> None:
        raise NotImplementedError

    def __enter__(self: Self) -> Self:
        return self

    def __exit__(self, kind: type[BaseException] | None, error: BaseException | None, trace: TracebackType | None) -> None:
        self.close()


class EnvelopeChannel(Closing):
    """One end of a TCP connection that carries envelopes. Several threads may use it at once.

    It reads only while a caller waits for a message. Messages that this caller doesn't wait for are stored.
    """

    def __init__(self, connection: socket.socket, timeout: float = DEFAULT_TIMEOUT, name: str = "peer") -> None:
        """Owns the connection. timeout: the longest wait of one call, in seconds."""
        self.socket = connection
        self.timeout = timeout
        self.name = name
        connection.settimeout(timeout)
        connection.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        self._decoder = Decoder()
        self._changed = threading.Condition()
        self._sending = threading.Lock()
        self._is_reading = False
        self._unread: list[Message] = []
        self._failure: Exception | None = None

    @classmethod
    def connect(cls, address: str, port: int, source: str = "", timeout: float = DEFAULT_TIMEOUT,
                name: str = "host") -> EnvelopeChannel:
        """Connects from the address source (default: any). Raises OSError."""
        return cls(socket.create_connection((address, port), timeout, (source, 0) if source else None), timeout, name)

    def send(self, code: int, body: object = None) -> None:
        """Sends a JSON body, or an empty one for None. Raises OSError."""
        self.send_bytes(code, b"" if body is None else json.dumps(body).encode())

    def send_bytes(self, code: int, body: bytes = b"") -> None:
        self.send_raw(envelope(code, body))

    def send_raw(self, data: bytes) -> None:
        """Sends bytes that need not be an envelope. Raises OSError."""
        self.traced("sent", lambda: f"{self.name}: {data_text(data)}")
        with self._sending:
            self.socket.sendall(data)

    def take(self, fits: Callable[[Message], bool], what: str, timeout: float | None = None) -> Message:
        """Waits for the first message for which fits returns true, and removes it; the others remain.

        what names the expected message in errors; timeout is in seconds. Raises TimeoutError; Closed if the peer closes
        the connection first; ProtocolError if it sends something else than envelopes.
        """
        seconds = self.timeout if timeout is None else timeout
        deadline = time.monotonic() + seconds
        with self._changed:
            while True:
                for place, message in enumerate(self._unread):
                    if fits(message):
                        return self._unread.pop(place)
                if self._failure:
                    raise type(self._failure)(f"expected {what}: {self._failure}")
                remaining = deadline - time.monotonic()
                if self._is_reading and remaining > 0:
                    self._changed.wait(remaining)
                elif self._is_reading or (remaining <= 0 and seconds > 0) or not self._read(max(remaining, 0)):
                    raise TimeoutError(f"expected {what} from {self.name} within {seconds:g} s, got nothing")

    def _read(self, seconds: float) -> bool:
        """Reads once, without the lock. Returns false if nothing arrives in this time."""
        self._is_reading = True
        self._changed.release()
        messages: list[Message] = []
        failure: Exception | None = None
        arrived = False
        try:
            # Not the socket's own timeout, which also applies to a thread that sends.
            poll = select.poll()
            poll.register(self.socket, select.POLLIN)
            arrived = bool(poll.poll(seconds * 1000))
            if arrived:
                data = self.socket.recv(RECEIVE_SIZE)
                messages = self._decoder.feed(data)
                for message in messages:
                    self.traced("received", lambda: f"{self.name}: {message_text(message)}")
                if not data:
                    rest = self._decoder.incomplete
                    failure = Closed(f"{self.name} has closed the connection" +
                                     (f" after {rest} bytes of an envelope" if rest else ""))
        except ProtocolError as error:
            failure = error
        except (OSError, ValueError) as error:  # ValueError: another thread has closed the socket
            failure = Closed(f"the connection to {self.name} is closed: {error}")
            arrived = True
        finally:
            self._changed.acquire()
            self._is_reading = False
            self._unread += messages
            self._failure = self._failure or failure
            self._changed.notify_all()
        if sum(len(message.body) for message in self._unread) > MAX_UNREAD:
            raise ProtocolError(f"more than {MAX_UNREAD} bytes from {self.name} have not been taken")
        return arrived

    def receive_bytes(self, timeout: float | None = None) -> Message | None:
        """Returns the next message, or None if the peer has closed the connection. Raises TimeoutError, ProtocolError."""
        try:
            return self.take(lambda _: True, "a message", timeout)
        except Closed:
            return None

    def receive(self, timeout: float | None = None) -> tuple[int, Any] | None:
        """Like receive_bytes, with the body as JSON (None for an empty one)."""
        message = self.receive_bytes(timeout)
        return message and (message.code, message.json())

    def unread(self) -> list[Message]:
        """Returns and removes all messages that have arrived. Doesn't wait."""
        try:
            while True:
                self.take(lambda _: False, "nothing", 0)
        except (TimeoutError, Closed):
            pass
        with self._changed:
            messages, self._unread = self._unread, []
        return messages

    def wait_for_end(self, timeout: float | None = None) -> None:
        """Waits until the peer closes the connection; ignores messages before. Raises TimeoutError."""
        try:
            self.take(lambda _: False, "the end of the connection", timeout)
        except Closed:
            pass

    def finish(self, timeout: float | None = None) -> None:
        """Ends sending and waits until the peer has handled everything and closed the connection. Raises TimeoutError."""
        with contextlib.suppress(OSError):
            self.socket.shutdown(socket.SHUT_WR)
        self.wait_for_end(timeout)

    def close(self) -> None:
        try:
            self.socket.shutdown(socket.SHUT_RDWR)  # wakes a thread that reads
        except OSError:
            pass
        self.socket.close()


class DatagramPeer(Closing):
    """A peer that exchanges datagrams with one address."""

    def __init__(self, address: str, port: int, timeout: float = DEFAULT_TIMEOUT) -> None:
        self.timeout = timeout
        self.name = f"{address}:{port}"
        self.socket = socket.socket(type=socket.SOCK_DGRAM)
        self.socket.settimeout(timeout)
        self.socket.connect((address, port))

    def send(self, datagram: bytes) -> None:
        self.traced("sent", lambda: f"{self.name}: {data_text(datagram)}")
        self.socket.send(datagram)

    def receive(self, timeout: float | None = None) -> bytes:
        """Raises TimeoutError, or ConnectionRefusedError if no program uses the port."""
        self.socket.settimeout(self.timeout if timeout is None else timeout)
        try:
            datagram = self.socket.recv(MAX_DATAGRAM)
            self.traced("received", lambda: f"{self.name}: {data_text(datagram)}")
            return datagram
        except (TimeoutError, BlockingIOError):
            seconds = self.socket.gettimeout()
            raise TimeoutError(f"expected a datagram from {self.name} within {seconds:g} s, got nothing") from None

    def close(self) -> None:
        self.socket.close()


def discover(address: str = "127.0.0.1", timeout: float = DEFAULT_TIMEOUT) -> dict[str, Any]:
    """Returns the host's answer to a discovery datagram. Raises OSError, TimeoutError and ProtocolError."""
    with DatagramPeer(address, DISCOVERY_PORT, timeout) as peer:
        peer.send(DISCOVERY_REQUEST)
        answer = read_json(peer.receive())
    if not isinstance(answer, dict):
        raise ProtocolError(f"expected an object, got {answer!r}")
    return answer
