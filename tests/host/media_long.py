"""media_long.py: ten minutes of pictures and sound, or as many seconds as PLUGBOARD_HOST_SECONDS says: nothing drifts, nothing
is lost, and memory stays flat."""
import os
import pathlib
import statistics
import struct
import subprocess
import tempfile
import threading
import time

from audio_test import noise, write_sound
from camera_client import CameraClient
from camera_test import camera
from clips import jpegs_of, packets_of
from device_process import DeviceProcess, megabytes_of
from guest import Guest, SHARE
from host_test import HostTest, IMAGE, PROGRAMS
from usbip_client import UsbipClient

SECONDS = int(os.environ.get("PLUGBOARD_HOST_SECONDS", 600))
FILM = 10           # seconds of the film, which is played in a loop
RATE, FRAME = 48000, 4
PICTURES = 25
ENDS = min(20, SECONDS / 4) # seconds at the begin and at the end of which the medians are compared

# Compares in the guest what arecord got with the sound, from where that begins: bytes that are equal and bytes of the rest.
COMPARE = """
import sys
heard, sound = open(sys.argv[1], "rb"), open(sys.argv[2], "rb").read()[44:]
first = heard.read(len(sound))
begin = next((i for i in range(0, len(first), 4) if first[i:i + 4] != bytes(4)), len(first))
heard.seek(begin)
equal = rest = 0
while data := heard.read(len(sound)):
    if data == sound[:len(data)] and not rest:
        equal += len(data)
    else:
        rest += len(data)
print(begin, equal, rest)
"""


def microphone(source, version="1.0"):
    """Parameters of a microphone of two channels."""
    return ["3", "1d6b", "0002", "Microphone", "0", version, "0", str(source), "2", str(RATE), "1", "END"]


