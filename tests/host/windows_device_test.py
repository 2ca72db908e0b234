"""windows_device_test.py: the Windows device process, under Wine, whose device the stock Linux kernel imports. It needs
a build of the Windows programs: scripts/windows.sh runs it by `scripts/host.sh --windows`."""
from device_process import KEYBOARD, UDISK, WindowsDeviceProcess
from guest import Guest
from host_test import HostTest, IMAGE, WINDOWS_PROGRAMS
from input_events import light_lamps, type_sentence


class WindowsDeviceTest(HostTest):
    @classmethod
    def setUpClass(cls):
        cls.guest = Guest(IMAGE)
        cls.addClassCleanup(cls.guest.close)

    def imported(self, parameters, node):
        device = WindowsDeviceProcess(parameters, WINDOWS_PROGRAMS)
        self.addCleanup(device.close)
        self.guest.attach(device.port())
        (port, position), = self.guest.wait_attached(1).items()
        return device, port, self.guest.wait_node(position, node)

    def test_keyboard_types_and_sees_its_lights(self):
        guest = self.guest
        keyboard, port, node = self.imported(KEYBOARD, r"input/event\d+")
        type_sentence(self, guest, node, keyboard.send)
        light_lamps(self, keyboard.send)
        guest.check(f"usbip detach -p {port}")
        guest.wait_attached(0)
        self.assert_quiet(guest)

    def test_disk_keeps_files_over_detach_and_attach(self):
        guest = self.guest
        disk, port, node = self.imported(UDISK, "sd[a-z]")
        guest.check(f"""set -e
            mount -t vfat /dev/{node} /mnt
            dd if=/dev/urandom of=/mnt/file bs=1M count=16 2>/dev/null
            sha256sum /mnt/file >/tmp/sum
            umount /mnt
            fsck.fat -n /dev/{node}
            usbip detach -p {port}""", 300)
        guest.wait_attached(0)
        guest.attach(disk.port())
        position, = guest.wait_attached(1).values()
        node = guest.wait_node(position, "sd[a-z]")
        guest.check(f"mount -t vfat /dev/{node} /mnt && sha256sum -c /tmp/sum && umount /mnt", 300)
        self.note("16 MiB written and read back")
        guest.check("usbip detach -p $(usbip port | sed -n 's/^Port \\([0-9]*\\):.*/\\1/p')")
        guest.wait_attached(0)
        self.assert_quiet(guest)
