#!/usr/bin/env python3
"""run.py BUILD [--most N] [NAME...]: runs programs again and again, with each of their calls to the system failing once.

BUILD is the folder of a build. Each scenario runs once to count its calls of every kind, and then once for each call,
which fails. Whatever fails, a program ends by itself within a minute and by no signal, leaves every JSON file readable or
absent, and leaves neither processes nor what a save was to replace. One that saves says so when its bytes did not reach the
disk, one that fails for want of memory says so. Prints a line a kind; exits with 1 when there were faults.
"""
import argparse
import collections
import errno
import json
import os
import pathlib
import re
import shutil
import signal
import subprocess
import sys
import tempfile

HERE = pathlib.Path(__file__).resolve().parent
FILES = {"open": errno.EMFILE, "read": errno.EIO, "write": errno.ENOSPC, "fsync": errno.EIO, "rename": errno.EACCES,
         "unlink": errno.EACCES, "mkdir": errno.EACCES}
PROCESS = {"socket": errno.EMFILE, "bind": errno.EACCES, "listen": errno.EACCES, "connect": errno.ECONNREFUSED,
           "pipe": errno.EMFILE, "fork": errno.EAGAIN, "exec": errno.ENOMEM}
MEMORY = {"memory": errno.ENOMEM}
LIMIT = 60  # seconds
LEFT_SAVE = re.compile(r"\.json\.[A-Za-z]{6}$")


class Scenario:
    """A folder made anew for each run, and a command in it."""

    tells = ()  # kinds of which at least some failures show in the exit code

    def __init__(self, build, folder):
        self.build, self.folder = build, folder

    def prepare(self):
        pass

    def programs(self, *names):
        for name in names:
            shutil.copy(self.build / "bin" / name, self.folder)

    def tidy(self):
        """Ends what the command was to leave running."""


class Driver(Scenario):
    kinds = FILES
    tells = ("write", "rename")
    environment = {"PLUGBOARD_DEVICE_TREE": "FOLDER/tree.json"}

    def prepare(self):
        self.programs("vusbbus.inf")

    def command(self):
        inf = f"{self.folder}/vusbbus.inf"
        return [self.build / "bin/plugboard-driver", "--each", "usbredir", "dp_add", inf, "--then", "usbredir", "install",
                inf, r"root\VUBUS"]


class Credentials(Scenario):
    kinds = FILES
    tells = ("write", "fsync")
    way = "window"

    def prepare(self):
        (self.folder / "S_credentials.json").write_text(json.dumps({"credentials": [{"id": "a", "sigCnt": 0}]}))

    def command(self):
        return [self.build / "tests/fido2/credentials_writer", self.folder / "S_credentials.json", "a", "2", self.way]


class KeyCredentials(Credentials):
    way = "key"


class List(Scenario):
    kinds = FILES | {"socket": errno.EMFILE}

    def prepare(self):
        self.programs("plugboard")
        for number, process in enumerate((os.getpid(), 4194300)):
            (self.folder / f"device_d{number}_{process}.json").write_text(json.dumps(
                {"deviceType": 4, "deviceName": f"d{number}", "processId": str(process), "isRunning": True}))

    def command(self):
        return [self.folder / "plugboard", "--list", "--json"]


class Start(Scenario):
    kinds = FILES | PROCESS
    environment = {"PLUGBOARD_HOST": "none"}

    def prepare(self):
        self.programs("plugboard", "usb-daemon.exe")

    def command(self):
        return [self.folder / "plugboard", "--start", "keyboard"]

    def tidy(self):
        environment = {key: value for key, value in os.environ.items() if key != "LD_PRELOAD"}
        for process in own_processes(self.folder):
            os.kill(process, signal.SIGTERM)
        for process in own_processes(self.folder):
            try:
                subprocess.run(["tail", f"--pid={process}", "-f", "/dev/null"], env=environment, timeout=20)
            except subprocess.TimeoutExpired:
                pass


class Capture(Scenario):
    kinds = FILES
    tells = ("write", "fsync")

    def prepare(self):
        lines = ["1 %d S Ci:1:002:0 s 80 06 0100 0000 0012 18 <" % number for number in range(50)]
        (self.folder / "in.txt").write_text("\n".join(lines) + "\n")

    def command(self):
        return [self.build / "bin/plugboard-capture", self.folder / "in.txt", "--headless", "1", "--json", "--save",
                self.folder / "out.pcapng"]


class Load(Capture):
    """A line of text is read into a megabyte, and a record of four into as much."""

    kinds = MEMORY
    tells = ("memory",)

    def prepare(self):
        super().prepare()
        with open(self.folder / "in.txt", "a") as lines:
            lines.write("1 60 C Bi:1:002:1 0 4 = %s\n" % ("00" * 400_000))


