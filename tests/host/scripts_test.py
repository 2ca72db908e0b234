"""scripts_test.py: devices that scripts start and end, one at a time, by two shells at once, and as a lab."""
import json
import os
import pathlib
import re
import shlex
import shutil
import subprocess
import tempfile

from camera_test import USUAL as USUAL_OF_CAMERAS
from device_process import DeviceProcess, KEYBOARD
from guest import SHARE
from host_test import HostTest, IMAGE, PROGRAMS, PROJECT
from plugboard_in_guest import FOLDER, PlugboardInGuest

RELAY = PROJECT / "tests/host/in_guest/relay.py"
PORT = 3240 # that of a USB/IP device's parameters
# What the kernel's drivers make of each type; a USB/IP device is the keyboard that the test serves.
HID = [r"/dev/hidraw\d+", r"/dev/input/event\d+"]
NODES = {
    "camera": [r"/dev/media\d+", r"/dev/video\d+"],
    "microphone": [r"/dev/snd/controlC\d+", r"/dev/snd/pcmC\d+D0c"],
    "speaker": [r"/dev/snd/controlC\d+", r"/dev/snd/pcmC\d+D0p"],
    "keyboard": HID,
    "mouse": [*HID, r"/dev/input/mouse\d+"],
    "udisk": [r"/dev/bsg/.+", r"/dev/sd[a-z]", r"/dev/sg\d+"],
    "fido2": [r"/dev/hidraw\d+", r"/dev/usb/hiddev\d+"],
    "usbip": HID,
}
WAIT = "120" # seconds; only a lost host makes a run this long
EVENT = 24 # bytes of one event of an input device
ROUNDS = 10   # in the guest, each of which takes seconds
ROUNDS_HERE = 100
# Starts and ends a device of type $2 $3 times by the program $1.
SHELL = """
    for round in $(seq $3); do
        id=$($1 --start $2 $4 | sed -n 's/.*"processId": *\\([0-9]*\\).*/\\1/p')
        $1 --delete "$id" || exit
    done"""


