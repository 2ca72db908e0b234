"""camera_test.py: cameras of device processes of this machine, used by the guest's own driver and programs."""
import re
import tempfile

from clips import jpegs_of, make_clip, packets_of
from device_process import DeviceProcess
from guest import Guest
from host_test import HostTest, IMAGE, PROGRAMS

USUAL = [
    r"usb \d+-[\d.]+: Found UVC 1\.[05]0 device .*",
    r"uvcvideo \d+-[\d.]+:1\.\d: Found UVC 1\.[05]0 device .*",
    # The kernel's virtual controller cannot say the number of the bus's frame, which the driver asks for whenever a
    # payload has the source's clock.
    r"usb usb\d+: Not yet implemented",
    r"vhci_get_frame_number: \d+ callbacks suppressed",
    r"usb \d+-[\d.]+: reset .*-speed USB device number \d+ using vhci_hcd",
]
CODECS = {"MJPEG": (7, -1), "H264": (27, -1), "H265": (173, -1), "YUV420P": (0, 0), "NV12": (0, 23)}
FOURCC = {"MJPEG": "MJPG", "H264": "H264", "H265": "HEVC", "YUV420P": "YU12", "NV12": "NV12"}


def camera(source, form="MJPEG", size="640x480", rate=30, uvc="1.0", iso=False, usb3=False):
    """Parameters of a camera."""
    codec, pixels = CODECS[form]
    return ["1", "1d6b", "0104", "Test Camera", "01"[usb3], str(source), str(codec), str(pixels), *size.split("x"),
            str(rate), {"1.0": "0x0100", "1.5": "0x0150"}[uvc], "01"[iso], "END"]


class CameraTest(HostTest):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.folder.cleanup)
        cls.guest = Guest(IMAGE)
        cls.addClassCleanup(cls.guest.close)

    def setUp(self):
        super().setUp()
        self.addCleanup(self.guest.run, "rm -f /tmp/*")

    def clip(self, codec, size, rate=30, seconds=6):
        return make_clip(self.folder.name, f"{codec}-{size}-{rate}.avi" if codec == "mjpeg" else f"{codec}-{size}-{rate}.mp4",
                         codec, size, rate, seconds)

    def attached(self, parameters):
        """A device process, and the node of its pictures in the guest."""
        device = DeviceProcess(parameters, PROGRAMS)
        self.addCleanup(self.guest.wait, "! grep -q ' 006 ' /sys/devices/platform/vhci_hcd.0/status*")
        self.addCleanup(device.close)
        self.guest.attach(device.port())
        position, = self.guest.wait_attached(1).values()
        self.guest.wait(f"ls /sys/bus/usb/devices/{position}:1.0/video4linux")
        return device, self.guest.nodes(position, r"video\d+")[0]

    def stream(self, node, count, seconds=90):
        """Has the guest take pictures; what v4l2-ctl said of their rate. They lie in /tmp/pictures."""
        output = self.guest.check(f"v4l2-ctl -d /dev/{node} --stream-mmap=4 --stream-count={count} "
                                  "--stream-to=/tmp/pictures 2>&1", seconds)
        return [float(rate) for rate in re.findall(r"([\d.]+) fps", output)]

    def assert_offers(self, node, form, size, rate):
        listed = self.guest.check(f"v4l2-ctl -d /dev/{node} --list-formats-ext")
        self.assertEqual([FOURCC[form]], re.findall(r"'(\w+)'", listed))
        self.assertEqual([size], re.findall(r"Size: Discrete (\S+)", listed))
        self.assertEqual([f"{rate}.000"], re.findall(r"\(([\d.]+) fps\)", listed))

    def assert_whole(self, **parameters):
        """Every picture that the guest takes is one of the file's, byte for byte, and none is left out."""
        path = self.clip("mjpeg", "640x480")
        numbers = {picture: number for number, picture in enumerate(jpegs_of(packets_of(path, "-f", "image2pipe")))}
        _, node = self.attached(camera(path, **parameters))
        self.assert_offers(node, "MJPEG", "640x480", 30)
        rates = self.stream(node, 120)
        taken = [numbers.get(picture, -1) for picture in jpegs_of(self.guest.read("/tmp/pictures"))]
        self.assertEqual(120, len(taken))
        self.assertEqual({1}, {(after - before) % len(numbers) for before, after in zip(taken, taken[1:])}, taken)
        self.note(f"{len(taken)} pictures, {rates} per second")
        self.assert_quiet(self.guest, USUAL)

    def test_mjpeg_pictures_are_the_encoders_own_in_bulk(self):
        self.assert_whole(uvc="1.0")

    def test_mjpeg_pictures_are_the_encoders_own_isochronously(self):
        self.assert_whole(uvc="1.5", iso=True)
