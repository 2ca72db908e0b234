"""capture_test.py: what the program saves of a device's traffic is what the kernel saw of it, field by field."""
import pathlib
import tempfile

from captures import by_endpoint, read_capture
from guest import SHARE
from host_test import HostTest, IMAGE, PROGRAMS
from input_events import InputEvents, released
from plugboard_in_guest import PlugboardInGuest, position_of

# Names of the kernel's own for a transfer, and its clock.
NOT_SHARED = ("id", "bus", "device", "seconds", "microseconds")
# Flags of how the kernel maps memory: it tells the device some of them (URB_DMA_MAP_SG and its like, after usbmon
# looked) and usbmon others (URB_NO_TRANSFER_DMA_MAP).
MEMORY_FLAGS = 0xff0004
MOST_DATA = 65535 # bytes of one packet that the capture channel carries
SAVER = pathlib.Path(PROGRAMS).parent / "tests/host/capture-saver"


def shared(record, is_whole):
    """What the kernel's record of a transfer and ours must have in common. What only a submission tells is left out
    where that came before the capture began."""
    return record._replace(flags=record.flags & ~MEMORY_FLAGS if is_whole else 0,
                           interval=record.interval if is_whole else 0, captured=min(record.captured, MOST_DATA),
                           data=record.data[:MOST_DATA], **dict.fromkeys(NOT_SHARED, 0))


class CaptureTest(HostTest):
    @classmethod
    def setUpClass(cls):
        cls.guest = PlugboardInGuest(IMAGE, PROGRAMS)
        cls.addClassCleanup(cls.guest.close)

    def start_usbmon(self):
        guest = self.guest
        dumpcap = guest.command("/usr/bin/dumpcap", "-q", "-i", "usbmon0", "-w", "/tmp/usbmon.pcapng")
        guest.check(f"({dumpcap} >/run/usbmon 2>&1 & echo $! >/run/usbmon.pid)")
        guest.wait("grep -q ^File: /run/usbmon")

    def stop_usbmon(self):
        self.guest.check("kill -INT $(cat /run/usbmon.pid)")
        self.guest.wait("grep 'Packets received/dropped' /run/usbmon")
        self.assertIn("(100.0%)", self.guest.check("cat /run/usbmon"))

    def start_saver(self, device):
        process = device["processId"]
        saver = self.guest.command(str(SAVER), str(process), f"/tmp/{process}.pcapng")
        self.guest.check(f"({saver} >/run/saver-{process} 2>&1; echo ended $? >>/run/saver-{process}) &")
        self.guest.wait(f"grep -q capturing /run/saver-{process}")

    def fetch(self, name):
        with tempfile.TemporaryDirectory() as folder:
            file = pathlib.Path(folder, name)
            file.write_bytes(self.guest.read(f"{SHARE}/tmp/{name}"))
            return read_capture(file)

    def compare(self, name, kernels, ours):
        """Fails on the first transfer that differs, and on any that one of them lacks."""
        kernels, ours = by_endpoint(kernels), by_endpoint(ours)
        self.assertEqual({key: len(records) for key, records in kernels.items()},
                         {key: len(records) for key, records in ours.items()}, f"{name}: transfers by endpoint")
        for (endpoint, kind), records in kernels.items():
            for number, (expected, actual) in enumerate(zip(records, ours[endpoint, kind])):
                self.assertEqual(shared(*expected), shared(*actual),
                                 f"{name}: endpoint {endpoint:#x}, {kind} number {number}")
        self.note(f"{name}: {sum(map(len, kernels.values()))} records of {len(kernels) // 2} endpoints agree")

    def test_saved_captures_agree_with_the_kernel(self):
        guest = self.guest
        disk, keyboard = guest.create("udisk", "keyboard")
        positions = {device["type"]: position_of(device) for device in (disk, keyboard)}
        node = guest.wait_node(positions["udisk"], "sd[a-z]")
        event = guest.wait_node(positions["keyboard"], r"input/event\d+")
        self.start_usbmon()
        for device in disk, keyboard:
            self.start_saver(device)
        guest.check(f"""set -e
            dd if=/dev/urandom of=/dev/{node} bs=64k count=8 seek=100 conv=fsync 2>/dev/null
            dd if=/dev/{node} of=/dev/null bs=64k count=8 skip=600 2>/dev/null
            for place in {' '.join(positions.values())}; do
                cd /sys/bus/usb/devices/$place
                lsusb -v -s $(cat busnum):$(cat devnum) >/dev/null 2>&1
            done""", 120)
        with InputEvents(guest, event) as events:
            guest.send(keyboard, "type Seen by both")
            events.wait(lambda seen: released(seen) and len(seen) > 40)
        numbers = {word: int(guest.check(f"cat /sys/bus/usb/devices/{position}/devnum"))
                   for word, position in positions.items()}
        self.stop_usbmon()
        guest.end(disk, keyboard)
        for device in disk, keyboard:
            guest.wait(f"grep -q 'ended 0' /run/saver-{device['processId']}")
        kernels = self.fetch("usbmon.pcapng")
        for word, device in ("udisk", disk), ("keyboard", keyboard):
            self.compare(word, [record for record in kernels if record.device == numbers[word]],
                         self.fetch(f"{device['processId']}.pcapng"))
        self.assert_quiet(guest)
