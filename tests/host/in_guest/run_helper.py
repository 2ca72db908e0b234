#!/usr/bin/env python3
"""run_helper.py HELPER: runs the program that attaches a device with every kind of standard input and argument, and
prints what became of each as a JSON object: name of the case -> [exit code, what it said]. Runs in the guest."""
import json
import os
import socket
import subprocess
import sys
import tempfile

USER = 61001
DEVICE, HIGH_SPEED = "65537", "3"


def run(arguments, standard_input, user=None):
    done = subprocess.run([sys.argv[1], *arguments], stdin=standard_input, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, text=True, user=user)
    return [done.returncode, done.stdout.strip()]


def main():
    ours, theirs = socket.socketpair()
    told = {}
    for name, arguments in {"no argument": [], "speed missing": [DEVICE], "speed of no device": [DEVICE, "4"],
                            "device that is no number": ["1-1", HIGH_SPEED], "device below zero": ["-1", HIGH_SPEED],
                            "device beyond 32 bits": [str(1 << 32), HIGH_SPEED],
                            "argument too many": [DEVICE, HIGH_SPEED, "x"]}.items():
        told[name] = run(arguments, theirs)
    with tempfile.TemporaryFile() as file, socket.create_server(("127.0.0.1", 0)) as server:
        client = socket.create_connection(server.getsockname())
        reader, _ = os.pipe()
        datagrams, _ = socket.socketpair(type=socket.SOCK_DGRAM)
        for name, standard_input in {"nothing": subprocess.DEVNULL, "file": file, "pipe": reader, "network": client,
                                     "datagrams": datagrams}.items():
            told[name] = run([DEVICE, HIGH_SPEED], standard_input)
    told["user"] = run([DEVICE, HIGH_SPEED], theirs, USER)
    told["root"] = run([DEVICE, HIGH_SPEED], theirs)
    ours.close()
    print(json.dumps(told))


if __name__ == "__main__":
    main()
