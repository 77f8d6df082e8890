"""A relay in front of a host that records the GIOP messages of each connection."""

import socket
import struct
import threading


class Recording:
    """One connection: the whole messages of client and server in order, as (is from client, octets)."""

    def __init__(self):
        self.messages = []


class RecordingRelay:
    def __init__(self, host_port):
        self.host_port = host_port
        self.recordings = []
        self.listener = socket.socket()
        self.listener.bind(("127.0.0.1", 0))
        self.listener.listen(100)
        self.port = self.listener.getsockname()[1]
        threading.Thread(target=self._accept, daemon=True).start()

    def _accept(self):
        while True:
            client, _ = self.listener.accept()
            server = socket.create_connection(("127.0.0.1", self.host_port))
            recording = Recording()
            self.recordings.append(recording)
            for pair in ((client, server, True), (server, client, False)):
                threading.Thread(target=self._pass_on, args=(*pair, recording), daemon=True).start()

    @staticmethod
    def _pass_on(source, sink, from_client, recording):
        unread = b""
        try:
            while octets := source.recv(65536):
                sink.sendall(octets)
                unread += octets
                while len(unread) >= 12:
                    size = 12 + struct.unpack_from("<I" if unread[6] & 1 else ">I", unread, 8)[0]
                    if len(unread) < size:
                        break
                    recording.messages.append((from_client, unread[:size]))
                    unread = unread[size:]
        except OSError:
            pass
        for end in (source, sink):
            try:
                end.shutdown(socket.SHUT_RDWR)
            except OSError:
                pass
