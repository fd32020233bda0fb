#!/usr/bin/env python3
"""A peer for compare.sh: parses every message of a log with the python-hl7 package, reads
MSH-9, PID-3 and PID-5 and writes the message back to text.  Prints "messages seconds" for
the parse loop alone.  Usage: LOG"""
import sys
import time

import hl7

messages = [m for m in open(sys.argv[1], "rb").read().decode("latin-1").split("\r\n") if m]
start = time.perf_counter()
seen = 0
for text in messages:
    message = hl7.parse(text)
    pid = message.segment("PID")
    read = len(str(message.segment("MSH")[9])) + len(str(pid[3])) + len(str(pid[5]))
    if read > 0 and len(str(message)) > 0:
        seen += 1
seconds = time.perf_counter() - start
if seen != len(messages):
    sys.exit("only %d of %d messages gave MSH-9, PID-3, PID-5 and their text" % (seen, len(messages)))
print("%d %.6f" % (len(messages), seconds))
