#!/usr/bin/env python3
"""Takes the release through its life under Wine: contents, installation, use, upgrade, removal.

usage: check_release.py DIST WINDOWS_BUILD WORK

DIST is what make_dist.sh made; WINDOWS_BUILD holds the sample driver package, which is put beside the installed
program. WORK is a folder for files of this check. Runs below with_wine.sh, in a prefix of its own, as it
installs there; programs run without any DLL path. Prints each step; the first that fails ends the run.
"""
import hashlib
import json
import os
import re
import shutil
import subprocess
import sys
import time
import zipfile
from pathlib import Path

import program_resources
from deploy_dlls import imports

HERE = Path(__file__).resolve().parent
PROGRAMS = ["plugboard", "plugboard-capture", "plugboard-driver", "plugboard-media", "usb-daemon"]
USER_FILES = ["vusbbus.inf"]
REGISTRY = r"HKCU\Software\Microsoft\Windows\CurrentVersion\Uninstall\Plugboard"
EXIT_RUNNING = 3
PATIENCE = 120  # seconds


def require(condition, what):
    if not condition:
        sys.exit(f"FAILED: {what}")


def step(text):
    print(f"{time.monotonic() - STARTED:6.1f} s  {text}", flush=True)


def wait_for(condition, what):
    deadline = time.monotonic() + PATIENCE
    while not condition():
        require(time.monotonic() < deadline, what)
        time.sleep(0.2)


def windows_path(path):
    return "Z:" + str(path).replace("/", "\\")


def content(folder):
    """Hash of each file, by its name relative to the folder."""
    return {file.relative_to(folder).as_posix(): hashlib.sha256(file.read_bytes()).hexdigest()
            for file in folder.rglob("*") if file.is_file()}