class Media(Scenario):
    kinds = FILES | MEMORY

    def command(self):
        return [self.build / "bin/plugboard-media", "--codec", "mjpeg", "--threads", "1", "--size", "1280x720", "--output",
                self.folder / "out.avi", self.build / "tests/media/files/mjpeg.avi"]


SCENARIOS = {"driver": Driver, "credentials": Credentials, "key": KeyCredentials, "list": List, "start": Start,
             "capture": Capture, "load": Load, "media": Media}


def own_processes(folder):
    """Those that run a program of the folder."""
    found = []
    for entry in pathlib.Path("/proc").iterdir():
        try:
            if entry.name.isdigit() and os.readlink(entry / "exe").startswith(str(folder)):
                found.append(int(entry.name))
        except OSError:
            pass
    return found


def faults_of(folder, code):
    if code is None:
        yield f"it did not end within {LIMIT} s"
    elif code < 0 or code in (128 + signal.SIGABRT, 128 + signal.SIGSEGV):
        yield f"it crashed: {code}"
    if code is None or code != 0:
        if own_processes(folder):
            yield "it failed and left a process"
    for path in folder.rglob("*"):
        if LEFT_SAVE.search(path.name):
            yield f"it left {path.name}"
        if path.suffix == ".json" and path.is_file():
            try:
                json.loads(path.read_text())
            except ValueError:
                yield f"it damaged {path.name}"


def run(make, build, library, kind, number):
    """One run; its exit code, how many calls each of its processes made, and its faults."""
    with tempfile.TemporaryDirectory(prefix="faults-") as name:
        folder = pathlib.Path(name)
        scenario = make(build, folder)
        scenario.prepare()
        count = pathlib.Path(name + ".count")
        environment = os.environ | {"QT_QPA_PLATFORM": "offscreen", "PLUGBOARD_USER_DATA": str(folder / "user"),
                                    "LD_PRELOAD": str(library), "FAULT_CALL": kind, "FAULT_NUMBER": str(number),
                                    "FAULT_ERROR": str(scenario.kinds[kind]), "FAULT_FOLDER": str(folder),
                                    "FAULT_COUNT": str(count)}
        for key, value in getattr(scenario, "environment", {}).items():
            environment[key] = value.replace("FOLDER", str(folder))
        process = subprocess.Popen([str(part) for part in scenario.command()], env=environment, cwd=folder,
                                   stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        try:
            output = process.communicate(timeout=LIMIT)[0]
        except subprocess.TimeoutExpired:
            process.kill()
            output = process.communicate()[0]
            faults = list(faults_of(folder, None))
        else:
            faults = list(faults_of(folder, process.returncode))
        if kind == "memory" and process.returncode != 0 and b"memory" not in output:
            faults.append("it does not say why")
        scenario.tidy()
        calls = [int(line) for line in count.read_text().split()] if count.exists() else [0]
        count.unlink(missing_ok=True)
        if faults:
            faults.append(output.decode(errors="replace").strip()[-300:])
        return process.returncode, max(calls), faults


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("build", type=pathlib.Path)
    parser.add_argument("--most", type=int, default=1 << 30, help="calls of each kind that fail")
    parser.add_argument("names", nargs="*")
    options = parser.parse_intermixed_args()
    build = options.build.resolve()
    failed = 0
    with tempfile.TemporaryDirectory() as folder:
        library = pathlib.Path(folder) / "failing_calls.so"
        subprocess.run(["cc", "-std=gnu11", "-shared", "-fPIC", "-O1", "-w", "-o", library, HERE / "failing_calls.c",
                        "-ldl"], check=True)
        for name in options.names or SCENARIOS:
            for kind in SCENARIOS[name].kinds:
                code, calls, faults = run(SCENARIOS[name], build, library, kind, 0)
                if code != 0 or faults:
                    sys.exit(f"{name} does not work without a fault: {code} {faults}")
                codes = collections.Counter()
                for number in range(1, min(calls, options.most) + 1):
                    code, _, faults = run(SCENARIOS[name], build, library, kind, number)
                    codes[code] += 1
                    for fault in faults:
                        print(f"  {name}, {kind} {number} of {calls}: {fault}", flush=True)
                    failed += bool(faults)
                if kind in SCENARIOS[name].tells and set(codes) == {0}:
                    print(f"  {name}, {kind}: no failure shows in the exit code")
                    failed += 1
                print(f"{name}: {kind} failed in {sum(codes.values())} of {calls} places; exit codes {dict(codes)}", flush=True)
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
