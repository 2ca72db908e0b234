#!/usr/bin/env python3
"""send.py COMMAND PID...: sends a command to the device processes and prints their answers, as `plugboard --send` does
for one, in a fraction of its time. Fails where one does not answer "OK". Runs in the guest."""
import socket
import sys

for process in sys.argv[2:]:
    with socket.socket(socket.AF_UNIX) as channel:
        channel.connect("/tmp/UsbDeviceCommands_" + process)
        channel.sendall(sys.argv[1].encode() + b"\n")
        answer = channel.makefile().readline()
        print(answer, end="")
        if not answer.startswith("OK"):
            sys.exit(1)
