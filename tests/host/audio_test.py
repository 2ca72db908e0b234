"""audio_test.py: the speaker, created in the window, and what a player of the guest plays to it."""
import random
import re
import struct

from host_test import HostTest, IMAGE, PROGRAMS
from guest import SHARE
from plugboard_in_guest import PlugboardInGuest, position_of

RATE = 44100
CHANNELS = 2
FRAME = 2 * CHANNELS
# The kernel's driver never submits the transfer that it was filling when the last period of a player was drained: it ends
# the stream before. That is up to 5 ms, which a player's last sound must not lie in.
TAIL = b"\0" * (RATE // 100 * FRAME)


def noise(frames, seed):
    """Samples of which none is 0, so that what is lost or silent shows."""
    numbers = random.Random(seed)
    return struct.pack(f"<{frames * CHANNELS}h", *(numbers.randrange(1, 32768) for _ in range(frames * CHANNELS)))


class AudioTest(HostTest):
    @classmethod
    def setUpClass(cls):
        cls.guest = PlugboardInGuest(IMAGE, PROGRAMS)
        cls.addClassCleanup(cls.guest.close)

    def card(self, device, kind):
        """Name of the sound device that the kernel has made of it, which plays ("p") or captures ("c")."""
        node = self.guest.wait_node(position_of(device), rf"snd/pcmC\d+D0{kind}")
        return f"hw:{re.search('C([0-9]+)D', node)[1]},0"

    def submitted(self, position, command):
        """Runs a shell command and tells how many bytes of sound the driver submitted to the device meanwhile, as the
        kernel's own monitor saw it."""
        bus = position.split("-")[0]
        log = self.guest.check(f"""
            cat /sys/kernel/debug/usb/usbmon/{bus}u >/tmp/monitor & monitor=$!
            {command} || exit 1
            usleep 500000
            kill $monitor
            cat /tmp/monitor""", 120)
        return sum(int(length) for length in re.findall(r" S Zo:.* (\d+) =", log))

    def recorded(self, speaker, path):
        """Ends the recording; its sound."""
        self.note(self.guest.send(speaker, "stop"))
        data = self.guest.read(f"{SHARE}{path}")
        self.assertEqual((b"RIFF", len(data) - 8, b"WAVEfmt ", 1, CHANNELS, RATE, b"data", len(data) - 44),
                         struct.unpack("<4sI8s4xHHI8x4sI", data[:44]))
        return data[44:]

    def test_speaker_records_all_that_is_played(self):
        guest = self.guest
        speaker, = guest.create("speaker")
        self.addCleanup(guest.end, speaker)
        card = self.card(speaker, "p")
        for frames in 3 * RATE, RATE + 1234, 100:
            sent = noise(frames, frames)
            guest.write("/tmp/sent", sent + TAIL)
            guest.send(speaker, f"record /tmp/heard-{frames}.wav")
            monitored = self.submitted(position_of(speaker), f"aplay -q -D {card} -t raw -f S16_LE -r {RATE} "
                                                             f"-c {CHANNELS} /tmp/sent")
            heard = self.recorded(speaker, f"/tmp/heard-{frames}.wav")
            self.assertEqual(monitored, len(heard), "bytes that the driver submitted, and that were recorded")
            same = next((i for i in range(len(sent)) if heard[i:i + 1] != sent[i:i + 1]), len(sent))
            self.assertEqual(len(sent), same, "bytes that are equal, of those sent")
            self.assertEqual(b"", heard[len(sent):].strip(b"\0"))
        self.note(guest.send(speaker, "status"))
        self.assert_quiet(guest)
