#!/usr/bin/env python3
"""rounds.py BUILD [ROUNDS]: makes fifty devices and ends them again, ROUNDS times (20: a thousand devices).

In every other round they are killed, and a listing finds that out. After each round there are no more files, sockets or
processes than after the first one. Exits with 1 when something grew.
"""
import json
import os
import pathlib
import shutil
import signal
import subprocess
import sys
import tempfile

from run import own_processes

DEVICES = 50


def main():
    build = pathlib.Path(sys.argv[1])
    rounds = int(sys.argv[2]) if len(sys.argv) > 2 else 20
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        sockets = folder / "sockets"
        sockets.mkdir()
        for program in ("plugboard", "usb-daemon.exe"):
            shutil.copy(build / "bin" / program, folder)
        lab = folder / "lab.json"
        lab.write_text(json.dumps({"devices": [{"type": "mouse" if n % 2 else "keyboard"} for n in range(DEVICES)]}))
        environment = os.environ | {"PLUGBOARD_HOST": "none", "PLUGBOARD_USER_DATA": str(folder / "user"),
                                    "TMPDIR": str(sockets)}

        def plugboard(*arguments):
            subprocess.run([folder / "plugboard", *map(str, arguments)], env=environment, check=True,
                           stdout=subprocess.DEVNULL, timeout=300)

        first = None
        for number in range(rounds):
            plugboard("--lab", lab)
            made = own_processes(folder)
            if len(made) != DEVICES:
                sys.exit(f"round {number}: {len(made)} devices")
            if number % 2:
                for process in made:
                    os.kill(process, signal.SIGKILL)
                plugboard("--list")
            else:
                plugboard("--delete-lab", lab)
                plugboard("--list")
            left = (len(list(folder.iterdir())), len(list(sockets.iterdir())), len(own_processes(folder)))
            first = first or left
            if left != first:
                sys.exit(f"round {number}: files, sockets and processes grew from {first} to {left}")
        print(f"{rounds * DEVICES} devices made and ended; files, sockets, processes afterwards: {first}")


if __name__ == "__main__":
    main()
