"""storage_test.py: the disk, created in the window, used by the kernel's own drivers."""
from host_test import HostTest, IMAGE, PROGRAMS
from guest import SHARE
from plugboard_in_guest import PlugboardInGuest, position_of

MIB = 1 << 20
GIVEN_UP = [ # what the kernel says when a disk goes or refuses while it is in use
    r"sd [\d:]+: \[sd[a-z]\] (Synchronize Cache\(10\) failed: .*|tag#\d+ .*)",
    r"((I/O|critical (target|space allocation|medium)|device offline) error,|Buffer I/O error on) dev.*",
    r"(scsi_io_completion_action|blk_print_req_error|buffer_io_error): \d+ callbacks suppressed",
    r"\w+: attempt to access beyond end of device",
    r"sd[a-z]: rw=\d+, sector=\d+, nr_sectors = \d+ limit=0",
    r"FAT-fs \(sd.*\): .*",
    r"sd [\d:]+: \[sd[a-z]\] .*(Sense|Result|CDB|Add\. Sense).*",
]


class StorageTest(HostTest):
    @classmethod
    def setUpClass(cls):
        cls.guest = PlugboardInGuest(IMAGE, PROGRAMS)
        cls.addClassCleanup(cls.guest.close)

    def setUp(self):
        super().setUp()
        self.addCleanup(self.guest.run, "umount /mnt 2>/dev/null; rm -rf /tmp/* /host/tmp/small")

    def attached(self, environment=""):
        """A new disk and the name of its block device."""
        disk, = self.guest.create("udisk", environment=environment)
        self.addCleanup(self.guest.end, disk)
        return disk, self.guest.wait_node(position_of(disk), "sd[a-z]")

    def volume(self, node):
        """What is mounted of a disk: its only partition, or all of it."""
        return self.guest.check(f"ls -d /dev/{node}[0-9] 2>/dev/null || echo /dev/{node}").strip()

    def mount(self, node):
        self.guest.wait(f"mount -t vfat {self.volume(node)} /mnt")

    def sums(self):
        return self.guest.check("cd /mnt && find . -type f -exec sha256sum {} + | sort -k 2", 120)

    def test_disk_comes_formatted_and_keeps_files_over_eject_and_insert(self):
        guest = self.guest
        disk, node = self.attached()
        sectors = int(guest.check(f"cat /sys/block/{node}/size"))
        self.assertEqual(1024 * MIB, sectors * 512)
        self.mount(node)
        free = int(guest.check("df -k /mnt | tail -n 1").split()[3]) * 1024
        self.assertGreater(free, 1015 * MIB)
        guest.check("""set -e
            cd /mnt
            dd if=/dev/urandom of=large.bin bs=1M count=24 2>/dev/null
            mkdir -p 'a folder/below/it'
            for number in $(seq 60); do
                echo "file $number" >"a folder/below/it/a name that is too long for eight and three $number"
            done
            cd /
            umount /mnt""", 180)
        guest.check(f"fsck.fat -n {self.volume(node)}", 120)
        self.mount(node)
        before = self.sums()
        guest.check("umount /mnt")

        guest.send(disk, "save /tmp/image")
        guest.send(disk, "eject")
        guest.wait(f"[ $(blockdev --getsize64 /dev/{node} 2>/dev/null || echo 0) = 0 ]")
        guest.send(disk, "insert /tmp/image")
        guest.wait(f"[ $(blockdev --getsize64 /dev/{node}) = {1024 * MIB} ]")
        self.mount(node)
        self.assertEqual(before, self.sums())
        guest.check("umount /mnt")
        guest.check(f"fsck.fat -n {self.volume(node)}", 120)
        self.note(f"{len(before.splitlines())} files, {free // MIB} MiB free, status: {guest.send(disk, 'status')}")
        self.assert_quiet(guest)

    def test_medium_that_cannot_be_used_is_refused_or_read_only(self):
        guest = self.guest
        disk, node = self.attached()
        guest.check(f"""set -e
            cd {SHARE}/tmp
            truncate -s 4M writable
            echo kept | dd of=writable conv=notrunc 2>/dev/null
            : >empty""")
        guest.send(disk, "eject")
        for file in "/tmp/missing", "/tmp/empty", "/tmp":
            status, answer = guest.run_program("plugboard", "--send", str(disk["processId"]), f"insert {file}")
            self.assertNotEqual(0, status, file)
            self.assertIn("ERROR: ", answer)
            self.note(answer.strip())
        readonly = "/tmp/readonly"
        guest.check(f"""set -e
            cd {SHARE}/tmp
            mkdir readonly
            mount -t tmpfs tmpfs readonly
            cp writable readonly/image
            mount -o remount,ro {SHARE}{readonly}""")
        self.addCleanup(guest.run, f"umount -l {SHARE}{readonly}")
        guest.send(disk, f"insert {readonly}/image")
        guest.wait(f"[ $(blockdev --getsize64 /dev/{node}) = {4 * MIB} ]")
        self.assertEqual("1", guest.check(f"blockdev --getro /dev/{node}").strip())
        self.assertNotEqual(0, guest.run(f"echo lost | dd of=/dev/{node} conv=fsync")[0])
        self.assertEqual("kept", guest.check(f"head -c 4 /dev/{node}"))
        self.assert_quiet(guest, [r"sd [\d:]+: \[sd[a-z]\] Write Protect is on"])

    def test_full_disk_of_the_device_process_is_an_error_that_the_guest_sees(self):
        guest = self.guest
        guest.check(f"mkdir {SHARE}/tmp/small && mount -t tmpfs -o size=16m tmpfs {SHARE}/tmp/small")
        self.addCleanup(guest.run, f"umount -l {SHARE}/tmp/small")
        disk, node = self.attached("TMPDIR=/tmp/small")
        self.mount(node)
        guest.check("dd if=/dev/urandom of=/mnt/kept bs=1M count=4 2>/dev/null && sync")
        before = self.sums()
        status, output = guest.run("dd if=/dev/urandom of=/mnt/lost bs=1M count=40 conv=fsync", 180)
        self.assertNotEqual(0, status, "40 MiB were written where 16 MiB fit")
        self.assertRegex(output, "I/O error|[Ii]nput/output error")
        guest.run("rm /mnt/lost; umount /mnt")
        guest.check(f"mount -o remount,size=64m {SHARE}/tmp/small")
        guest.run(f"fsck.fat -a {self.volume(node)}", 120)
        guest.check(f"fsck.fat -n {self.volume(node)}", 120)
        self.mount(node)
        self.assertEqual(before, guest.check("cd /mnt && sha256sum ./kept"))
        guest.check("dd if=/dev/zero of=/mnt/again bs=1M count=8 conv=fsync 2>/dev/null", 120)
        self.note("dd said: " + output.strip().splitlines()[0])
        self.assert_quiet(guest, GIVEN_UP)

    def test_killed_while_mounted_leaves_the_guest_usable(self):
        guest = self.guest
        disk, node = self.attached()
        self.mount(node)
        guest.check("dd if=/dev/urandom of=/mnt/lost bs=1M count=4 2>/dev/null") # not written back yet
        guest.kill(disk)
        guest.wait(f"[ ! -e /sys/block/{node} ]")
        guest.run("sync; ls /mnt")
        guest.check("umount /mnt || umount -l /mnt")
        self.assert_quiet(guest, GIVEN_UP)

        disk, node = self.attached()
        self.mount(node)
        guest.check("echo here >/mnt/file && umount /mnt")
        guest.check(f"fsck.fat -n {self.volume(node)}", 120)
        self.assert_quiet(guest)
