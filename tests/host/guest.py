"""guest.py: a stock Linux kernel as the host of devices; runs commands there and tells what the kernel made of them."""
import base64
import os
import pathlib
import re
import shlex
import socket
import time

from machine.qemu import Machine

SHARE = "/host"          # where the guest sees this machine's file system
CLOCK_TICKS = os.sysconf("SC_CLK_TCK")
CONTROLLER = "/sys/devices/platform/vhci_hcd.0"
USED = 6                 # state of a port of the virtual controller: a device with an address


class GuestFault(AssertionError):
    """A command failed in the guest, or a condition did not come true there."""


class Guest:
    """One machine, from its start to close(). This machine's file system lies read-only below /host, with a /tmp of the
    guest's own, so that this machine's programs run there by chroot. A file that changes here while a guest runs may
    look unchanged to it."""

    def __init__(self, image):
        self.machine = Machine(image)
        self.last = 0
        try:
            # The clock goes on from the time of the save.
            self.check(f"""set -e
                date -s @{int(time.time())} >/dev/null
                mount -t 9p -o trans=virtio,version=9p2000.L,msize=512000,cache=loose,ro share {SHARE}
                mount -t tmpfs -o size=90% tmpfs {SHARE}/tmp
                for place in proc sys dev; do mount --rbind /$place {SHARE}/$place; done
                dmesg -c >/dev/null""", 120)
        except BaseException:
            self.close()
            raise

    def _line(self, seconds):
        """The next line of the command channel, as its words."""
        end = time.monotonic() + seconds
        parts = []
        while not parts or not parts[-1].endswith(b"\n"):
            self.machine.channel.settimeout(max(0.1, end - time.monotonic()))
            try:
                parts.append(self.machine.channel.recv(1 << 20))
            except socket.timeout:
                raise GuestFault("The guest does not answer. Its console:\n" + self.machine.console()) from None
            if not parts[-1]:
                raise GuestFault("The guest has ended. Its console:\n" + self.machine.console())
        return b"".join(parts)[:-1].decode().split(" ")

    def run(self, script, seconds=60):
        """Exit status (137: it ran too long) and output, both streams together, of a shell script."""
        self.last += 1
        self.machine.channel.sendall(b"%d %d %s\n" % (self.last, seconds, base64.b64encode(script.encode())))
        while True:
            number, status, output = self._line(seconds + 120)
            if number == str(self.last):
                return int(status), base64.b64decode(output).decode(errors="replace")

    def check(self, script, seconds=60):
        """Output of a shell script that must succeed."""
        status, output = self.run(script, seconds)
        if status:
            raise GuestFault(f"Status {status} of:\n{script}\nOutput:\n{output}")
        return output

    def wait(self, condition, seconds=60):
        """Runs a shell script until it succeeds and returns its last output."""
        status, output = self.run(f"""
            now() {{ cut -d. -f1 /proc/uptime; }}
            condition() {{
                {condition}
            }}
            end=$(($(now) + {seconds}))
            until output=$(condition 2>&1); do
                [ $(now) -lt $end ] || {{ echo "$output"; exit 1; }}
                usleep 50000
            done
            echo "$output" """, seconds + 60)
        if status:
            raise GuestFault(f"Not within {seconds} s: {condition}\nLast output:\n{output}\n"
                             f"Kernel log:\n{self.run('dmesg | tail -n 20')[1]}")
        return output.rstrip("\n")

    def read(self, path):
        """Bytes of a file of the guest."""
        return base64.b64decode(self.check(f"base64 -w 0 {shlex.quote(path)}", 120))

    def write(self, path, content):
        """Makes a file of the guest with these bytes."""
        piece = 1 << 20 # bytes; a command of many MiB would not be taken
        self.check(f": >{shlex.quote(path)}")
        for start in range(0, len(content), piece):
            text = base64.b64encode(content[start:start + piece]).decode()
            self.check(f"echo {text} | base64 -d >>{shlex.quote(path)}", 120)

    def kernel_log(self):
        """Lines of the kernel's log, each without its time, since this was last called."""
        return [line.split("] ", 1)[-1] for line in self.check("dmesg -c").splitlines()]

    def attached(self):
        """Bus positions ("3-1") of the devices on the virtual controller that have an address, by port."""
        ports = {}
        for line in self.check(f"cat {CONTROLLER}/status*").splitlines():
            words = line.split()
            if len(words) == 7 and words[1].isdigit() and int(words[2]) == USED:
                ports[int(words[1])] = words[6]
        return ports

    def wait_attached(self, count, seconds=60):
        """Waits until that many devices have an address and all their interfaces drivers; returns attached()."""
        self.wait(f"""
            [ $(cat {CONTROLLER}/status* | grep -c '^.s  [0-9]* 00{USED} ') = {count} ] || exit 1
            for position in $(awk '$3 == "00{USED}" {{print $7}}' {CONTROLLER}/status*); do
                ls -d /sys/bus/usb/devices/$position:* >/dev/null || exit 1
                for interface in /sys/bus/usb/devices/$position:*; do
                    [ -e $interface/driver ] || {{ echo "$interface has no driver"; exit 1; }}
                done
            done""".replace("exit 1", "return 1"), seconds)
        return self.attached()

    def nodes(self, position, pattern):
        """Names below /dev of what the drivers made of the device at that bus position, those that match."""
        output = self.run(f"find $(readlink -f /sys/bus/usb/devices/{position}) -name uevent "
                          "-exec grep -hs '^DEVNAME=' {} +")[1]
        return sorted({line[8:] for line in output.splitlines()
                       if line.startswith("DEVNAME=") and re.fullmatch(pattern, line[8:])})

    def wait_nodes(self, position, pattern, seconds=60):
        """The nodes below /dev that match; waits for the first."""
        end = time.monotonic() + seconds
        while not (found := self.nodes(position, pattern)):
            if time.monotonic() > end:
                raise GuestFault(f"{position} has no node {pattern}, but {self.nodes(position, '.*')}. Kernel log:\n" +
                                 self.run("dmesg | tail -n 20")[1])
            time.sleep(0.1)
        return found

    def wait_node(self, position, pattern, seconds=60):
        """The one node below /dev that matches; waits for it."""
        found = self.wait_nodes(position, pattern, seconds)
        if len(found) > 1:
            raise GuestFault(f"{position} has more than one node {pattern}: {found}")
        return found[0]

    def attach(self, port, bus_id="1-1"):
        """Has the system's own program import a device from a server on this machine's loopback. It fails while another
        device is on its way into the kernel's tree."""
        self.check(f"usbip --tcp-port {port} attach -r 10.0.2.2 -b {bus_id}")

    def plug_in_disk(self, file):
        """QEMU's own emulated USB disk, on the machine's own controller (bus 1)."""
        ask = self.machine.monitor.ask
        ask("blockdev-add", **{"driver": "raw", "node-name": "disk", "file": {"driver": "file", "filename": str(file)}})
        ask("device_add", driver="usb-storage", bus="usb.0", drive="disk", id="stick")

    def cpu_seconds(self):
        """Processor time of this machine that the guest has taken."""
        fields = pathlib.Path(f"/proc/{self.machine.process.pid}/stat").read_text().rsplit(")", 1)[1].split()
        return (int(fields[11]) + int(fields[12])) / CLOCK_TICKS

    def close(self):
        self.machine.close()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()
