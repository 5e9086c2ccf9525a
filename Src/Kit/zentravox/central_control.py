"""A central-control system."""

from __future__ import annotations

import json
from typing import Any

from .app import Refused
from .contract import shipped
from .wire import CENTRAL_PORT, DEFAULT_TIMEOUT, DatagramPeer, ProtocolError, read_json


class CentralControl(DatagramPeer):
    """Sends keywords to the host's port and receives the replies. timeout: the longest wait of one call, in seconds.

    The functions raise TimeoutError, wire.ProtocolError, and ConnectionRefusedError if no host uses the port.
    """

    def __init__(self, address: str = "127.0.0.1", timeout: float = DEFAULT_TIMEOUT) -> None:
        super().__init__(address, CENTRAL_PORT, timeout)

    def ask(self, **message: Any) -> Any:
        """Sends an object; returns the reply: an object for a query, text for a command."""
        self.send(json.dumps(message).encode())
        answer = self.receive().decode(errors="replace")
        return read_json(answer) if answer.startswith("{") else answer

    def query(self, keyword: str, **keys: Any) -> dict[str, Any]:
        """Returns the object that the host replies to a query."""
        answer = self.ask(cmd=keyword, **keys)
        if not isinstance(answer, dict):
            raise ProtocolError(f'expected an object for "{keyword}", got {answer!r}')
        return answer

    def command(self, keyword: str, **keys: Any) -> None:
        """Sends a command; raises app.Refused if the host doesn't execute it."""
        answer = self.ask(cmd=keyword, **keys)
        if answer != "SUCCESS":
            texts = shipped().shapes["resultText"]["enum"]
            text = answer.get("errorMsg", "") if isinstance(answer, dict) else answer
            raise Refused(keyword, texts.index(text) if text in texts else -1, text)
