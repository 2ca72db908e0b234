#!/usr/bin/env python3
"""camera_stream_benchmark.py [SECONDS]: processor time of camera processes while a host on this machine takes 1080p
pictures 30 times a second, in percent of a core: of H.264 that passes as it is, and of a film that is transcoded,
beside ffmpeg's for the same transcoding. Prints the rate as the host sees it, and how the memory changes over the run,
which should be ten minutes (600) for that to mean much."""
import json
import os
import pathlib
import resource
import subprocess
import sys
import tempfile
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "tests/host"))
from camera_client import CameraClient # pylint: disable=wrong-import-position
from camera_test import camera
from clips import make_clip
from device_process import DeviceProcess, megabytes_of
from host_test import PROGRAMS

SIZE = "1920x1080"
RATE = 30
TICKS = os.sysconf("SC_CLK_TCK")
WARM_UP = 3 # seconds


def seconds_of(process):
    fields = pathlib.Path(f"/proc/{process}/stat").read_text().rsplit(")", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / TICKS


def peer_seconds(clip, pictures):
    """Processor time that ffmpeg takes for the same transcoding of as many pictures."""
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    subprocess.run(["ffmpeg", "-nostdin", "-v", "error", "-stream_loop", "-1", "-i", str(clip), "-an", "-frames:v",
                    str(pictures), "-vf", "scale=flags=bilinear", "-c:v", "mjpeg", "-q:v", "4", "-pix_fmt", "yuvj420p", "-f",
                    "null", "-"], check=True)
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    return after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime


def tell(name, unit, ours, limit, peer=None):
    print(json.dumps({"benchmark": f"camera_stream {name}", "unit": unit, "ours": round(ours, 3),
                      "peer": "ffmpeg" if peer else None, "peer_value": peer and round(peer, 3),
                      "ratio": peer and round(ours / peer, 3), "limit": limit}, separators=(",", ":")), flush=True)


def measure(name, parameters, seconds, clip=None):
    with DeviceProcess(parameters, PROGRAMS) as device:
        client = CameraClient(device.port(), 3072 if parameters[12] == "1" else 0)
        sum(1 for _ in client.watch(WARM_UP))
        client.stamps.clear()
        process = device.process.pid
        memory, used, begin = megabytes_of(process), seconds_of(process), time.monotonic()
        pictures = sum(1 for _ in client.watch(seconds))
        used, took, memory = seconds_of(process) - used, time.monotonic() - begin, megabytes_of(process) - memory
        client.close()
    tell(f"{name} rate", "pictures/s", client.rate(), "29.7 to 30.3")
    tell(f"{name} memory, {seconds} s", "MiB more", memory, "flat")
    if clip:
        tell(name, "processor s", used, "ratio <= 1.1", peer_seconds(clip, pictures))
    else:
        tell(name, "% of a core", 100 * used / took, "<= 5")


def main():
    seconds = int(sys.argv[1]) if len(sys.argv) > 1 else 20
    with tempfile.TemporaryDirectory() as folder:
        h264 = make_clip(folder, "film.mp4", "h264", SIZE, RATE, 10)
        mjpeg = make_clip(folder, "film.avi", "mjpeg", SIZE, RATE, 10)
        measure("pass-through H264", camera(h264, "H264", SIZE, RATE), seconds)
        measure("pass-through H264 isochronous", camera(h264, "H264", SIZE, RATE, iso=True), seconds)
        measure("pass-through MJPEG", camera(mjpeg, "MJPEG", SIZE, RATE), seconds)
        measure("transcoded H264 to MJPEG", camera(h264, "MJPEG", SIZE, RATE), seconds, h264)


if __name__ == "__main__":
    main()
