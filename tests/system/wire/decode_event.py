"""Decodes the arguments of push_structured_event and prints the event line by line: each name with its TypeCode on the wire
and its value. The input on standard input is hexadecimal CDR, little-endian, beginning at a multiple of 8. The decoder shares
no code with the ORB that encoded the arguments."""

import struct
import sys

BASIC = {2: ("short", "h", 2), 3: ("long", "i", 4), 4: ("ushort", "H", 2), 5: ("ulong", "I", 4),
         6: ("float", "f", 4), 7: ("double", "d", 8), 8: ("boolean", "B", 1), 10: ("octet", "B", 1)}
NULL, VOID, STRUCT, ENUM, STRING, SEQUENCE, ALIAS = 0, 1, 15, 17, 18, 19, 21


class Cdr:
    def __init__(self, data, at=0, base=0):
        self.data, self.at, self.base = data, at, base

    def number(self, form, size):
        self.at += -(self.at - self.base) % size
        value, = struct.unpack_from("<" + form, self.data, self.at)
        self.at += size
        return value

    def ulong(self):
        return self.number("I", 4)

    def string(self):
        length = self.ulong()
        text = self.data[self.at:self.at + length]
        self.at += length
        assert text[-1] == 0, "a string without its end"
        return text[:-1].decode()

    def encapsulation(self):
        length = self.ulong()
        inner = Cdr(self.data, self.at, self.at)
        assert inner.number("B", 1) == 1, "not little endian"
        self.at += length
        return inner


def typecode(cdr):
    kind = cdr.ulong()
    if kind in BASIC or kind in (NULL, VOID):
        return kind, None
    if kind == STRING:
        return kind, cdr.ulong()
    inner = cdr.encapsulation()
    if kind == SEQUENCE:
        return kind, (typecode(inner), inner.ulong())
    repository_id = inner.string()
    inner.string()
    if kind == ALIAS:
        return kind, (repository_id, typecode(inner))
    if kind == STRUCT:
        return kind, (repository_id, [(inner.string(), typecode(inner)) for _ in range(inner.ulong())])
    if kind == ENUM:
        return kind, (repository_id, [inner.string() for _ in range(inner.ulong())])
    raise ValueError("TypeCode kind %d" % kind)


def in_words(code):
    kind, more = code
    if kind in BASIC:
        return BASIC[kind][0]
    if kind in (NULL, VOID):
        return "null"
    if kind == STRING:
        return "string"
    if kind == SEQUENCE:
        return "sequence<%s>" % in_words(more[0])
    if kind == ALIAS:
        return "%s=%s" % (more[0], in_words(more[1]))
    if kind == STRUCT:
        return "%s{%s}" % (more[0], ",".join(name + ":" + in_words(member) for name, member in more[1]))
    return more[0]


def value(cdr, code):
    kind, more = code
    if kind in BASIC:
        return str(cdr.number(*BASIC[kind][1:]))
    if kind in (NULL, VOID):
        return ""
    if kind == STRING:
        return "'" + cdr.string() + "'"
    if kind == ALIAS:
        return value(cdr, more[1])
    if kind == SEQUENCE:
        return "[" + ",".join(value(cdr, more[0]) for _ in range(cdr.ulong())) + "]"
    if kind == STRUCT:
        return "{" + ",".join(value(cdr, member) for _, member in more[1]) + "}"
    return more[1][cdr.ulong()]


def properties(cdr, title):
    for _ in range(cdr.ulong()):
        name = cdr.string()
        code = typecode(cdr)
        print(title, name, in_words(code), value(cdr, code))


def main():
    cdr = Cdr(bytes.fromhex(sys.stdin.read().replace(":", "")))
    print("domain", cdr.string())
    print("type", cdr.string())
    print("name", cdr.string())
    properties(cdr, "header")
    properties(cdr, "field")
    rest = typecode(cdr)
    print("remainder", in_words(rest), value(cdr, rest))
    assert cdr.at == len(cdr.data), "%d octets of %d" % (cdr.at, len(cdr.data))


main()
