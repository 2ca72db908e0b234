"""audio_test.py: the speaker, created in the window, and what a player of the guest plays to it; microphones of every
kind, and what a recorder of the guest gets of them."""
import pathlib
import random
import re
import struct
import tempfile
import wave

from device_process import DeviceProcess
from host_test import HostTest, IMAGE, PROGRAMS
from guest import SHARE
from plugboard_in_guest import PlugboardInGuest, position_of

RATE = 44100 # of the speaker
CHANNELS = 2
FRAME = 2 * CHANNELS
TRIES = 5 # of a recorder
MICROPHONES = [ # version of USB Audio, flag of USB 3.0, channels, rate
    ("1.0", "0", 1, 8000), ("1.0", "1", 2, 16000), ("1.0", "0", 2, 44100), ("1.0", "1", 6, 48000), ("1.0", "0", 8, 96000),
    ("1.0", "0", 2, 192000), ("2.0", "1", 1, 8000), ("2.0", "0", 4, 16000), ("2.0", "1", 2, 44100), ("2.0", "0", 8, 48000),
    ("2.0", "1", 2, 96000), ("2.0", "1", 4, 192000),
]
# The kernel's driver never submits the transfer that it was filling when the last period of a player was drained: it
# ends the stream before. That is up to 5 ms, which a player's last sound must not lie in.
TAIL = b"\0" * (RATE // 100 * FRAME)


def noise(samples, seed):
    """Samples of which none is 0, so that what is lost or silent shows."""
    return bytes(byte | 1 for byte in random.Random(seed).randbytes(samples * 2))


def write_sound(path, channels, rate, sound):
    with wave.open(str(path), "wb") as file:
        file.setparams((channels, 2, rate, 0, "NONE", ""))
        file.writeframes(sound)


class AudioTest(HostTest):
    @classmethod
    def setUpClass(cls):
        cls.guest = PlugboardInGuest(IMAGE, PROGRAMS)
        cls.addClassCleanup(cls.guest.close)

    def card(self, position, kind):
        """Name of the sound device that the kernel has made of it, which plays ("p") or captures ("c")."""
        node = self.guest.wait_node(position, rf"snd/pcmC\d+D0{kind}")
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
        card = self.card(position_of(speaker), "p")
        for frames in 3 * RATE, RATE + 1234, 100:
            sent = noise(frames * CHANNELS, frames)
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

    def attached(self, version, usb3, channels, rate):
        """A microphone that plays a second of noise in a loop: its process, its sound, and where the guest has it."""
        sound = noise(channels * rate, rate)
        folder = tempfile.TemporaryDirectory(prefix="plugboard-sound-")
        self.addCleanup(folder.cleanup)
        path = pathlib.Path(folder.name) / "sound.wav"
        write_sound(path, channels, rate, sound)
        process = DeviceProcess(["3", "1d6b", "0002", "Microphone", usb3, version, "0", str(path), str(channels),
                                 str(rate), "1", "END"], PROGRAMS)
        self.addCleanup(process.close)
        self.guest.attach(process.port())
        (port, position), = self.guest.wait_attached(1).items()
        return process, sound, port, position

    def assert_sound(self, heard, sound, case):
        """What was recorded is the sound, over and over, from where it begins: the source may not have begun before."""
        begun = heard.lstrip(b"\0")
        self.assertGreater(len(begun), len(sound), case)
        expected = sound * (len(begun) // len(sound) + 1)
        same = next((i for i in range(0, len(begun), 2) if begun[i:i + 2] != expected[i:i + 2]), len(begun))
        self.assertEqual(len(begun), same, f"bytes that are equal, of {case}")
        self.note(f"{case}: {len(begun) / len(heard):.1%}")

    def record(self, command, path):
        """What the command recorded in the guest. One that itself was too slow, as it says, or that the kernel gave up, as
        it does after ten seconds without sound on a machine with much else to do, records again."""
        for _ in range(TRIES):
            status, output = self.guest.run(command, 180)
            if status == 0 and not re.search("overrun|xrun", output):
                return self.guest.read(path)
            self.note(f"again, after: {output.strip()}")
        self.fail(f"{TRIES} times: {output}")

    def test_microphones_give_every_sample_of_their_source(self):
        guest = self.guest
        for case in MICROPHONES:
            channels, rate = case[2:]
            process, sound, port, position = self.attached(*case)
            card = self.card(position, "c")
            heard = self.record(f"arecord -q -B 4000000 -D {card} -t raw -f S16_LE -r {rate} -c {channels} -d 2 /tmp/sound",
                                "/tmp/sound")
            self.assertEqual(2 * len(sound), len(heard), case)
            self.assert_sound(heard, sound, f"UAC {case[0]} {channels} x {rate}")
            guest.check(f"usbip detach -p {port}; rm /tmp/sound")
            guest.wait_attached(0)
            process.close()
        self.assert_quiet(guest)

    def test_ffmpeg_records_every_sample(self):
        process, sound, port, position = self.attached("2.0", "0", 2, 16000)
        heard = self.record(f"chroot {SHARE} /usr/bin/env LC_ALL=C ffmpeg -nostdin -v warning -f alsa -channels 2 "
                            f"-sample_rate 16000 -i {self.card(position, 'c')} -fs {2 * len(sound)} -c copy -f s16le -y /tmp/sound",
                            f"{SHARE}/tmp/sound")
        self.assertGreaterEqual(len(heard), 2 * len(sound)) # its times are the clock's, so it is told an amount of bytes
        self.assert_sound(heard, sound, "ffmpeg")
        self.guest.check(f"usbip detach -p {port}")
        self.guest.wait_attached(0)
        self.assert_quiet(self.guest)
