#!/usr/bin/env python3
"""hold_ports.py: attaches a socket that never answers to every free high-speed port of the virtual host controller
and keeps them until it is ended. Runs in the guest."""
import glob
import signal
import socket

CONTROLLER = "/sys/devices/platform/vhci_hcd.0"
FREE, HIGH_SPEED = 4, 3

kept = []
for path in sorted(glob.glob(f"{CONTROLLER}/status*")):
    with open(path) as file:
        rows = [line.split() for line in file][1:]
    for hub, port, state, *_ in rows:
        if hub == "hs" and int(state) == FREE:
            pair = socket.socketpair()
            kept.append(pair[1])
            with open(f"{CONTROLLER}/attach", "w") as attach:
                attach.write(f"{int(port)} {pair[0].fileno()} {65537} {HIGH_SPEED}")
            pair[0].close()
print(f"{len(kept)} ports held", flush=True)
signal.pause()
