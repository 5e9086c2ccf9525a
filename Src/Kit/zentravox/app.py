"""The mobile app."""

from __future__ import annotations

import base64
import ftplib
import threading
from pathlib import Path
from typing import Any, NamedTuple

from cryptography.hazmat.primitives.asymmetric.padding import PKCS1v15
from cryptography.hazmat.primitives.asymmetric.rsa import RSAPublicKey
from cryptography.hazmat.primitives.serialization import load_pem_public_key

from .contract import shipped
from .wire import (BULK_PORT, CONTROL_PORT, DEFAULT_TIMEOUT, FTP_PORT, REPLY, Closing, EnvelopeChannel, IdForm, Message,
                   ProtocolError, read_id_form)

HEARTBEAT, LOGIN, PUBLIC_KEY = 0x001, 0x003, 0x007
# Seconds. The host disconnects a logged-in app that has sent no heartbeat for about 5 s.
HEARTBEAT_PERIOD = 1.0
LOGIN_RESULTS = ("logged in", "unknown user", "wrong password", "another app is logged in")


class Refused(Exception):
    """The host has refused a login or a command. result is the reply's result, text its reason."""

    def __init__(self, what: str, result: int, text: str) -> None:
        super().__init__(f"{what}: {text} (result {result})")
        self.result = result
        self.text = text


class Notice(NamedTuple):
    """A message that the host sends without a request."""

    code: int
    body: Any


def encrypt(key: str, password: str) -> str:
    """Encrypts a password with the host's public key for a login. Raises ValueError if the password is too long."""
    public = load_pem_public_key(f"-----BEGIN PUBLIC KEY-----\n{key}\n-----END PUBLIC KEY-----\n".encode())
    if not isinstance(public, RSAPublicKey):
        raise ValueError("expected an RSA key")
    return base64.b64encode(public.encrypt(password.encode(), PKCS1v15())).decode()


class App(Closing):
    """An app with both channels open.

    The host identifies an app by its address: source selects one of this machine's addresses. Requests are given by name
    ("scene-play") or code. All functions wait at most timeout seconds, and raise TimeoutError, wire.Closed (a
    ConnectionError) and wire.ProtocolError.
    """

    def __init__(self, address: str = "127.0.0.1", source: str = "", timeout: float = DEFAULT_TIMEOUT) -> None:
        self.address = address
        self.contract = shipped()
        self.control = EnvelopeChannel.connect(address, CONTROL_PORT, source, timeout, "the host (control)")
        try:
            self.bulk = EnvelopeChannel.connect(address, BULK_PORT, source, timeout, "the host (bulk)")
        except BaseException:
            self.control.close()
            raise
        self._is_ready = False
        self._silent = threading.Event()
        self._beats: threading.Thread | None = None

    def request(self, request: int | str, body: dict[str, Any] | None = None, *, check: bool = True, **keys: Any) -> Any:
        """Sends a request on the control channel and returns the body of its reply; stores notices.

        The request's keys are those of body and keys. With check, raises Refused for a command that has no success.
        """
        code = self.contract.code(request)
        self.control.send(code, {**(body or {}), **keys})
        name = self.contract.name(code)
        reply = self.control.take(lambda message: self._is_reply(message, code), f"the reply to {name}").json()
        if check and self.contract.is_command(code) and reply.get("result") != 0:
            raise Refused(name, reply.get("result", -1), reply.get("errorMsg", ""))
        return reply

    def _is_reply(self, message: Message, code: int) -> bool:
        return message.code == code | REPLY and not self.contract.is_notice(*message)

    def picture(self, request: int | str, **keys: Any) -> IdForm:
        """Sends a request for a picture, and returns the id and the picture that the bulk channel receives."""
        code = self.contract.code(request)
        self.wait_for_bulk()
        self.control.send(code, keys)
        message = self.bulk.take(lambda message: message.code == code | REPLY, f"the picture of {self.contract.name(code)}")
        return read_id_form(message.body)

    def wait_for_bulk(self) -> None:
        """Waits until the host has accepted the bulk channel: earlier pictures are lost. Does nothing the second time."""
        if not self._is_ready:
            self.bulk.send(HEARTBEAT)
            self.bulk.take(lambda message: message.code == HEARTBEAT | REPLY, "the reply to a heartbeat")
            self._is_ready = True

    def wait_for_notice(self, notice: int | str | None = None, timeout: float | None = None) -> Notice:
        """Waits for a notice, by default for any, and removes it. timeout: in seconds, by default the app's."""
        code = None if notice is None else self.contract.code(notice)

        def fits(message: Message) -> bool:
            return self.contract.is_notice(*message) and code in (None, message.code & ~REPLY)

        what = "a notice" if code is None else f"the notice {self.contract.name(code)}"
        message = self.control.take(fits, what, timeout)
        return Notice(message.code & ~REPLY, message.json())

    def public_key(self) -> str:
        """Returns the key that passwords are encrypted with."""
        key = self.request(PUBLIC_KEY).get("publicKey")
        if not isinstance(key, str):
            raise ProtocolError(f"expected a public key, got {key!r}")
        return key

    def try_log_in(self, user: str, password: str, force: bool = False, key: str | None = None) -> dict[str, Any]:
        """Sends a login and returns the reply. key: of an earlier public_key(). force: replaces the app that is logged in."""
        cipher = encrypt(key or self.public_key(), password)
        reply = self.request(LOGIN, username=user, password=cipher, force=int(force), appVersion="1.0.0", appType=1)
        if not isinstance(reply, dict) or "result" not in reply:
            raise ProtocolError(f"expected an object with a result, got {reply!r}")
        return reply

    def log_in(self, user: str, password: str, force: bool = False) -> dict[str, Any]:
        """Logs in and sends heartbeats from then on. Returns the reply; raises Refused."""
        reply = self.try_log_in(user, password, force)
        result = reply["result"]
        if result != 0:
            known = isinstance(result, int) and 0 < result < len(LOGIN_RESULTS)
            raise Refused(f"login of {user}", result, LOGIN_RESULTS[result] if known else "unknown result")
        self.start_heartbeats()
        return reply

    def start_heartbeats(self, period: float = HEARTBEAT_PERIOD) -> None:
        """Sends heartbeats on the bulk channel, on a thread, until stop_heartbeats() or the end. period: in seconds."""
        self.stop_heartbeats()
        self._silent.clear()
        self._beats = threading.Thread(target=self._beat, args=(period,), daemon=True, name="heartbeats")
        self._beats.start()

    def _beat(self, period: float) -> None:
        try:
            while not self._silent.wait(period):
                self.bulk.send(HEARTBEAT)
                self.bulk.take(lambda message: message.code == HEARTBEAT | REPLY, "the reply to a heartbeat")
        except (OSError, ProtocolError):
            pass  # the next call on this channel reports it

    def stop_heartbeats(self) -> None:
        self._silent.set()
        if self._beats:
            self._beats.join()
            self._beats = None

    def upload(self, file: Path | str, name: str = "", user: str = "demo", password: str = "demo",
               timeout: float = DEFAULT_TIMEOUT) -> None:
        """Uploads a file to the host's resource folder, by FTP. name: by default the file's. Raises ftplib.Error, OSError."""
        with ftplib.FTP(timeout=timeout, encoding="utf-8") as session, open(file, "rb") as content:
            session.connect(self.address, FTP_PORT)
            session.login(user, password)
            session.storbinary(f"STOR {name or Path(file).name}", content)

    def close(self) -> None:
        self._silent.set()
        self.control.close()
        self.bulk.close()
        self.stop_heartbeats()
