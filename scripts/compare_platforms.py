#!/usr/bin/env python3
"""Compares what the Linux and the Windows programs make of the same requests.

usage: compare_platforms.py LINUX_BUILD WINDOWS_BUILD

Both sides run in a folder with spaces and other letters in its name: the driver engine on a simulated tree, devices of each
type that has fixed defaults, their records, rows and end, and the messages that the device processes are handed. Process
ids, times and the folder's name are replaced; the rest must be equal, but for the order of devices, which is the file
system's, and the line ends of the driver engine's output. A driver command must besides end as it should, so that two sides
that fail alike are not taken for equal. Each difference is printed. Runs the Windows programs under Wine, so call it below with_wine.sh.
"""
import base64
import difflib
import json
import os
import re
import shutil
import subprocess
import sys
import time
from pathlib import Path

TYPES = ["usbip", "speaker", "udisk", "keyboard", "mouse"]
WITH_MESSAGE = len(TYPES) - 1  # a mouse is started without one
PATIENCE = 120  # seconds
RUNNER = Path(__file__).resolve().parent.parent / "packaging/windows/run_under_wine.sh"
INSTALLATION = [(0, ["dp_add", "vusbbus.inf"]), (0, ["install", "vusbbus.inf", "root\\VUBUS"])]
DRIVER_COMMANDS = INSTALLATION + [  # each with its exit code
    (0, ["find", "*"]),
    (0, ["sethwid", "root\\VUBUS", ":=", "-Gerät 摄 \"像\" 😀"]),
    (0, ["hwids", "=USB", "*"]),
    (0, ["find", "Gerät 摄*"]),
    (0, ["stack", "root\\VUBUS"]),
    (0, ["drivernodes", "*"]),
    (0, ["driverfiles", "*"]),
    (0, ["disable", "@ROOT\\*"]),
    (0, ["status", "root\\VUBUS", "root\\nothing"]),
    (0, ["enable", "@root\\usb\\0000"]),
    (2, ["classfilter", "usb", "lower", "+service"]),
    (0, ["classes"]),
    (0, ["dp_enum"]),
    (2, ["dp_delete", "oem0.inf"]),
    (0, ["remove", "root\\VUBUS"]),
    (0, ["dp_delete", "vusbbus.inf\\..\\oem0.inf"]),
    (0, ["help", "sethwid"]),
    (0, ["--help"]),
    (0, ["--version"]),
    (3, ["no_such_command"]),
]

# Which port was free, and whether a server was there yet, differs from run to run.
WAY_TO_HOST = re.compile(r'\s*"host": \{[^}]*\},?')


