#!/usr/bin/env python3
"""host_storage_benchmark.py: reading and writing a disk of ours beside QEMU's own emulated USB disk, in one guest of
tests/host, both at high speed; each in turn, past the guest's cache. Prints a JSON line for reading and for writing,
ours outside of the guest over the loopback server, and the same for ours inside of it, on the emulated processor, over
a socket pair. QEMU's disk moves in its own process, which no bus and no socket slows down."""
import json
import pathlib
import re
import statistics
import sys
import tempfile

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "tests/host"))
from device_process import DeviceProcess, UDISK # pylint: disable=wrong-import-position
from host_test import IMAGE, PROGRAMS
from guest import SHARE
from plugboard_in_guest import PlugboardInGuest, position_of

MIB = 64
ROUNDS = 5
PEER = "QEMU's own emulated USB disk"


def rate(guest, node, direction):
    """MB/s of one run."""
    if direction == "read":
        files = f"if=/dev/{node} of=/dev/null iflag=direct"
    else:
        files = f"if=/dev/zero of=/dev/{node} oflag=direct"
    output = guest.check(f"chroot {SHARE} /usr/bin/env LC_ALL=C /usr/bin/dd {files} bs=1M count={MIB} 2>&1", 600)
    seconds = re.search(r"copied, ([\d.e-]+) s", output)
    return MIB * (1 << 20) / 1e6 / float(seconds[1])


def main():
    with PlugboardInGuest(IMAGE, PROGRAMS) as guest, tempfile.NamedTemporaryFile(suffix=".img") as image, \
            DeviceProcess(UDISK, PROGRAMS) as outside:
        image.truncate(1 << 30)
        guest.plug_in_disk(image.name)
        peer = guest.wait_node("1-1", "sd[a-z]")
        guest.attach(outside.port())
        position, = guest.wait_attached(1).values()
        inside, = guest.create("udisk")
        ours = {"": guest.wait_node(position, "sd[a-z]"), "_in_guest": guest.wait_node(position_of(inside), "sd[a-z]")}
        for direction in "write", "read": # what is read was written
            figures = {node: [] for node in (peer, *ours.values())}
            for _ in range(ROUNDS):
                for node, values in figures.items():
                    values.append(rate(guest, node, direction))
            medians = {node: statistics.median(values) for node, values in figures.items()}
            for suffix, node in ours.items():
                print(json.dumps({
                    "benchmark": f"host_storage_{direction}{suffix}", "unit": "MB/s", "ours": round(medians[node], 3),
                    "peer": PEER, "peer_value": round(medians[peer], 3),
                    "ratio": round(medians[node] / medians[peer], 3), "limit": "told, aim 1.0"},
                    separators=(",", ":")), flush=True)


if __name__ == "__main__":
    main()
