"""device_process.py: a device process outside of the guest, which serves its device on this machine's loopback."""
import json
import os
import pathlib
import shutil
import subprocess
import tempfile
import time

PROGRAM = "usb-daemon.exe"
START = 120 # seconds that a device process gets to come up
KEYBOARD = ["7", "1d6b", "0002", "Keyboard Device", "0200", "104", "USB HID", "END"]
MOUSE = None # a mouse gets no message
UDISK = ["6", "1d6b", "0002", "USB Storage Device", "0200", "1024", "FAT32", "END"]
SPEAKER = ["5", "1d6b", "0002", "Speaker Device", "0200", "2", "44100", "END"]
RUN_UNDER_WINE = pathlib.Path(__file__).resolve().parent.parent.parent / "packaging/windows/run_under_wine.sh"


def parameter_message(parameters, public_key):
    """The line that makes a device process the device of the parameters."""
    block = subprocess.run(["openssl", "pkeyutl", "-encrypt", "-pubin", "-inkey", str(public_key),
                            "-pkeyopt", "rsa_padding_mode:pkcs1"], input="\n".join(parameters).encode(),
                           stdout=subprocess.PIPE, check=True).stdout
    return subprocess.run(["openssl", "base64", "-A"], input=block, stdout=subprocess.PIPE, check=True).stdout + b"\n"


def megabytes_of(process):
    """Memory of a process that is not swapped out."""
    status = pathlib.Path(f"/proc/{process}/status").read_text()
    return int(status.split("VmRSS:")[1].split()[0]) / 1024


class DeviceProcess:
    """One device process of `programs`, the folder of a build's programs, in a folder of its own. Windows programs run
    under Wine."""

    runner = ()
    module = "plugboard-media-devices.so"

    def __init__(self, parameters, programs):
        self.programs = pathlib.Path(programs).resolve()
        self.folder = self._make_folder()
        self.environment = dict(os.environ, PLUGBOARD_USER_DATA=str(self.folder / "user"), PLUGBOARD_HOST="server")
        for file in (PROGRAM, self.module):
            shutil.copy(self.programs / file, self.folder)
        self.output_file = open(self.folder / "output", "wb")
        self.process = subprocess.Popen([*self.runner, str(self.folder / PROGRAM), "--mode", "Local"],
                                        stdin=subprocess.PIPE, stdout=self.output_file, stderr=subprocess.STDOUT,
                                        env=self.environment)
        if parameters:
            key = self.programs.parent / "dev_keys/param_public.pem"
            self.process.stdin.write(parameter_message(parameters, key))
        self.process.stdin.close() # a device outlives whoever made it

    def _make_folder(self):
        return pathlib.Path(tempfile.mkdtemp(prefix="plugboard-device-"))

    def record(self):
        """What the device process says of itself, once it does."""
        end = time.monotonic() + START
        while time.monotonic() < end and self.process.poll() is None:
            for file in self.folder.glob("device_*.json"):
                return json.loads(file.read_text(encoding="utf-8"))
            time.sleep(0.05)
        raise AssertionError(f"No record came. The device process said: {self.output()}")

    def port(self):
        """Of its loopback server."""
        host = self.record()["host"]
        if host["way"] != "server":
            raise AssertionError(f"There is no server, but {host}. The device process said: {self.output()}")
        return host["port"]

    def send(self, command):
        """The answer of the device process to a command, without its "OK: "."""
        done = subprocess.run([*self.runner, str(self.programs / f"plugboard{'.exe' if self.runner else ''}"), "--send",
                               str(self.record()["processId"]), command], stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, env=self.environment, text=True, timeout=START)
        answer = done.stdout.strip()
        if done.returncode or not answer.startswith("OK"):
            raise AssertionError(f"{command}: {answer} ({done.returncode})")
        return answer.removeprefix("OK").removeprefix(": ")

    def output(self):
        return (self.folder / "output").read_text(errors="replace")

    def close(self):
        self.process.kill()
        self.process.wait()
        self.output_file.close()
        shutil.rmtree(self.folder, ignore_errors=True)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()


class WindowsDeviceProcess(DeviceProcess):
    runner = (str(RUN_UNDER_WINE),)
    module = "plugboard-media-devices.dll"

    def _make_folder(self):
        # Below the programs, whose folder the DLLs are looked for in.
        return pathlib.Path(tempfile.mkdtemp(prefix="host-test-", dir=self.programs))