class Side:
    """The programs of one system in folders of their own."""

    def __init__(self, build, windows):
        self.build, self.windows = build, windows
        self.suffix = ".exe" if windows else ""
        self.environment = dict(os.environ)
        if not windows:
            self.environment |= {"QT_QPA_PLATFORM": "offscreen", "LC_ALL": "C.UTF-8"}

    def make_folder(self, name, daemon):
        folder = self.build / "compare" / f"Plug board (ä摄) {name}"
        shutil.rmtree(folder, ignore_errors=True)
        folder.mkdir(parents=True)
        for program in ("plugboard", "plugboard-driver"):
            shutil.copy2(self.build / "bin" / (program + self.suffix), folder)
        shutil.copy2(daemon, folder / "usb-daemon.exe")
        shutil.copy2(self.build / "bin" / f"plugboard-media-devices.{'dll' if self.windows else 'so'}", folder)
        shutil.copy2(self.build / "bin" / "vusbbus.inf", folder)
        return folder

    def start(self, folder, program, arguments, **environment):
        command = [str(folder / (program + self.suffix))] + arguments
        if self.windows:
            command.insert(0, str(RUNNER))
        return subprocess.Popen(command, cwd=folder, env=self.environment | environment, stdin=subprocess.DEVNULL,
                                stdout=subprocess.PIPE, stderr=subprocess.PIPE)

    def run(self, folder, program, arguments, **environment):
        """Exit code and texts as one string, in which carriage returns are seen."""
        process = self.start(folder, program, arguments, **environment)
        out, error = process.communicate(timeout=PATIENCE)
        if self.windows and program == "plugboard-driver":
            out, error = (text.replace(b"\r\n", b"\n") for text in (out, error))
        text = f"exit {process.returncode}\n{visible(out)}\n{visible(error)}"
        for path in (str(folder), "Z:" + str(folder).replace("/", "\\")):
            text = text.replace(path + "/", "FOLDER/").replace(path + "\\", "FOLDER/")
        return text.replace(program + ".exe", program)

    def drive(self, folder, commands):
        """Runs commands of the driver engine on the folder's tree and returns what each printed."""
        texts = []
        for expected, command in commands:
            text = self.run(folder, "plugboard-driver", command, PLUGBOARD_DEVICE_TREE="simulated_tree.json")
            if not text.startswith(f"exit {expected}\n"):
                sys.exit(f"{folder}: {command} ends otherwise than with {expected}:\n{text}")
            texts.append(" ".join(command) + "\n" + text)
        return texts

    def driver_texts(self):
        folder = self.make_folder("driver", self.build / "bin" / "usb-daemon.exe")
        texts = self.drive(folder, DRIVER_COMMANDS)
        texts.append(visible((folder / "simulated_tree.json").read_bytes()))
        return texts

    def create(self, folder, created, **environment):
        """Creates a device of each type; once `created` holds, ends the window, which the devices outlive."""
        self.drive(folder, INSTALLATION)
        window = self.start(folder, "plugboard", ["--demo"] + [word for t in TYPES for word in ("--create", t)],
                            **environment)
        deadline = time.monotonic() + PATIENCE
        while not created() and time.monotonic() < deadline and window.poll() is None:
            time.sleep(0.2)
        window.kill()
        window.wait()
        if not created():
            sys.exit(f"{folder}: the devices did not come")

    def devices(self):
        """Records, rows and the devices' end."""
        folder = self.make_folder("devices", self.build / "bin" / "usb-daemon.exe")
        self.create(folder, lambda: len(list(folder.glob("device_*.json"))) == len(TYPES))
        records = []
        for file in folder.glob("device_*.json"):
            process_id = json.loads(file.read_bytes())["processId"]
            text = WAY_TO_HOST.sub("", f"{file.name}\n{visible(file.read_bytes())}")
            records.append(re.sub(r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d", "TIME", text).replace(process_id, "ID"))
        listed = self.run(folder, "plugboard", ["--list"])
        as_json = self.run(folder, "plugboard", ["--list", "--json"])
        ids = re.findall(r'"processId": (\d+)', as_json)
        ends = [self.run(folder, "plugboard", ["--delete", process_id]) for process_id in ids]
        left = sorted(file.name for file in folder.glob("device_*"))
        rows = sorted(re.sub(r"\t\d+\t", "\tID\t", line) for line in listed.splitlines())
        objects = [json.dumps({**device, "processId": "ID", "host": None}, ensure_ascii=False, sort_keys=True, indent=1)
                   for device in json.loads(as_json[as_json.index("["):as_json.rindex("]") + 1])]
        return sorted(records), rows, sorted(objects), ends, left

    def messages(self):
        """What the device processes were handed, decrypted here with the private key of this build."""
        folder = self.make_folder("messages", self.build / "tests/devices/child/usb-daemon.exe")
        reports = folder / "reports"
        reports.mkdir()

        def handed_over():  # a mouse reports an empty message once the window has ended
            return [content for file in reports.glob("*.message") if (content := file.read_bytes())]

        self.create(folder, lambda: len(handed_over()) == WITH_MESSAGE, CHILD_REPORTS="reports")
        key = self.build / "dev_keys/param_private.pem"
        return sorted(decrypt(message, key) for message in handed_over())


def visible(data):
    return data.decode("utf-8", "backslashreplace").replace("\r", "\\r")


def decrypt(message, key):
    if not message.endswith(b"\n") or message.count(b"\n") != 1:
        return f"not one line: {message!r}"
    blob = base64.b64decode(message[:-1], validate=True)
    size = 256
    if len(blob) == size:
        return decrypt_block(blob, key)
    count, text, position = int.from_bytes(blob[:4], "big"), "", 4
    for _ in range(count):
        length = int.from_bytes(blob[position:position + 4], "big")
        part = decrypt_block(blob[position + 4:position + 4 + size], key)
        text += part if len(part.encode()) == length else f"[{length} bytes announced]{part}"
        position += 4 + size
    return text if position == len(blob) else f"{text}[{len(blob) - position} bytes more]"


def decrypt_block(block, key):
    command = ["openssl", "pkeyutl", "-decrypt", "-inkey", str(key), "-pkeyopt", "rsa_padding_mode:pkcs1"]
    return subprocess.run(command, input=block, capture_output=True, check=True).stdout.decode("utf-8")


def compare(name, linux, windows):
    if not linux:
        sys.exit(f"{name}: nothing to compare")
    linux, windows = "\n".join(linux).splitlines(), "\n".join(windows).splitlines()
    difference = list(difflib.unified_diff(linux, windows, f"{name} on Linux", f"{name} on Windows", lineterm=""))
    print(f"{name}: {'DIFFER' if difference else 'equal'}, {len(linux)} lines")
    print("\n".join(difference), end="\n" if difference else "")
    return not difference


def main():
    linux, windows = Side(Path(sys.argv[1]).resolve(), False), Side(Path(sys.argv[2]).resolve(), True)
    equal = [compare("driver engine", linux.driver_texts(), windows.driver_texts())]
    parts = ("records", "rows", "list", "ends")
    on_linux, on_windows = linux.devices(), windows.devices()
    equal += [compare(part, on_linux[i], on_windows[i]) for i, part in enumerate(parts)]
    if on_linux[-1] or on_windows[-1]:
        print(f"records left: {on_linux[-1]} {on_windows[-1]}")
        equal.append(False)
    equal.append(compare("messages", linux.messages(), windows.messages()))
    print(f"{sum(equal)} of {len(equal)} parts equal")
    sys.exit(0 if all(equal) else 1)


if __name__ == "__main__":
    main()
