"""A proxy that turns a correct host into a wrong one: it changes what the host and its remotes send each other."""

import contextlib
import socket
import threading

from zentravox import CloudService, HostLink
from zentravox.wire import (BULK_PORT, CENTRAL_PORT, CONTROL_PORT, DISCOVERY_PORT, MAX_DATAGRAM, RECEIVE_SIZE, Closing, Decoder,
                            Message, envelope)


class Fault:
    """Passes everything unchanged. Each function returns what is passed on instead of its argument."""

    def reply(self, link, message):
        """message: an envelope of the host. Returns a list of envelopes, or of pairs of a link and an envelope."""
        return [message]

    def request(self, link, data):
        """data: bytes of the remote."""
        return data

    def datagram(self, port, data):
        """data: a datagram of the host. Returns a list of datagrams."""
        return [data]

    def asked(self, port, data):
        """data: a datagram of the remote. Returns the datagram for the host, or the proxy's answer as a list."""
        return data

    def cloud(self, reply):
        """reply: one of the host to the cloud. Returns a list of replies."""
        return [reply]


class Link:
    """One connection of a remote to the proxy, and the proxy's connection to the host."""

    def __init__(self, proxy, remote, host, port):
        self.proxy, self.remote, self.host, self.port = proxy, remote, host, port
        self.address = remote.getpeername()[0]
        for work in (self._pass_requests, self._pass_replies):
            threading.Thread(target=work, daemon=True).start()

    def other(self):
        """Returns the newest link of the same remote on its other channel."""
        return next(link for link in reversed(self.proxy.links)
                    if link.port != self.port and link.address == self.address)

    def send(self, message):
        self.remote.sendall(envelope(*message))

    def close(self):
        for end in (self.remote, self.host):
            with contextlib.suppress(OSError):
                end.shutdown(socket.SHUT_RDWR)

    def _pass_requests(self):
        with contextlib.suppress(OSError):
            while data := self.remote.recv(RECEIVE_SIZE):
                self.host.sendall(self.proxy.fault.request(self, data))
            self.host.shutdown(socket.SHUT_WR)

    def _pass_replies(self):
        decoder = Decoder()
        with contextlib.suppress(OSError):
            while data := self.host.recv(RECEIVE_SIZE):
                for message in decoder.feed(data):
                    for passed in self.proxy.fault.reply(self, message):
                        link, message = (self, passed) if isinstance(passed, Message) else passed
                        link.send(message)
        self.close()


class WrongHost(Closing):
    """Has the host's ports at another address. fp: address and port of an FP controller that the host reaches through it."""

    def __init__(self, address, host, fp=None):
        self.fault = Fault()
        self.links = []
        self._sockets = []
        for port in (CONTROL_PORT, BULK_PORT):
            self._serve(socket.create_server((address, port)), lambda source, port=port: socket.create_connection(
                (host, port), source_address=(source, 0)), port)
        if fp:
            listener = socket.create_server((address, 0))
            self.fp_address = f"{address}:{listener.getsockname()[1]}"
            self._serve(listener, lambda _: socket.create_connection(fp), 0)
        for port in (DISCOVERY_PORT, CENTRAL_PORT):
            self._serve_datagrams(address, host, port)

    def _serve(self, listener, connect, port):
        def accept():
            with contextlib.suppress(OSError):
                while True:
                    caller, (source, _) = listener.accept()
                    # The FP controller is the remote, although the host connects to it.
                    remote, far = (caller, connect(source)) if port else (connect(source), caller)
                    self.links.append(Link(self, remote, far, port))
        self._start(listener, accept)

    def _serve_datagrams(self, address, host, port):
        server = socket.socket(type=socket.SOCK_DGRAM)
        server.bind((address, port))
        peers = {}

        def answer(peer, source):
            with contextlib.suppress(OSError):
                while True:
                    received = peer.recv(MAX_DATAGRAM)  # the fault may change while this waits
                    for data in self.fault.datagram(port, received):
                        server.sendto(data, source)

        def receive():
            with contextlib.suppress(OSError):
                while True:
                    data, source = server.recvfrom(MAX_DATAGRAM)
                    passed = self.fault.asked(port, data)
                    if isinstance(passed, list):
                        for data in passed:
                            server.sendto(data, source)
                        continue
                    if source not in peers:
                        peers[source] = socket.socket(type=socket.SOCK_DGRAM)
                        peers[source].connect((host, port))
                        self._start(peers[source], lambda: answer(peers[source], source))
                    peers[source].send(passed)
        self._start(server, receive)

    def _start(self, end, work):
        self._sockets.append(end)
        threading.Thread(target=work, daemon=True).start()

    def close(self):
        for link in self.links:
            link.close()
        for end in self._sockets:
            with contextlib.suppress(OSError):
                end.shutdown(socket.SHUT_RDWR)
            end.close()


class WrongCloud(CloudService):
    """A cloud service that receives changed replies."""

    fault = Fault()

    class link_type(HostLink):
        waiting = []

        def receive(self, timeout=None):
            while not self.waiting:
                self.waiting = WrongCloud.fault.cloud(super().receive(timeout))
            return self.waiting.pop(0)
