"""lifetime_test.py: devices come and go, one after the other and many at once, without a word of the kernel."""
import contextlib
import pathlib
import socket
import tempfile
import wave

from camera_test import camera, USUAL as USUAL_OF_CAMERAS
from clips import make_clip
from device_process import DeviceProcess, KEYBOARD, MOUSE, SPEAKER, UDISK
from host_test import HostTest, IMAGE, PROGRAMS
from plugboard_in_guest import PlugboardInGuest, position_of, ROUNDS
from security_key_in_guest import PARAMETERS as SECURITY_KEY

PORT = 3240 # the first that servers take
TYPES = ["keyboard", "mouse", "udisk"]
NODE = r"input/event\d+|sd[a-z]"
NODE_OF = { # what the kernel makes of a device outside of the guest
    "keyboard": r"input/event\d+", "mouse": r"input/event\d+", "udisk": r"sd[a-z]", "camera": r"video\d+",
    "microphone": r"snd/pcmC\d+D0c", "speaker": r"snd/pcmC\d+D0p", "security key": r"hidraw\d+",
}
HOLDER = pathlib.Path(__file__).resolve().parent / "in_guest/hold_ports.py"


class LifetimeTest(HostTest):
    @classmethod
    def setUpClass(cls):
        cls.guest = PlugboardInGuest(IMAGE, PROGRAMS)
        cls.addClassCleanup(cls.guest.close)

    def parameters(self):
        """Of a device of each type, in the order of NODE_OF."""
        folder = tempfile.TemporaryDirectory(prefix="plugboard-lifetime-")
        self.addCleanup(folder.cleanup)
        sound = pathlib.Path(folder.name, "sound.wav")
        with wave.open(str(sound), "wb") as file:
            file.setparams((1, 2, 8000, 0, "NONE", ""))
            file.writeframes(bytes(16000))
        microphone = ["3", "1d6b", "0002", "Microphone", "0", "1.0", "0", str(sound), "1", "8000", "1", "END"]
        film = make_clip(folder.name, "film.avi", "mjpeg", "640x480", 30, 1)
        return KEYBOARD, MOUSE, UDISK, camera(film), microphone, SPEAKER, SECURITY_KEY

    def test_rounds_over_loopback_servers(self):
        guest = self.guest
        with contextlib.ExitStack() as stack:
            with contextlib.suppress(OSError): # whoever has the port, the devices do not get it
                stack.enter_context(socket.create_server(("127.0.0.1", PORT)))
            devices = [stack.enter_context(DeviceProcess(each, PROGRAMS)) for each in self.parameters()]
            ports = [device.port() for device in devices]
            self.assertNotIn(PORT, ports)
            self.assertEqual(len(ports), len(set(ports)))
            for _ in range(ROUNDS):
                attached = {}
                for count, (port, node) in enumerate(zip(ports, NODE_OF.values()), 1):
                    guest.attach(port)
                    now = guest.wait_attached(count)
                    position, = set(now.values()) - set(attached.values())
                    self.assertTrue(guest.wait_nodes(position, node))
                    attached = now
                for port in attached:
                    guest.check(f"usbip detach -p {port}")
                guest.wait_attached(0)
        self.note(f"{ROUNDS} rounds of each of {', '.join(NODE_OF)}, servers on {', '.join(map(str, ports))}")
        self.assert_quiet(guest, USUAL_OF_CAMERAS)

    def test_rounds_of_devices_from_the_window(self):
        guest = self.guest
        devices = guest.create(*TYPES)
        guest.make_rounds(devices, NODE)
        guest.end(*devices)
        guest.wait_attached(0)
        self.note(f"{ROUNDS} rounds of each of {', '.join(TYPES)}")
        self.assert_quiet(guest)

    def test_eight_devices_at_once(self):
        guest = self.guest
        devices = guest.create("keyboard", "mouse", "udisk", "keyboard", "mouse", "udisk", "keyboard", "mouse")
        nodes = [guest.wait_node(position_of(device), NODE) for device in devices]
        self.assertEqual(len(devices), len(set(nodes)))
        self.note(" ".join(nodes))
        guest.end(*devices)
        guest.wait_attached(0)
        self.assert_quiet(guest)

    def test_full_controller_leaves_the_loopback_server(self):
        guest = self.guest
        holder = guest.command("/usr/bin/python3", str(HOLDER))
        guest.check(f"({holder} >/run/holder 2>&1 & echo $! >/run/holder.pid)")
        held = guest.wait("grep held /run/holder")
        keyboard, = guest.create("keyboard")
        self.addCleanup(guest.end, keyboard)
        self.assertEqual("server", keyboard["host"]["way"])
        self.assertIn("taken", keyboard["host"]["note"])
        self.note(f"{held}: {keyboard['host']}")
        guest.check("kill $(cat /run/holder.pid)")
        guest.wait(f"! grep -q 'hs .* 00[56] ' /sys/devices/platform/vhci_hcd.0/status*")
        guest.kernel_log() # of the many devices that never answered
        guest.send(keyboard, "detach")
        guest.send(keyboard, "attach")
        guest.wait_node(*guest.wait_attached(1).values(), NODE)
        self.assert_quiet(guest)
