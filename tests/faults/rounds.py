#!/usr/bin/env python3
"""rounds.py BUILD [ROUNDS [HOURS]]: what must not grow, however often something is done or however long it lasts.

Makes fifty devices and ends them again, ROUNDS times (20: a thousand devices). In every other round they are killed, and a
listing finds that out. After each round there are no more files, sockets or processes than after the first one.

Then the transfers that a keyboard, a mouse and a disk would have in HOURS (24) at ten requests a second, as fast as they go,
with a capture program at each. After a tenth of them a device's memory, files and threads grow no more; the capture program,
which keeps the packets, stays within its budget of memory. Exits with 1 when something grew.
"""
import json
import os
import pathlib
import re
import shutil
import signal
import struct
import subprocess
import sys
import tempfile
import time

from run import own_processes

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "host"))
from device_process import KEYBOARD, MOUSE, UDISK, DeviceProcess # pylint: disable=wrong-import-position
from usbip_client import UsbipClient # pylint: disable=wrong-import-position

DEVICES = 50
RATE = 10     # requests a second of a device in use
WAITING = 32  # control transfers that are under way together
POINTS = 10   # at which is looked
GROWTH = 2    # MiB that a heap may move about
BUDGET = 512  # MiB of packets that a capture program has in memory
BLOCKS = 8    # of 512 bytes that the disk reads or writes at a time


def make_and_end(build, rounds):
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        sockets = folder / "sockets"
        sockets.mkdir()
        for program in ("plugboard", "usb-daemon.exe"):
            shutil.copy(build / "bin" / program, folder)
        lab = folder / "lab.json"
        lab.write_text(json.dumps({"devices": [{"type": "mouse" if n % 2 else "keyboard"} for n in range(DEVICES)]}))
        environment = os.environ | {"PLUGBOARD_HOST": "none", "PLUGBOARD_USER_DATA": str(folder / "user"),
                                    "TMPDIR": str(sockets)}

        def plugboard(*arguments):
            subprocess.run([folder / "plugboard", *map(str, arguments)], env=environment, check=True,
                           stdout=subprocess.DEVNULL, timeout=300)

        first = None
        for number in range(rounds):
            plugboard("--lab", lab)
            made = own_processes(folder)
            if len(made) != DEVICES:
                sys.exit(f"round {number}: {len(made)} devices")
            if number % 2:
                for process in made:
                    os.kill(process, signal.SIGKILL)
                plugboard("--list")
            else:
                plugboard("--delete-lab", lab)
                plugboard("--list")
            left = (len(list(folder.iterdir())), len(list(sockets.iterdir())), len(own_processes(folder)))
            first = first or left
            if left != first:
                sys.exit(f"round {number}: files, sockets and processes grew from {first} to {left}")
        print(f"{rounds * DEVICES} devices made and ended; files, sockets, processes afterwards: {first}")


class Host(UsbipClient):
    """Asks a keyboard or mouse for its state."""

    def requests(self, count):
        setup = bytes.fromhex("a101000100000800")
        for number in range(count + WAITING):
            if number < count:
                self._submit(0, 8, setup)
            if number >= WAITING:
                assert self._reply_of_control(True)[0] == 0


class DiskHost(Host):
    """Writes to a disk and reads what it wrote, command by command."""

    def __init__(self, port):
        super().__init__(port)
        place, bytes_ = 0, self._control("8006000200000001")
        self.endpoints = {}
        while place < len(bytes_):
            if bytes_[place + 1] == 5 and bytes_[place + 3] == 2:
                self.endpoints[bool(bytes_[place + 2] & 0x80)] = bytes_[place + 2] & 0x0F
            place += bytes_[place]
        while self._command(bytes(6), 0):  # until it is ready
            self._command(bytes([3, 0, 0, 0, 18, 0]), 18)

    def _command(self, block, length, data=b""):
        """Its status, 0 when it went well."""
        is_in = not data
        self._submit(self.endpoints[False], 31, data=struct.pack("<4sIIBBB", b"USBC", self.sequence, length,
                     0x80 if is_in else 0, 0, len(block)) + block.ljust(16, b"\0"), is_in=False)
        if length:
            self._submit(self.endpoints[is_in], length, data=data, is_in=is_in)
        self._submit(self.endpoints[True], 13)
        self._reply_of_control(False)
        if length:
            self.data = self._reply_of_control(is_in)[1][0]
        return self._reply_of_control(True)[1][0][12]

    def requests(self, count):
        for number in range(count // 2):
            data, place = struct.pack("<Q", number) * (BLOCKS * 64), number * BLOCKS % 4096
            assert self._command(struct.pack(">BBIBHB", 0x2A, 0, place, 0, BLOCKS, 0), len(data), data) == 0
            assert self._command(struct.pack(">BBIBHB", 0x28, 0, place, 0, BLOCKS, 0), len(data)) == 0
            assert self.data == data


def spent(process):
    """Memory in MiB, files and threads of a process."""
    folder = pathlib.Path(f"/proc/{process}")
    memory = re.search(r"VmRSS:\s+(\d+)", (folder / "status").read_text())
    return int(memory[1]) / 1024, len(list((folder / "fd").iterdir())), len(list((folder / "task").iterdir()))


def use(build, name, parameters, kind, requests):
    with DeviceProcess(parameters, build / "bin") as device:
        host = kind(device.port())
        files = spent(device.process.pid)[1]
        capture = subprocess.Popen([build / "bin/plugboard-capture", str(device.process.pid), "--headless", "900000"],
                                   stdout=subprocess.DEVNULL)
        try:
            while spent(device.process.pid)[1] == files:  # until it is connected
                time.sleep(0.1)
            seen = []
            for point in range(POINTS):
                host.requests(requests // POINTS)
                seen.append((spent(device.process.pid), spent(capture.pid)))
                print(f"  {name}, {point + 1} of {POINTS}: device",
                      *("{:.1f} MiB, {} files, {} threads{}".format(*each, "; capture" if each is seen[-1][0] else "")
                        for each in seen[-1]), flush=True)
        finally:
            capture.terminate()
            capture.wait(60)
            host.close()
    (first_memory, *first_rest), (_, *first_capture) = seen[0]
    for (memory, *rest), (capture_memory, *capture_rest) in seen:
        if memory > first_memory + GROWTH or rest != first_rest:
            sys.exit(f"{name}: the device process grew")
        # A temporary file is one more.
        if capture_memory > BUDGET + 64 or capture_rest[0] > first_capture[0] + 1 or capture_rest[1] != first_capture[1]:
            sys.exit(f"{name}: the capture program grew")


def main():
    build = pathlib.Path(sys.argv[1]).resolve()
    make_and_end(build, int(sys.argv[2]) if len(sys.argv) > 2 else 20)
    requests = int(float(sys.argv[3] if len(sys.argv) > 3 else 24) * 3600 * RATE)
    for name, parameters, kind in (("keyboard", KEYBOARD, Host), ("mouse", MOUSE, Host), ("disk", UDISK, DiskHost)):
        use(build, name, parameters, kind, requests)
    print(f"{requests} requests for each of three devices: nothing grew")


if __name__ == "__main__":
    main()
