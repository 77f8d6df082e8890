"""NMS that behave badly, all of one kind in one process: bad_nms.py KIND PORT PASSWORD NETWORK COUNT. Each logs in from a
separate address. They continue until a line arrives on standard input, then print their results as lines `name value`."""

import itertools
import socket
import sys
import threading
import time

from giop import *

STRUCTURED_EVENT = 1
AND_OP = 0
ended = threading.Event()


class Answerer:
    """The object on which the EMS calls an NMS. It answers every call with an empty result, or never."""

    def __init__(self, address, answers):
        self.listener = socket.socket()
        self.listener.bind((address, 0))
        self.listener.listen(200)
        self.port, self.answers, self.held = self.listener.getsockname()[1], answers, []
        threading.Thread(target=self.accept, daemon=True).start()

    def accept(self):
        while True:
            peer, _ = self.listener.accept()
            if self.answers:
                threading.Thread(target=self.serve, args=(peer,), daemon=True).start()
            else:
                self.held = self.held[-50:] + [peer]

    @staticmethod
    def serve(peer):
        connection = Connection.__new__(Connection)
        connection.socket = peer
        try:
            with connection:
                while True:
                    kind, whole = connection.receive()
                    number = struct.unpack_from("<I" if whole[6] & 1 else ">I", whole, 12)[0]
                    if kind == LOCATE:
                        connection.send(message(LOCATE_REPLY, Cdr(12).ulong(number).ulong(OBJECT_HERE).octets))
                    elif kind == REQUEST and whole[16] & 3:
                        connection.send(message(REPLY, Cdr(12).ulong(number).ulong(NO_EXCEPTION).ulong(0).octets))
        except (Closed, OSError, AssertionError):
            pass


class Refused(Exception):
    """The EMS answered a call with an exception."""


class Nms:
    """An NMS at a separate address, and its calls to the EMS."""

    def __init__(self, port, user, password, address, answers=True):
        self.port, self.user, self.password, self.address = port, user, password, address
        self.own = Answerer(address, answers)
        self.connection, self.ids = None, itertools.count(1)

    def call(self, operation, key, arguments=None):
        """Call an operation. Return a reader of the reply."""
        status, reader = self.connection.call(operation, key, arguments, next(self.ids))
        if status != NO_EXCEPTION:
            raise Refused(operation)
        return reader

    def reference(self, operation, key, arguments=None):
        """Call an operation. Return the object key of the reference at the beginning of the reply."""
        found = self.call(operation, key, arguments).reference()
        if found is None:
            raise Refused(operation)
        return found[2]

    def log_in(self):
        self.drop()
        self.connection = Connection(self.port, self.address, patience=60)
        self.session = log_in(self.connection, self.user, self.password, self.address, self.own.port)
        if self.session is None:
            raise Refused("getEmsSession")
        self.channel = self.reference("getEventChannel", self.session)
        self.admin = self.reference("_get_default_consumer_admin", self.channel)

    def drop(self):
        """Close the connection without logging out."""
        if self.connection is not None:
            self.connection.socket.close()
        self.connection = None

    def consume(self, admin=None):
        """Connect a consumer at this NMS's own address."""
        proxy = self.reference("obtain_notification_push_supplier", admin or self.admin,
                               lambda cdr: cdr.ulong(STRUCTURED_EVENT))
        self.call("connect_structured_push_consumer", proxy, lambda cdr: cdr.reference(
            "IDL:omg.org/CosNotifyComm/StructuredPushConsumer:1.0", self.address, self.own.port, b"consumer"))


def tried(call, *arguments):
    """Return 1 if the call succeeded, otherwise 0."""
    try:
        call(*arguments)
        return 1
    except Refused:
        return 0


def hang(nms, seen):
    """Log in, connect a consumer and answer nothing. Log in again when the session has ended."""
    nms.log_in()
    seen["log_ins"] += 1
    tried(nms.consume)
    while not ended.wait(1):
        nms.call("ping", nms.session)


