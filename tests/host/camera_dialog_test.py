"""camera_dialog_test.py: a camera that a person makes in the program's dialog, and the picture that a program takes of it."""
import tempfile

from camera_test import USUAL
from clips import jpegs_of, make_clip, packets_of
from guest import SHARE
from host_test import HostTest, IMAGE, PROGRAMS
from plugboard_in_guest import PlugboardInGuest

# Run beside the programs with the film's path: the keys that a person presses, in windows that have the focus. No window
# manager runs there, which would give it.
KEYS = """
find() { xdotool search --onlyvisible --name "^$1\\$" 2>/dev/null | head -n 1; }
focus() {
    for turn in $(seq 600); do
        [ -z "$(find "$1")" ] || break
        sleep 0.2
    done
    xdotool windowfocus --sync "$(find "$1")"
}
focus Plugboard
for turn in $(seq 60); do
    xdotool key ctrl+1
    sleep 1
    [ -z "$(find 'Camera Settings')" ] || break
done
focus 'Camera Settings'
xdotool key Tab
xdotool type --delay 20 "$1"
xdotool key Return
for turn in $(seq 600); do
    [ -n "$(find 'Camera Settings')" ] || exit 0
    sleep 0.2
done
exit 1
"""


class CameraDialogTest(HostTest):
    def test_picture_of_a_camera_of_the_dialog_is_the_films(self):
        with tempfile.TemporaryDirectory(dir=PROGRAMS.parent) as folder: # the guest has a /tmp of its own
            path = make_clip(folder, "film.avi", "mjpeg", "640x480", 25, 3)
            film = jpegs_of(packets_of(path, "-f", "image2pipe"))
            with PlugboardInGuest(IMAGE, PROGRAMS) as guest:
                server = guest.command("/usr/bin/Xvfb", ":7", "-screen", "0", "1024x768x24", "-nolisten", "tcp")
                guest.check(f"({server} >/run/display 2>&1 &)")
                guest.wait(f"[ -e {SHARE}/tmp/.X11-unix/X7 ]")
                shown = "DISPLAY=:7 QT_QPA_PLATFORM=xcb"
                window = guest.command("plugboard", "--demo", environment=shown)
                guest.check(f"({window} >/run/window-output 2>&1 &)")
                guest.check(guest.command("/bin/sh", "-c", KEYS, "keys", str(path), environment=shown), 300)
                position, = guest.wait_attached(1).values()
                camera, = guest.devices()
                self.assertEqual("camera", camera["type"])
                guest.wait(f"ls /sys/bus/usb/devices/{position}:1.0/video4linux")
                node = guest.nodes(position, r"video\d+")[0]
                guest.check(f"v4l2-ctl -d /dev/{node} --stream-mmap=4 --stream-count=5 --stream-to=/tmp/pictures 2>&1", 180)
                taken = jpegs_of(guest.read("/tmp/pictures"))
                numbers = [film.index(picture) if picture in film else -1 for picture in taken]
                self.assertEqual(5, len(numbers))
                self.assertNotIn(-1, numbers)
                self.note(f"pictures {numbers} of the film")
                self.assert_quiet(guest, USUAL)