class Release:
    def __init__(self, dist, build, work):
        self.build, self.work = build, work
        self.environment = {key: value for key, value in os.environ.items() if key != "WINEPATH"}
        self.setup, self.zip = next(dist.glob("*-setup.exe")), next(dist.glob("*.zip"))
        self.version = re.fullmatch(r"plugboard-(.+)-setup[.]exe", self.setup.name)[1]
        self.dist = dist
        self.users = Path(os.environ["WINEPREFIX"]) / "drive_c/users"
        local = next(folder for folder in self.users.glob("*/AppData/Local") if folder.parts[-3] != "Public")
        self.home = local / "Programs/Plugboard"
        self.written = [local / "Plugboard/settings.ini", local / "Plugboard/logs/plugboard.log"]
        self.shortcut = local.parent / "Roaming/Microsoft/Windows/Start Menu/Programs/Plugboard.lnk"

    def start(self, program, *arguments, **environment):
        # Through files: Wine's helpers keep a pipe open longer than the program lives.
        output = (self.work / "output").open("wb")
        return subprocess.Popen(["wine", str(program), *map(str, arguments)], stdin=subprocess.DEVNULL, stdout=output,
                                stderr=output, env=self.environment | environment, cwd=self.work)

    def run(self, program, *arguments, expected=0, **environment):
        result = self.start(program, *arguments, **environment).wait(PATIENCE)
        output = (self.work / "output").read_bytes()
        require(expected in (None, result),
                f"{Path(program).name} {arguments} ended with {result}, not {expected}: {output.decode(errors='replace')}")
        return output.decode(errors="replace").strip() if expected is not None else result

    def is_registered(self):
        return self.run("reg.exe", "query", REGISTRY, expected=None) == 0

    def packed(self):
        """The files of the zip as content() has them."""
        with zipfile.ZipFile(self.zip) as archive:
            names = archive.namelist()
            top = f"plugboard-{self.version}/"
            require(all(name.startswith(top) for name in names), "the zip holds one folder")
            return {name[len(top):]: hashlib.sha256(archive.read(name)).hexdigest() for name in names}

    def installed(self):
        return {name: digest for name, digest in content(self.home).items() if name != "uninstall.exe"}

    def user_files(self):
        return sorted(set(content(self.home)) - set(self.packed()) - {"uninstall.exe"})

    def check_contents(self):
        subprocess.run(["sha256sum", "--check", "--quiet", "SHA256SUMS"], cwd=self.dist, check=True)
        packed = self.packed()
        folder = self.work / "unzipped"
        with zipfile.ZipFile(self.zip) as archive:
            archive.extractall(folder)
        folder = folder / f"plugboard-{self.version}"
        programs = sorted(name for name in packed if name.endswith(".exe"))
        require(programs == sorted(name + ".exe" for name in PROGRAMS), f"the programs are {programs}")
        strange = [name for name in packed if Path(name).suffix not in (".exe", ".dll", ".txt")]
        require(not strange, f"{strange} does not belong into a release")
        for name in packed:
            if name.endswith((".exe", ".dll")):
                listing = subprocess.run(["x86_64-w64-mingw32-objdump", "-h", folder / name], capture_output=True, text=True)
                require(".debug_" not in listing.stdout, f"{name} holds debugging data")
        beside = {name.lower() for name in packed} & {name.lower() for name in imports(folder / "plugboard-driver.exe")}
        require(not beside, f"the program that runs elevated loads {beside} from its own folder")
        for program in PROGRAMS:
            program_resources.check(folder / f"{program}.exe", self.version)
        require("192.168.1.100".encode("utf-16-le") in (folder / "plugboard.exe").read_bytes(),
                "the program starts with a release's address")
        return len(packed)

    def check_device(self, program, process, device):
        """The device of that process is up, and its server waits for a host."""
        answer = self.run(program, "--send", process, "status")
        require(re.match(f"OK: {device}: server 127[.]0[.]0[.]1:[0-9]+, bus id 1-1, not attached", answer),
                f"the device process answers '{answer}'")

    def use_unzipped(self):
        """The device process starts where the zip was unpacked, and is what it is without a message."""
        folder = self.work / "unzipped" / f"plugboard-{self.version}"
        device = self.start(folder / "usb-daemon.exe", "--mode", "Local")
        wait_for(lambda: list(folder.glob("device_*.json")) or device.poll() is not None, "a device starts")
        [mouse] = json.loads(self.run(folder / "plugboard.exe", "--list", "--json"))
        self.check_device(folder / "plugboard.exe", mouse["processId"], "mouse")
        self.run(folder / "plugboard.exe", "--delete", mouse["processId"])
        device.wait(PATIENCE)

    def make_earlier_version(self):
        """An installer of something older, with a file that this version lacks."""
        stage = self.work / "earlier"
        (stage / "platforms").mkdir(parents=True)
        shutil.copy2(self.work / "unzipped" / f"plugboard-{self.version}" / "plugboard-driver.exe", stage / "plugboard.exe")
        for name in ("LICENSE.txt", "given-up.dll", "platforms/given-up.dll"):
            (stage / name).write_text("earlier\n")
        setup = self.work / "earlier-setup.exe"
        subprocess.run([HERE / "make_installer.sh", stage, "0.0.1", self.work / "earlier-files", setup], check=True)
        return setup

    def put_user_files(self):
        for name in USER_FILES:
            shutil.copy2(self.build / "bin" / name, self.home)
        inf = windows_path(self.home / "vusbbus.inf")
        self.run(self.build / "bin" / "plugboard-driver.exe", "--each", "usbredir", "dp_add", inf, "--then", "usbredir",
                 "install", inf, "root\\VUBUS", PLUGBOARD_DEVICE_TREE=windows_path(self.home / "simulated_tree.json"))
        # On a file that is no tree every command fails; a release does not even look at it.
        self.run(self.home / "plugboard-driver.exe", "find", "*", PLUGBOARD_DEVICE_TREE=inf)

    def use(self):
        """Creates a device through the window; tries to replace and to remove what runs; deletes the device."""
        program = self.home / "plugboard.exe"
        window = self.start(program, "--demo", "--create", "keyboard")
        wait_for(lambda: list(self.home.glob("device_*.json")) or window.poll() is not None, "a device is created")
        devices = json.loads(self.run(program, "--list", "--json"))
        require([device["type"] for device in devices] == ["keyboard"], f"the devices are {devices}")
        self.check_device(program, devices[0]["processId"], "keyboard")
        step("created a device, which answers and waits for a host")

        before = content(self.home)
        self.run(self.setup, "/S", expected=EXIT_RUNNING)
        self.uninstall_in_place(EXIT_RUNNING)
        require(content(self.home) == before and self.is_registered(), "nothing changes while the program runs")
        step("refused to replace or remove what runs")

        self.run(program, "--delete", devices[0]["processId"])
        require(not list(self.home.glob("device_*.json")), "the device's record is gone")
        self.run("taskkill.exe", "/IM", "plugboard.exe")
        require(window.wait(PATIENCE) == 0, "the window closes when it is asked to")
        step("deleted the device, closed the window")

    def uninstall_in_place(self, expected):
        """Waits for the end, which the uninstaller otherwise does in a copy of itself."""
        self.run(self.home / "uninstall.exe", "/S", "_?=" + windows_path(self.home), expected=expected)

    def uninstall(self):
        self.run(self.home / "uninstall.exe", "/S")
        wait_for(lambda: not (self.home / "uninstall.exe").exists(), "the uninstaller removes itself")
        wait_for(lambda: not self.is_registered() and not self.shortcut.exists(), "registry entry and shortcut go")