def hoard(nms, seen):
    """Create as many admins, filters, consumers and iterators as possible. After 30 rounds log in again without destroying any."""
    nms.log_in()
    seen["log_ins"] += 1
    factory = nms.reference("_get_default_filter_factory", nms.channel)
    elements = nms.reference("getManager", nms.session, lambda cdr: cdr.string("ManagedElement"))
    takers = {
        "admins": lambda: nms.reference("new_for_consumers", nms.channel, lambda cdr: cdr.ulong(AND_OP)),
        "filters": lambda: nms.reference("create_filter", factory, lambda cdr: cdr.string("EXTENDED_TCL")),
        "consumers": nms.consume,
        "iterators": lambda: nms.call("getAllManagedElementNames", elements, lambda cdr: cdr.ulong(1)),
    }
    for _ in range(30):
        for name, take in takers.items():
            for _ in range(20):
                if not tried(take):
                    break
                seen[name] += 1
        if ended.wait(0.2):
            return


def flap(nms, seen):
    """Log in, connect a consumer and leave, with or without logging out."""
    nms.log_in()
    seen["log_ins"] += 1
    tried(nms.consume)
    if seen["log_ins"] % 2:
        tried(nms.call, "endSession", nms.session)
    ended.wait(0.1)


def event(cdr):
    """Write a structured event that nobody has raised."""
    for text in ("tmf_mtnm", "NT_ALARM", "forged"):
        cdr.string(text)
    return cdr.ulong(0).ulong(0).ulong(0)


def limit_of_one(cdr):
    """Write a property list: MaxEventsPerConsumer = 1."""
    return cdr.ulong(1).string("MaxEventsPerConsumer").ulong(3).ulong(1)


def forge(nms, seen):
    """Act as a supplier, and try to use objects of the channel and of other NMS."""
    nms.log_in()
    seen["log_ins"] += 1

    def push():
        admin = nms.reference("_get_default_supplier_admin", nms.channel)
        proxy = nms.reference("obtain_notification_push_consumer", admin, lambda cdr: cdr.ulong(STRUCTURED_EVENT))
        nms.call("connect_structured_push_supplier", proxy, lambda cdr: cdr.string("").ulong(0))
        nms.call("push_structured_event", proxy, event)

    def foreign_proxies():
        reader = nms.call("_get_push_suppliers", nms.admin)
        for number in [reader.ulong() for _ in range(reader.ulong())]:
            proxy = nms.reference("get_proxy_supplier", nms.admin, lambda cdr: cdr.ulong(number))
            nms.call("disconnect_structured_push_supplier", proxy)
            seen["proxies"] += 1

    def foreign_admins():
        reader = nms.call("get_all_consumeradmins", nms.channel)
        for number in [reader.ulong() for _ in range(reader.ulong())]:
            admin = nms.reference("get_consumeradmin", nms.channel, lambda cdr: cdr.ulong(number))
            nms.call("destroy", admin)
            seen["admins"] += 1

    while not ended.wait(0.2):
        for name, attempt in (
                ("pushed", push), ("any_proxy", foreign_proxies), ("any_admin", foreign_admins),
                ("limited", lambda: nms.call("set_admin", nms.channel, limit_of_one)),
                ("slowed", lambda: nms.call("set_qos", nms.admin, limit_of_one)),
                ("channel_slowed", lambda: nms.call("set_qos", nms.channel, limit_of_one)),
                ("destroyed", lambda: nms.call("destroy", nms.channel))):
            seen[name] += tried(attempt)


NUMBERS = {"hang": "log_ins", "hoard": "log_ins admins filters consumers iterators", "flap": "log_ins",
           "forge": "log_ins pushed any_proxy proxies any_admin admins limited slowed channel_slowed destroyed"}


def behave(kind, nms, seen):
    while not ended.is_set():
        try:
            globals()[kind](nms, seen)
        except (Refused, Closed, OSError, AssertionError, struct.error):
            seen["setbacks"] += 1
            ended.wait(0.3)
    nms.drop()


def main():
    kind, port, password, network, count = sys.argv[1:6]
    all_seen = []
    for number in range(int(count)):
        seen = dict.fromkeys(NUMBERS[kind].split() + ["setbacks"], 0)
        all_seen.append(seen)
        nms = Nms(int(port), kind, password, f"{network}.{number + 1}", answers=kind != "hang")
        threading.Thread(target=behave, args=(kind, nms, seen), daemon=True).start()
    while any(seen["log_ins"] == 0 and seen["setbacks"] < 100 for seen in all_seen):
        time.sleep(0.05)
    print("ready", flush=True)
    while sys.stdin.readline().strip() == "log_ins":
        print(sum(seen["log_ins"] for seen in all_seen), flush=True)
    ended.set()
    for name in all_seen[0]:
        print(name, sum(seen[name] for seen in all_seen), flush=True)


if __name__ == "__main__":
    main()
