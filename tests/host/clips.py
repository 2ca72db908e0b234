"""clips.py: films of the tests, made by ffmpeg, and their pictures."""
import pathlib
import subprocess

ENCODERS = {
    "mjpeg": "-c:v mjpeg -q:v 4 -pix_fmt yuvj420p",
    "h264": "-c:v libx264 -preset veryfast -bf 0 -pix_fmt yuv420p -g {rate}",
}


def make_clip(folder, name, codec, size, rate, seconds, source="testsrc2"):
    path = pathlib.Path(folder, name)
    encoder = ENCODERS[codec].format(rate=rate).split()
    subprocess.run(["ffmpeg", "-nostdin", "-v", "error", "-y", "-f", "lavfi", "-i",
                    f"{source}=size={size}:rate={rate}:duration={seconds}", *encoder, str(path)], check=True)
    return path


def jpegs_of(data):
    """The pictures of JPEG files that follow one another."""
    return [b"\xff\xd8\xff" + part for part in data.split(b"\xff\xd8\xff")[1:]]


def packets_of(path, *arguments):
    """The video stream as it is, without its container."""
    return subprocess.run(["ffmpeg", "-nostdin", "-v", "error", "-i", str(path), "-map", "0:v", "-c", "copy", *arguments,
                           "-"], stdout=subprocess.PIPE, check=True).stdout


def count_of(data, form):
    """How many pictures a decoder makes of a stream of "h264", "hevc" or "mjpeg"."""
    done = subprocess.run(["ffprobe", "-v", "error", "-f", form, "-count_frames", "-select_streams", "v:0", "-show_entries",
                           "stream=nb_read_frames", "-of", "csv=p=0", "-"], input=data, stdout=subprocess.PIPE,
                          stderr=subprocess.PIPE, check=True)
    return int(done.stdout.split()[0]), done.stderr.decode()