class ScriptsTest(HostTest):
    @classmethod
    def setUpClass(cls):
        cls.served = DeviceProcess(KEYBOARD, PROGRAMS)
        cls.addClassCleanup(cls.served.close)
        cls.guest = PlugboardInGuest(IMAGE, PROGRAMS)
        cls.addClassCleanup(cls.guest.close)
        relay = cls.guest.command("/usr/bin/python3", str(RELAY), str(PORT), "10.0.2.2", str(cls.served.port()))
        cls.guest.check(f"({relay} >/run/relay 2>&1 &)")
        cls.guest.wait("grep -q listening /run/relay", 300)

    def tearDown(self):
        self.guest.program("plugboard", "--delete", "all")

    def assert_nodes(self, device):
        """The device has the nodes of its type, each of which is there, and no other."""
        kind, nodes = device["type"], device["nodes"]
        for pattern in NODES[kind]:
            self.assertTrue(any(re.fullmatch(pattern, node) for node in nodes), f"{pattern} of {device}")
        self.assertEqual([], [node for node in nodes if not any(re.fullmatch(each, node) for each in NODES[kind])])
        self.guest.check("".join(f"[ -c {node} ] || [ -b {node} ] || exit 1\n" for node in nodes))

    def test_each_type_is_started_with_its_nodes_and_ended(self):
        for kind in NODES:
            device = json.loads(self.guest.program("plugboard", "--start", kind, "--wait", WAIT))
            self.assertEqual((kind, "kernel", True), (device["type"], device["host"]["way"], device["host"]["configured"]))
            self.assert_nodes(device)
            self.note(f"{kind}: {' '.join(device['nodes'])}")
            self.guest.program("plugboard", "--delete", str(device["processId"]))
            self.guest.wait_attached(0)
        self.assert_quiet(self.guest, USUAL_OF_CAMERAS)

    def test_time_that_is_over_leaves_a_device_that_no_host_has(self):
        guest = self.guest
        status, output = guest.run(guest.command("plugboard", "--start", "keyboard", "--wait", "1",
                                                 environment="PLUGBOARD_HOST=server"))
        self.assertEqual(4, status, output)
        self.assertIn("keyboard: No host has configured the device in time", output)
        device, = guest.devices()
        self.assertTrue(device["running"])
        self.assertFalse(device["host"]["attached"])

    def test_lab_of_every_type_comes_up_and_goes(self):
        guest = self.guest
        lab = f"{SHARE}/tmp/lab.json"
        guest.write(lab, json.dumps({"devices": [{"type": kind} for kind in NODES]}).encode())
        start = guest.command("plugboard", "--lab", "/tmp/lab.json", "--wait", WAIT)
        used = guest.cpu_seconds()
        output = guest.check(f"begin=$(cut -d ' ' -f 1 /proc/uptime)\n{start} || exit\n"
                             "echo $begin $(cut -d ' ' -f 1 /proc/uptime)", 300)
        used = guest.cpu_seconds() - used
        devices, end = json.JSONDecoder().raw_decode(output)
        begun, up = map(float, output[end:].split())
        self.assertEqual(list(NODES), [device["type"] for device in devices])
        for device in devices:
            self.assert_nodes(device)
        self.assertEqual(len(NODES), len(guest.wait_attached(len(NODES))))
        self.note(f"{len(devices)} devices up, with their nodes, after {up - begun:.1f} s, "
                  f"{used:.1f} s of processor time")

        status, output = guest.run_program("plugboard", "--lab", "/tmp/lab.json")
        self.assertEqual((2, f"{len(NODES)} device(s) of this lab run already."), (status, output.strip()))
        guest.program("plugboard", "--delete-lab", "/tmp/lab.json")
        guest.wait_attached(0)
        self.assertEqual([], guest.devices())
        self.assert_quiet(guest, USUAL_OF_CAMERAS)

    def test_two_shells_at_once_leave_nothing(self):
        guest = self.guest
        guest.write(f"{SHARE}{FOLDER}/rounds", SHELL.encode())
        shells = (guest.command("/bin/sh", "rounds", "./plugboard", kind, str(ROUNDS), f"--wait {WAIT}")
                  for kind in ("keyboard", "mouse"))
        guest.check("".join(f"{shell} & first=$second second=$!\n" for shell in shells) +
                    "wait $first && wait $second", 1200)
        guest.wait_attached(0)
        self.assertEqual("", guest.check(f"find {SHARE}{FOLDER} -name 'device_*'; pidof usb-daemon.exe || true"))
        self.note(f"{ROUNDS} rounds in each shell")
        self.assert_quiet(guest, USUAL_OF_CAMERAS)

    def test_container_starts_devices_and_uses_a_node(self):
        """By the kernel's own namespaces, as container engines use them."""
        guest = self.guest
        start = guest.command("plugboard", "--start", "keyboard", "--wait", "0")
        status, output = guest.run(f"""unshare -m sh -c {shlex.quote(f'mount -o remount,bind,ro {SHARE}/sys; {start}')}""")
        self.assertEqual(4, status, output)
        device, = guest.devices()
        self.assertEqual(("server", "the virtual host controller may not be written"),
                         (device["host"]["way"], device["host"]["note"]))
        guest.program("plugboard", "--delete", "all")

        start = guest.command("plugboard", "--start", "keyboard", "--wait", WAIT)
        device = json.loads(guest.check(f"unshare -m -n -i {start}", 180))
        self.assertEqual("kernel", device["host"]["way"])
        node = next(node for node in device["nodes"] if "event" in node)
        guest.check(f"""set -e
            mkdir -p /tmp/container/bin /tmp/container/dev
            cp /bin/busybox /tmp/container/bin/
            : >/tmp/container/dev/event
            mount --bind {node} /tmp/container/dev/event
            unshare -m -n -i -p -f chroot /tmp/container /bin/busybox head -c {EVENT} /dev/event >/tmp/container/read &
            echo $! >/tmp/container/reader""")
        guest.wait("ls -l /proc/[0-9]*/fd | grep -q /dev/event$")
        guest.send(device, "key a")
        guest.wait(f"[ $(wc -c </tmp/container/read) = {EVENT} ]")


class ScriptsHereTest(HostTest):
    def test_two_shells_at_once_leave_nothing(self):
        with tempfile.TemporaryDirectory() as name:
            folder = pathlib.Path(name)
            for file in "plugboard", "usb-daemon.exe", "plugboard-media-devices.so":
                shutil.copy(PROGRAMS / file, folder)
            environment = dict(os.environ, PLUGBOARD_HOST="server", PLUGBOARD_USER_DATA=str(folder / "user"))
            shells = [subprocess.Popen(["sh", "-c", SHELL, "sh", str(folder / "plugboard"), kind, str(ROUNDS_HERE)],
                                       stdout=subprocess.PIPE, stderr=subprocess.PIPE, env=environment, text=True)
                      for kind in ("keyboard", "mouse")]
            for shell in shells:
                said = shell.communicate(timeout=1200)[1]
                self.assertEqual(0, shell.returncode, said)
            self.assertEqual([], list(folder.glob("device_*")))
            program = str(folder / "usb-daemon.exe")
            left = [link for link in pathlib.Path("/proc").glob("[0-9]*/exe") if self.leads_to(link, program)]
            self.assertEqual([], left)
            self.note(f"{ROUNDS_HERE} rounds in each shell")

    @staticmethod
    def leads_to(link, program):
        try:
            return os.readlink(link) == program
        except OSError: # ended meanwhile
            return False
