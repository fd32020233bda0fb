#!/usr/bin/env python3
"""A peer for compare.sh: parses every message of a log with the python-hl7 package and reads
PID-3 and PID-5.  Prints "messages seconds" for the parse loop alone.  Usage: LOG"""
import sys
import time

import hl7

messages = [m for m in open(sys.argv[1], "rb").read().decode("latin-1").split("\r\n") if m]
start = time.perf_counter()
seen = 0
for text in messages:
    pid = hl7.parse(text).segment("PID")
    if len(str(pid[3])) + len(str(pid[5])) > 0:
        seen += 1
seconds = time.perf_counter() - start
if seen != len(messages):
    sys.exit("only %d of %d messages gave PID-3 and PID-5" % (seen, len(messages)))
print("%d %.6f" % (len(messages), seconds))
