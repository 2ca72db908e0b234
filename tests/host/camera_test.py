"""camera_test.py: cameras of device processes of this machine, used by the guest's own driver and programs."""
import itertools
import re
import tempfile

from clips import count_of, jpegs_of, make_clip, packets_of
from device_process import DeviceProcess
from guest import Guest, SHARE
from host_test import HostTest, IMAGE, PROGRAMS
from plugboard_in_guest import PlugboardInGuest, position_of

USUAL = [
    r"usb \d+-[\d.]+: Found UVC 1\.[05]0 device .*",
    r"uvcvideo \d+-[\d.]+:1\.\d: Found UVC 1\.[05]0 device .*",
    # The kernel's virtual controller cannot say the number of the bus's frame, which the driver asks for whenever a
    # payload has the source's clock.
    r"usb usb\d+: Not yet implemented",
    r"vhci_get_frame_number: \d+ callbacks suppressed",
    # A stream ends while one of its transfers comes back: it is refused to be sent again (EPERM).
    r"uvcvideo \d+-[\d.]+:1\.\d: Failed to resubmit video URB \(-1\)\.",
    r"hrtimer: interrupt took \d+ ns", # when this machine was busy
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

    def dropped(self, device):
        """How many pictures the host was too slow for so far, as the device says."""
        return int(re.search(r"(\d+) dropped", device.send("status"))[1])

    def take(self, device, node, count, seconds=180):
        """Pictures that the guest takes; for each step from one to the next, how many the driver had no room for between
        them; and how many the device dropped meanwhile. On a machine with time for the guest there are none."""
        before = self.dropped(device)
        output = self.guest.check(f"v4l2-ctl -d /dev/{node} --stream-mmap=16 --stream-count={count} --verbose "
                                  "--stream-to=/tmp/pictures 2>&1", seconds)
        rows = [tuple(map(int, row)) for row in re.findall(r"seq: *(\d+) bytesused: *(\d+)", output)]
        self.assertEqual(count, len(rows), output)
        data, pictures = self.guest.read("/tmp/pictures"), []
        for _, size in rows:
            pictures.append(data[:size])
            data = data[size:]
        self.assertEqual(b"", data)
        missed = [after - before - 1 for (before, _), (after, _) in zip(rows, rows[1:])]
        return pictures, missed, self.dropped(device) - before

    def assert_of_film(self, film, taken, group=1):
        """Each picture is one of the film's, byte for byte, in its order, and none is left out but those that were told;
        the rest of a group of pictures that need each other goes with one of them."""
        pictures, missed, dropped = taken
        places = [film.get(picture, -1) for picture in pictures]
        self.assertNotIn(-1, places)
        left_out = [(after - before - 1) % len(film) - gap for before, after, gap in zip(places, places[1:], missed)]
        self.assertGreaterEqual(min(left_out), 0, places)
        self.assertLessEqual(sum(left_out), dropped * group, places)
        return f"{len(pictures)} pictures, {sum(missed)} missed by the driver and {sum(left_out)} by the device"

    def assert_offers(self, node, form, size, rate):
        listed = self.guest.check(f"v4l2-ctl -d /dev/{node} --list-formats-ext")
        self.assertEqual([FOURCC[form]], re.findall(r"'(\w+)'", listed))
        self.assertEqual([size], re.findall(r"Size: Discrete (\S+)", listed))
        self.assertEqual([f"{rate}.000"], re.findall(r"\(([\d.]+) fps\)", listed))

    def numbers_of(self, path):
        """The number of each picture of a film, by the picture itself."""
        return {picture: number for number, picture in enumerate(jpegs_of(packets_of(path, "-f", "image2pipe")))}

    def units_of(self, path):
        """The same of an H.264 film, as a camera sends it."""
        annex_b = "-bsf:v", "h264_mp4toannexb"
        rows = packets_of(path, *annex_b, "-f", "framecrc").decode().splitlines()
        ends = [0, *itertools.accumulate(int(row.split(",")[4]) for row in rows if not row.startswith("#"))]
        film = packets_of(path, *annex_b, "-f", "h264")
        return {film[begin:end]: number for number, (begin, end) in enumerate(zip(ends, ends[1:]))}

    def assert_decodes(self, taken, form):
        """A picture that the driver missed is one that others need; the device drops only whole groups."""
        pictures, missed, _ = taken
        if not any(missed):
            self.assertEqual((len(pictures), ""), count_of(b"".join(pictures), form))

    def assert_whole(self, size="640x480", count=90, **parameters):
        path = self.clip("mjpeg", size)
        device, node = self.attached(camera(path, size=size, **parameters))
        self.assert_offers(node, "MJPEG", size, 30)
        self.note(f"{size} {parameters}: " + self.assert_of_film(self.numbers_of(path), self.take(device, node, count)))
        self.assert_quiet(self.guest, USUAL)
        self.detach(device)

    def detach(self, device):
        device.close()
        self.guest.wait("! grep -q ' 006 ' /sys/devices/platform/vhci_hcd.0/status*")
        self.guest.kernel_log()

    def test_mjpeg_pictures_are_the_encoders_own(self):
        for size in "640x480", "1280x720", "1920x1080":
            for uvc, iso in ("1.0", False), ("1.5", True):
                self.assert_whole(size, uvc=uvc, iso=iso)
        self.assert_whole(usb3=True)
        self.assert_whole(usb3=True, iso=True)

    def test_h264_passes_whole_and_is_decoded_without_a_fault(self):
        for size in "1280x720", "1920x1080":
            path = self.clip("h264", size)
            film = self.units_of(path)
            for iso in False, True:
                device, node = self.attached(camera(path, "H264", size, iso=iso))
                self.assert_offers(node, "H264", size, 30)
                taken = self.take(device, node, 90)
                self.note(f"{size}{' isochronously' if iso else ''}: " + self.assert_of_film(film, taken, group=30))
                self.assert_decodes(taken, "h264")
                self.assert_quiet(self.guest, USUAL)
                self.detach(device)

    def test_every_format_is_made_of_a_film_of_another(self):
        path = self.clip("mjpeg", "320x240")
        for form in "H265", "H264", "YUV420P", "NV12":
            for iso in False, True:
                raw = CODECS[form][0] == 0
                rate = 10 if raw else 30 # isochronously the emulated guest takes about 6 MB/s
                device, node = self.attached(camera(path, form, rate=rate, iso=iso))
                self.assert_offers(node, form, "640x480", rate)
                taken = self.take(device, node, 3 * rate)
                if raw:
                    self.assertEqual({640 * 480 * 3 // 2}, {len(picture) for picture in taken[0]})
                else:
                    self.assert_decodes(taken, {"H264": "h264", "H265": "hevc"}[form])
                self.note(f"{form}{' isochronously' if iso else ''}")
                self.assert_quiet(self.guest, USUAL)
                self.detach(device)

    def test_stream_starts_and_stops_ten_times(self):
        path = self.clip("mjpeg", "640x480")
        numbers = self.numbers_of(path)
        for iso in False, True:
            device, node = self.attached(camera(path, iso=iso))
            for _ in range(10):
                self.assert_of_film(numbers, self.take(device, node, 6))
            self.assertIn("no host takes pictures", device.send("status"))
            self.assert_quiet(self.guest, USUAL)
            self.detach(device)

    def test_source_is_swapped_and_goes_and_comes_back_while_it_is_watched(self):
        first = self.clip("mjpeg", "640x480", seconds=2)
        second = make_clip(self.folder.name, "second.avi", "mjpeg", "640x480", 30, 2, source="smptebars")
        device, node = self.attached(camera(first))
        guest = self.guest
        guest.check(f"v4l2-ctl -d /dev/{node} --stream-mmap=4 --stream-count=100000 --stream-to=/tmp/pictures "
                    ">/run/watching 2>&1 & echo $! >/run/watcher")
        self.wait_for(lambda: "playing" in device.send("status"), "the first source")
        device.send(f"source {second}")
        self.wait_for(lambda: re.search("playing at [1-9]", device.send("status")), "the second source")
        second.rename(second.with_suffix(".away"))
        self.wait_for(lambda: 'lost' in device.send("status") and 'showing "no signal"' in device.send("status"),
                      "the loss of the source")
        lost = device.send("status")
        second.with_suffix(".away").rename(second)
        self.wait_for(lambda: "playing at 1" in device.send("status") and "no signal" not in device.send("status"),
                      "the return of the source")
        guest.check("kill $(cat /run/watcher); while kill -0 $(cat /run/watcher) 2>/dev/null; do usleep 50000; done")
        pictures = jpegs_of(guest.read("/tmp/pictures"))[:-1] # the last one was cut off
        films = {"first": self.numbers_of(first), "second": self.numbers_of(second)}
        shown = [next((name for name, film in films.items() if picture in film), "stand-in") for picture in pictures]
        self.assertIn("first", shown)
        begin = shown.index("second") # a busy machine may have a stand-in before
        self.assertNotIn("first", shown[begin:])
        pictures, shown = pictures[begin:], shown[begin:]
        order = [name for name, before in zip(shown, [None, *shown]) if name != before]
        self.assertEqual(["second", "stand-in", "second"], order)
        stand_ins = {picture for picture, name in zip(pictures, shown) if name == "stand-in"}
        self.assertEqual(1, len(stand_ins), "the stand-in is made once")
        self.assertEqual((1, ""), count_of(stand_ins.pop(), "mjpeg"))
        self.note(f"{len(pictures)} pictures, {shown.count('stand-in')} of them stood in; {lost}")
        self.assert_quiet(guest, USUAL)

    def test_ffmpeg_takes_pictures_as_they_are(self):
        path = self.clip("mjpeg", "640x480")
        device, node = self.attached(camera(path))
        self.guest.check(f"chroot {SHARE} /usr/bin/env LC_ALL=C ffmpeg -nostdin -v error -f v4l2 -input_format mjpeg -i "
                         f"/dev/{node} -frames:v 30 -c copy -f mjpeg -y /tmp/pictures", 180)
        numbers = self.numbers_of(path)
        pictures = jpegs_of(self.guest.read(f"{SHARE}/tmp/pictures"))
        self.assertEqual(30, len(pictures))
        self.assertTrue(all(picture in numbers for picture in pictures))
        self.assert_quiet(self.guest, USUAL)
        self.detach(device)


class CameraOfTheWindowTest(HostTest):
    def test_camera_is_created_and_used_on_one_machine(self):
        with tempfile.TemporaryDirectory(dir=PROGRAMS.parent) as folder: # the guest has a /tmp of its own
            path = make_clip(folder, "film.avi", "mjpeg", "640x480", 15, 3)
            pictures = set(jpegs_of(packets_of(path, "-f", "image2pipe")))
            with PlugboardInGuest(IMAGE, PROGRAMS) as guest:
                device, = guest.create("camera", settings=(f"source={path}", "rate=15"))
                self.assertEqual("kernel", device["host"]["way"])
                position = position_of(device)
                guest.wait(f"ls /sys/bus/usb/devices/{position}:1.0/video4linux")
                node = guest.nodes(position, r"video\d+")[0]
                guest.check(f"v4l2-ctl -d /dev/{node} --stream-mmap=4 --stream-count=20 --stream-to=/tmp/pictures 2>&1", 180)
                taken = jpegs_of(guest.read("/tmp/pictures"))
                self.assertEqual(20, len(taken))
                self.assertTrue(all(picture in pictures for picture in taken))
                self.note(guest.send(device, "status"))
                guest.end(device)
                self.assert_quiet(guest, USUAL)