class SoundClient(UsbipClient):
    """Takes the sound of a microphone of UAC 1.0 at full speed. `stamps` are times, with the frames that came until then."""

    PACKETS = 8

    def __init__(self, port):
        super().__init__(port, RATE // 1000 * FRAME + FRAME)
        self.stamps = []
        self._control("010B010001000000")

    def listen(self, seconds):
        """Yields the sound."""
        frames, end = 0, time.monotonic() + seconds
        for _ in range(16): # 128 ms, so that a busy machine does not make it late
            self._submit(1, self.iso_bytes * self.PACKETS, packets=self.PACKETS)
        while time.monotonic() < end:
            _, parts = self._reply()
            self._submit(1, self.iso_bytes * self.PACKETS, packets=self.PACKETS)
            sound = b"".join(parts)
            frames += len(sound) // FRAME
            self.stamps.append((time.monotonic(), frames))
            yield sound


class Listener(threading.Thread):
    """Compares what comes with the film's sound; `wrong` counts the blocks that differ from it."""

    def __init__(self, client, sound):
        super().__init__()
        self.client, self.twice, self.wrong, self.place, self.silent = client, sound * 2, 0, None, 0

    def run(self):
        for heard in self.client.listen(SECONDS):
            if self.place is None:
                begun = heard.lstrip(b"\0")
                begun = heard[(len(heard) - len(begun)) // FRAME * FRAME:]
                self.silent += (len(heard) - len(begun)) // FRAME
                if not begun:
                    continue
                self.place, heard = 0, begun
            self.wrong += heard != self.twice[self.place:self.place + len(heard)]
            self.place = (self.place + len(heard)) % (len(self.twice) // 2)

    def seconds_at(self, when):
        """Of the film's sound that had come by a time."""
        stamps = self.client.stamps
        low, high = 0, len(stamps)
        while low < high:
            middle = (low + high) // 2
            low, high = (middle + 1, high) if stamps[middle][0] <= when else (low, middle)
        return (stamps[max(low - 1, 0)][1] - self.silent) / RATE


class MediaLong(HostTest):
    def setUp(self):
        super().setUp()
        folder = tempfile.TemporaryDirectory(prefix="plugboard-long-", dir=PROGRAMS.parent) # the guest's /tmp is its own
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def device(self, parameters):
        device = DeviceProcess(parameters, PROGRAMS)
        self.addCleanup(device.close)
        return device

    def clip(self, sound):
        """A film with that sound."""
        write_sound(self.folder / "sound.wav", 2, RATE, sound)
        path = self.folder / "clip.mkv"
        subprocess.run(["ffmpeg", "-nostdin", "-v", "error", "-f", "lavfi", "-i",
                        f"testsrc2=size=640x480:rate={PICTURES}:duration={FILM}", "-i", str(self.folder / "sound.wav"),
                        "-c:v", "mjpeg", "-q:v", "4", "-pix_fmt", "yuvj420p", "-c:a", "copy", str(path)], check=True)
        return path

    def test_camera_and_microphone_of_one_clip_stay_together(self):
        sound = noise(RATE * FILM * 2, 1)
        path = self.clip(sound)
        film = {picture: i for i, picture in enumerate(jpegs_of(packets_of(path, "-f", "image2pipe")))}
        self.assertEqual(PICTURES * FILM, len(film))
        shows, sounds = self.device(camera(path, rate=PICTURES)), self.device(microphone(path))
        watcher = CameraClient(shows.port())
        self.addCleanup(watcher.close)
        listener = Listener(SoundClient(sounds.port()), sound)
        self.addCleanup(listener.client.close)
        listener.start()
        seen, memory, begun = [], None, time.monotonic()
        for picture in watcher.watch(SECONDS):
            self.assertIn(picture, film)
            step = (film[picture] - seen[-1]) % len(film) if seen else 0
            seen.append((seen[-1] if seen else 0) + step)
            if not memory and time.monotonic() - begun > ENDS / 2:
                memory = [megabytes_of(each.process.pid) for each in (shows, sounds)]
        grown = [megabytes_of(each.process.pid) - before for each, before in zip((shows, sounds), memory)]
        listener.join()
        begin, end = watcher.stamps[0] + 2, watcher.stamps[-1] - 2
        offsets = [(when, number / PICTURES - listener.seconds_at(when)) for when, number in zip(watcher.stamps, seen)]
        first = statistics.median(offset for when, offset in offsets if begin < when < begin + ENDS)
        last = statistics.median(offset for when, offset in offsets if end - ENDS < when < end)
        rate = (seen[-1] - seen[0]) / (watcher.stamps[-1] - watcher.stamps[0])
        (begun, before), (ended, after) = listener.client.stamps[100], listener.client.stamps[-1]
        self.note(f"{SECONDS} s: offset {first * 1000:.1f} ms, later {last * 1000:.1f} ms; {rate:.4f} pictures and "
                  f"{(after - before) / (ended - begun):.1f} frames a second; {len(seen)} pictures, "
                  f"{seen[-1] - len(seen) + 1} left out; memory {grown[0]:+.1f} and {grown[1]:+.1f} MiB; {shows.send('status')}; "
                  f"{sounds.send('status')}")
        self.assertLess(abs(last - first), 0.040)
        self.assertAlmostEqual(1, rate / PICTURES, delta=0.01)
        self.assertAlmostEqual(1, (after - before) / (ended - begun) / RATE, delta=0.01)
        self.assertEqual(0, listener.wrong, "blocks of sound that differ from the film's")
        self.assertLess(max(grown), 4, "MiB more")

    def test_recorder_of_the_guest_gets_every_sample(self):
        sound = noise(RATE * FILM * 2, 2)
        path = self.folder / "sound.wav"
        write_sound(path, 2, RATE, sound)
        device = self.device(microphone(path, "2.0"))
        with Guest(IMAGE) as guest:
            guest.attach(device.port())
            position, = guest.wait_attached(1).values()
            node = guest.wait_node(position, r"snd/pcmC\d+D0c")
            card = node[len("snd/pcmC"):].split("D")[0]
            guest.check("mount -o remount,size=90% /tmp")
            begun = time.monotonic()
            guest.check(f"arecord -q -B 4000000 -D hw:{card},0 -t raw -f S16_LE -r {RATE} -c 2 -d {SECONDS} /tmp/sound",
                        2 * SECONDS + 120)
            took = time.monotonic() - begun
            guest.check(f"mv /tmp/sound {SHARE}/tmp/sound")
            guest.write(f"{SHARE}/tmp/compare.py", COMPARE.encode())
            begin, equal, rest = map(int, guest.check(
                f"chroot {SHARE} /usr/bin/python3 /tmp/compare.py /tmp/sound {path}", 600).split())
            self.note(f"{SECONDS} s took {took:.2f} s; {begin // FRAME} frames of silence, then {equal // FRAME} equal, "
                      f"{rest // FRAME} not; {device.send('status')}")
            self.assertEqual(0, rest, "bytes behind the first that differ")
            self.assertEqual(SECONDS * RATE * FRAME, begin + equal)
            self.assertLess(abs(took - SECONDS), 3)
            self.assert_quiet(guest)