def main():
    dist, build, work = (Path(argument).resolve() for argument in sys.argv[1:])
    shutil.rmtree(work, ignore_errors=True)
    work.mkdir(parents=True)
    release = Release(dist, build, work)

    step(f"contents: {release.check_contents()} files, as they should be")
    release.use_unzipped()
    step("started a device out of the zip")
    release.run(release.make_earlier_version(), "/S")
    require((release.home / "platforms/given-up.dll").exists() and release.is_registered(), "an earlier version is there")
    for file in release.written:
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text("written by the program\n")
    (release.home / "fido2").mkdir()
    (release.home / "fido2/credentials.json").write_text("{}")
    step("installed an earlier version")

    release.run(release.setup, "/S")
    require(release.installed() == release.packed() | {"fido2/credentials.json": hashlib.sha256(b"{}").hexdigest()},
            "the upgraded folder holds the zip's files and the user's")
    require(all(file.exists() for file in release.written), "settings and logs outlast an upgrade")
    require(release.is_registered() and release.shortcut.exists(), "the upgraded program is in the menu and can be removed")
    shown = release.run("reg.exe", "query", REGISTRY, "/v", "DisplayVersion")
    require(release.version in shown, f"the registered version is {shown}")
    for program in PROGRAMS:
        if program not in ("plugboard-driver", "usb-daemon"):  # which have no such option
            text = release.run(release.home / f"{program}.exe", "--version")
            require(text.split()[-1] == release.version, f"{program} says that it is '{text}'")
    step("upgraded it")

    release.put_user_files()
    release.use()
    release.run(release.setup, "/S")
    step("installed the same version again")
    release.uninstall()
    left = sorted(content(release.home))
    tree = ["simulated_tree.json", "simulated_tree.json.lock"]
    require(left == sorted([*USER_FILES, "fido2/credentials.json", *tree]), f"what stays is {left}")
    require(not release.written[0].parent.exists(), "settings and logs go")
    step("uninstalled; the user's files stay: " + ", ".join(left))

    shutil.rmtree(release.home)
    release.home = release.home.parent / "Plug board ä摄"
    # Where the last installation was: Wine puts quotation marks around a /D= with a blank in it, which must have none.
    release.run("reg.exe", "add", REGISTRY, "/v", "InstallLocation", "/d", windows_path(release.home))
    release.run(release.setup, "/S")
    require(release.installed() == release.packed(), "a fresh folder holds the zip's files")
    text = release.run(release.home / "plugboard.exe", "--version")
    require(text == f"Plugboard {release.version}", f"the version is '{text}'")
    release.uninstall()
    wait_for(lambda: not release.home.exists(), "nothing stays of a folder without files of the user")
    step("installed into a fresh folder with other letters and uninstalled without a trace")


STARTED = time.monotonic()
if __name__ == "__main__":
    main()
