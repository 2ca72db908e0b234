"""forward_test.py: a disk of a second machine, exported there by the system's own daemon, comes to the first one
through a device process."""
import hashlib
import os
import pathlib
import socket
import tempfile

from guest import Guest, SHARE
from host_test import HostTest, IMAGE, PROGRAMS
from plugboard_in_guest import PlugboardInGuest, position_of, ROUNDS
from storage_test import GIVEN_UP

SIZE = 16 << 20
PORT = 3240 # that of the server and of the device's parameters
RELAY = pathlib.Path(__file__).resolve().parent / "in_guest/relay.py"


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


class ForwardTest(HostTest):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.folder.cleanup)
        cls.image = pathlib.Path(cls.folder.name, "disk")
        cls.image.write_bytes(os.urandom(SIZE))
        cls.exporter = Guest(IMAGE)
        cls.addClassCleanup(cls.exporter.close)
        cls.exporter.plug_in_disk(cls.image)
        cls.exporter.wait("[ -e /sys/bus/usb/devices/1-1:1.0/driver ]")
        cls.exporter.check("usbip bind -b 1-1")
        cls.serve()
        port = free_port()
        cls.exporter.machine.monitor.ask("human-monitor-command",
                                         **{"command-line": f"hostfwd_add net tcp:127.0.0.1:{port}-:{PORT}"})
        cls.guest = PlugboardInGuest(IMAGE, PROGRAMS)
        cls.addClassCleanup(cls.guest.close)
        # The device's parameters name the guest's own loopback.
        relay = cls.guest.command("/usr/bin/python3", str(RELAY), str(PORT), "10.0.2.2", str(port))
        cls.guest.check(f"({relay} >/run/relay 2>&1 &)")
        cls.guest.wait("grep -q listening /run/relay")

    @classmethod
    def serve(cls):
        cls.exporter.check("usbipd -D --pid /run/usbipd.pid")
        cls.exporter.wait("usbip list -r 127.0.0.1 | grep -q 1-1:")

    def sum_in_guest(self, node):
        """Of the whole disk, past the guest's cache."""
        return self.guest.check(f"dd if=/dev/{node} bs=64k iflag=direct 2>/dev/null | sha256sum", 180).split()[0]

    def test_disk_of_another_machine_is_read_and_written_and_comes_back(self):
        guest = self.guest
        device, = guest.create("usbip")
        self.addCleanup(guest.end, device)
        node = guest.wait_node(position_of(device), "sd[a-z]")
        self.assertEqual(hashlib.sha256(self.image.read_bytes()).hexdigest(), self.sum_in_guest(node))
        guest.check(f"dd if=/dev/urandom of=/dev/{node} bs=64k count=16 seek=32 conv=fsync 2>/dev/null", 120)
        self.assertEqual(hashlib.sha256(self.image.read_bytes()).hexdigest(), self.sum_in_guest(node))
        position, = guest.make_rounds([device], "sd[a-z]").values()
        node = guest.wait_node(position, "sd[a-z]")
        self.assertEqual(hashlib.sha256(self.image.read_bytes()).hexdigest(), self.sum_in_guest(node))
        self.assert_quiet(guest)

        self.exporter.check("kill $(cat /run/usbipd.pid); usbip unbind -b 1-1")
        guest.wait_attached(0)
        self.exporter.check("usbip bind -b 1-1")
        self.serve()
        position, = guest.wait_attached(1, 120).values()
        node = guest.wait_node(position, "sd[a-z]")
        self.assertEqual(hashlib.sha256(self.image.read_bytes()).hexdigest(), self.sum_in_guest(node))
        self.note(f"{SIZE >> 20} MiB read four times, 1 MiB written; {ROUNDS} rounds; gone with its server and back with it")
        self.assert_quiet(guest, GIVEN_UP)
