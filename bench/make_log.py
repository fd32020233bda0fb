#!/usr/bin/env python3
"""Writes a log of typical HL7 v2 messages for the speed and memory runs.

The 24 messages of examples/messages.hl7 (ADT A01/A04/A08 and ORU R01) are the shapes; each
copy gets its own control id, record number, name and times, so no two messages are the same
text.  Output is the "HL7Standard" framing: CR between segments, CR LF after each message.
Usage: make_log.py COUNT OUT_FILE [EXAMPLE_LOG]
"""
import os
import sys

FAMILY = [b"Okonkwo", b"Lindqvist", b"Moreau", b"Tanaka", b"Silva", b"Novak", b"Haddad", b"Kowalczyk"]
GIVEN = [b"Amara", b"Henrik", b"Lucie", b"Kenji", b"Rosa", b"Pavel", b"Yara", b"Tomasz"]


def shapes(path):
    data = open(path, "rb").read()
    messages = [m for m in data.split(b"\r\r\n") if m.startswith(b"MSH")]
    return [m.split(b"\r") for m in messages]


def vary(segments, n):
    out = []
    for segment in segments:
        fields = segment.split(b"|")
        if fields[0] == b"MSH" and len(fields) > 9:
            fields[9] = b"M%09d" % n
            fields[6] = b"2024%02d%02d%02d%02d00" % (n % 12 + 1, n % 28 + 1, n % 24, n % 60)
        elif fields[0] == b"PID" and len(fields) > 5:
            fields[3] = fields[3].replace(fields[3].split(b"^")[0], b"MR%07d" % (n % 10000000), 1)
            fields[5] = FAMILY[n % len(FAMILY)] + b"^" + GIVEN[(n // 8) % len(GIVEN)] + b"^^^"
        out.append(b"|".join(fields))
    return b"\r".join(out) + b"\r\n"


def main():
    count = int(sys.argv[1])
    here = os.path.dirname(os.path.abspath(__file__))
    source = sys.argv[3] if len(sys.argv) > 3 else os.path.join(here, "..", "examples", "messages.hl7")
    forms = shapes(source)
    with open(sys.argv[2], "wb", buffering=1 << 20) as out:
        for n in range(count):
            out.write(vary(forms[n % len(forms)], n))


if __name__ == "__main__":
    main()
