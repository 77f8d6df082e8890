"""Hand-made little-endian GIOP for attackers that share no code with the ORB under attack."""

import socket
import struct

REQUEST, REPLY, CANCEL, LOCATE, LOCATE_REPLY, CLOSE, ERROR, FRAGMENT = range(8)
KEY_ADDR, PROFILE_ADDR, REFERENCE_ADDR = range(3)
NO_EXCEPTION, USER_EXCEPTION, SYSTEM_EXCEPTION, LOCATION_FORWARD = range(4)
UNKNOWN_OBJECT, OBJECT_HERE = range(2)
MORE_FRAGMENTS = 2
FACTORY_KEY = b"\xffV4800\x00EMSSessionFactory"


class Cdr:
    """An encoder. Alignment counts from `base` octets before its beginning."""

    def __init__(self, base=0):
        self.octets, self.base = bytearray(), base

    def align(self, size):
        self.octets += bytes(-(len(self.octets) + self.base) % size)
        return self

    def octet(self, value):
        self.octets.append(value)
        return self

    def ushort(self, value):
        self.align(2).octets.extend(struct.pack("<H", value))
        return self

    def ulong(self, value):
        self.align(4).octets.extend(struct.pack("<I", value))
        return self

    def sequence(self, octets):
        self.ulong(len(octets)).octets.extend(octets)
        return self

    def string(self, text):
        octets = text if isinstance(text, bytes) else text.encode()
        return self.sequence(octets + b"\0")

    def raw(self, octets):
        self.octets.extend(octets)
        return self

    def encapsulation(self, inner):
        return self.sequence(bytes(inner.octets))

    def profile(self, host, port, key, tag=0):
        """Append a tagged IIOP 1.2 profile."""
        self.ulong(tag)
        return self.encapsulation(Cdr().octet(1).octet(1).octet(2).string(host).ushort(port).sequence(key).ulong(0))

    def reference(self, type_id, host, port, key):
        return self.string(type_id).ulong(1).profile(host, port, key)


class Reader:
    """A decoder of a peer's answer, in the peer's byte order."""

    def __init__(self, octets, little=True, at=0):
        self.octets, self.order, self.at = octets, "<" if little else ">", at

    def number(self, form, size):
        self.at += -self.at % size
        value, = struct.unpack_from(self.order + form, self.octets, self.at)
        self.at += size
        return value

    def octet(self):
        return self.number("B", 1)

    def ushort(self):
        return self.number("H", 2)

    def ulong(self):
        return self.number("I", 4)

    def sequence(self):
        length = self.ulong()
        value = bytes(self.octets[self.at:self.at + length])
        self.at += length
        return value

    def string(self):
        return self.sequence()[:-1].decode(errors="replace")

    def reference(self):
        """Read a reference. Return (host, port, object key) of its first IIOP profile, or None for nil."""
        self.string()
        found = None
        for _ in range(self.ulong()):
            tag, body = self.ulong(), self.sequence()
            if tag == 0 and found is None:
                inner = Reader(body, bool(body[0]), 1)
                inner.octet(), inner.octet()
                host, port = inner.string(), inner.ushort()
                found = (host, port, inner.sequence())
        return found


def message(kind, body=b"", flags=0, minor=2, magic=b"GIOP", size=None):
    return magic + struct.pack("<BBBBI", 1, minor, flags | 1, kind, len(body) if size is None else size) + bytes(body)


def request_header(request_id, operation, target, disposition=KEY_ADDR, response=3):
    """Encode a GIOP 1.2 request up to the beginning of its arguments. `target` is a key, or a function that encodes the
    target which the disposition requires."""
    cdr = Cdr(12).ulong(request_id).octet(response).raw(bytes(3)).ushort(disposition)
    if disposition == KEY_ADDR:
        cdr.sequence(target)
    else:
        target(cdr)
    return cdr.string(operation).ulong(0)


def request(request_id, operation, target, arguments=None, flags=0, **header):
    """Return a request. The function `arguments` writes the arguments into the encoder."""
    cdr = request_header(request_id, operation, target, **header)
    if arguments is not None:
        arguments(cdr.align(8))
    if flags & MORE_FRAGMENTS:
        cdr.align(8).octets.extend(bytes((4 - len(cdr.octets)) % 8))
    return message(REQUEST, cdr.octets, flags)


def fragment(request_id, octets=b"", flags=0):
    return message(FRAGMENT, struct.pack("<I", request_id) + octets, flags)


def cancel(request_id):
    return message(CANCEL, struct.pack("<I", request_id))


def locate(request_id, key):
    return message(LOCATE, Cdr(12).ulong(request_id).ushort(KEY_ADDR).sequence(key).octets)


class Closed(Exception):
    """The peer has closed the connection."""


class Connection:
    """A connection from a given loopback address."""

    def __init__(self, port, source="127.0.0.1", host="127.0.0.1", patience=20):
        self.socket = socket.socket()
        self.socket.settimeout(patience)
        self.socket.bind((source, 0))
        self.socket.connect((host, port))

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.socket.close()

    def send(self, octets):
        try:
            self.socket.sendall(octets)
        except OSError as gone:
            raise Closed from gone

    def exactly(self, count):
        octets = b""
        while len(octets) < count:
            try:
                more = self.socket.recv(count - len(octets))
            except TimeoutError:
                raise
            except OSError as gone:
                raise Closed from gone
            if not more:
                raise Closed
            octets += more
        return octets

    def receive(self):
        """Return (message type, whole message) of the next message."""
        header = self.exactly(12)
        assert header[:4] == b"GIOP", "no GIOP"
        size, = struct.unpack(("<" if header[6] & 1 else ">") + "I", header[8:])
        return header[7], header + self.exactly(size)

    def reply(self):
        """Return (reply status, reader at the reply's body) of the next reply."""
        kind, whole = self.receive()
        if kind != REPLY:
            raise Closed(f"message {kind} instead of a reply")
        reader = Reader(whole, bool(whole[6] & 1), 12)
        reader.ulong()
        status = reader.ulong()
        for _ in range(reader.ulong()):
            reader.ulong(), reader.sequence()
        if reader.at < len(whole):
            reader.at += -reader.at % 8
        return status, reader

    def call(self, operation, key, arguments=None, request_id=1):
        self.send(request(request_id, operation, key, arguments))
        return self.reply()


def closes(connection, limit=20):
    """True if the peer closes the connection. Data that it sends before is discarded."""
    connection.socket.settimeout(limit)
    try:
        while connection.socket.recv(65536):
            pass
    except TimeoutError:
        return False
    except OSError:
        return True
    return True


def log_in(connection, user, password, host, port, key=b"nms"):
    """Log in with a session object at `host`:`port`. Return the session's object key, or None if the log-in is refused."""
    def arguments(cdr):
        cdr.string(user).string(password)
        cdr.align(4).reference("IDL:mtnm.tmforum.org/nmsSession/NmsSession_I:1.0", host, port, key)
    status, reader = connection.call("getEmsSession", FACTORY_KEY, arguments)
    return reader.reference()[2] if status == NO_EXCEPTION else None
