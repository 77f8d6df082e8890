"""Modifies a sequence of whole GIOP messages as a broken or hostile client would."""

import struct

from giop import *


def split(whole, random):
    """Return the same message in GIOP 1.2 fragments."""
    if whole[5] != 2 or whole[7] != REQUEST or len(whole) < 64 or whole[6] & MORE_FRAGMENTS:
        return [whole]
    order = "<" if whole[6] & 1 else ">"
    cuts = sorted(random.sample(range(24, len(whole), 8), min(random.randint(1, 4), (len(whole) - 24) // 8)))
    parts = [whole[a:b] for a, b in zip([12] + cuts, cuts + [len(whole)])]

    def framed(kind, body, more):
        return b"GIOP\x01\x02" + bytes([whole[6] | (MORE_FRAGMENTS if more else 0), kind]) + \
            struct.pack(order + "I", len(body)) + body
    made = [framed(REQUEST, parts[0], len(parts) > 1)]
    for at, part in enumerate(parts[1:], 1):
        made.append(framed(FRAGMENT, whole[12:16] + part, at + 1 < len(parts)))
    return made


def request_id_of(whole):
    return whole[12:16] if whole[5] == 2 and len(whole) >= 16 else struct.pack("<I", 1)


def flipped(whole, random, begin=0):
    octets = bytearray(whole)
    for _ in range(random.choice((1, 1, 1, 2, 4, 16))):
        if begin < len(octets):
            octets[random.randrange(begin, len(octets))] = random.choice((0, 1, 0x7f, 0x80, 0xff, random.randrange(256)))
    return bytes(octets)


def resized(whole, random):
    octets = bytearray(whole)
    size = random.choice((0, 1, 4, len(whole), 0xffff, 0x7fffffff, 0xffffffff, random.randrange(1 << 20)))
    struct.pack_into("<I" if whole[6] & 1 else ">I", octets, 8, size)
    return bytes(octets)


def mutated(messages, random):
    """Return the list of octets to send. Most messages stay unchanged, so that the host also processes the later ones."""
    out = []
    for whole in messages:
        parts = split(whole, random) if random.random() < 0.4 else [whole]
        for part in parts:
            out.append(part)
            dice = random.random()
            if dice < 0.06:
                out.append(b"GIOP\x01\x02\x01\x07" + struct.pack("<I", 20) + request_id_of(whole) + bytes(16))
            elif dice < 0.10:
                out.append(b"GIOP\x01\x02\x03\x07" + struct.pack("<I", 20) + request_id_of(whole) + bytes(16))
            elif dice < 0.18:
                out.append(b"GIOP\x01\x02\x01\x02" + struct.pack("<I", 4) + request_id_of(whole))
            elif dice < 0.22:
                out.append(b"GIOP\x01\x02\x01\x02" + struct.pack("<II", 4, random.randrange(64)))
            elif dice < 0.24:
                out.append(random.choice(out))
        dice = random.random()
        if dice < 0.08:
            out[-1] = flipped(out[-1], random, 12)
        elif dice < 0.10:
            out[-1] = flipped(out[-1], random)
        elif dice < 0.11:
            out[-1] = resized(out[-1], random)
        elif dice < 0.12:
            out[-1] = out[-1][:random.randrange(len(out[-1]))]
    if random.random() < 0.1:
        random.shuffle(out)
    return out
