"""The FP controller, to which the host connects."""

from __future__ import annotations

import socket
from typing import Any

from .contract import shipped
from .wire import DEFAULT_TIMEOUT, FP_PORT, Closing, EnvelopeChannel


class FpLink(EnvelopeChannel):
    """The connection of one host."""

    def request(self, request: int | str, **keys: Any) -> Any:
        """Sends a request, by name or code, and returns the body of the reply with its code.

        Raises TimeoutError, wire.Closed and wire.ProtocolError.
        """
        contract = shipped()
        code = contract.code(request)
        self.send(code, keys)
        promises = contract.replies("fp", code) if "fp" in contract.messages.get(code, {}) else []
        places = {promise.place for promise in promises} or {code}
        return self.take(lambda message: message.code in places, f"the reply to {contract.name(code)}").json()


class FpController(Closing):
    """Listens for hosts. timeout: the longest wait of one call, in seconds."""

    def __init__(self, address: str = "127.0.0.1", port: int = FP_PORT, timeout: float = DEFAULT_TIMEOUT) -> None:
        self.port = port
        self.timeout = timeout
        self._listener = socket.create_server((address, port))

    def accept(self, timeout: float | None = None) -> FpLink:
        """Waits for a host. Raises TimeoutError."""
        self._listener.settimeout(self.timeout if timeout is None else timeout)
        connection, _ = self._listener.accept()
        return FpLink(connection, self.timeout, "the host (FP)")

    def close(self) -> None:
        self._listener.close()
