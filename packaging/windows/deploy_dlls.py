#!/usr/bin/env python3
"""Puts the DLLs and Qt plug-ins that Windows programs need beside them.

usage: deploy_dlls.py --sysroot FOLDER --to FOLDER [--plugins FOLDER] PROGRAM_OR_FOLDER...

The import tables are followed from the programs (every .exe of a folder and below, and our own libraries) and the plug-ins. A DLL that neither the
sysroot nor the compiler has must be one of the system's own, known by the names that Wine or Windows gives; any other
one is an error, since the program would not start elsewhere. Plug-ins go to --plugins (default: --to), a folder for
each kind.
"""
import argparse
import os
import re
import shutil
import subprocess
import sys
from pathlib import Path

CROSS = "x86_64-w64-mingw32"
PLUGINS = ["platforms/qwindows.dll", "styles/qwindowsvistastyle.dll", "imageformats/qico.dll"]
SYSTEM_FOLDERS = [Path("/usr/lib/x86_64-linux-gnu/wine/x86_64-windows"), Path(os.environ.get("SystemRoot", "")) / "System32"]


def compiler_folders():
    """Where the compiler keeps the DLLs of its runtime, and mingw those of zlib and its threads."""
    compiler = shutil.which(f"{CROSS}-g++-posix") or shutil.which(f"{CROSS}-g++") or "g++"
    folders = []
    for name in ("libstdc++-6.dll", "libwinpthread-1.dll", "zlib1.dll"):
        answer = subprocess.run([compiler, f"-print-file-name={name}"], capture_output=True, text=True, check=True)
        found = Path(answer.stdout.strip())
        if found.is_absolute():
            folders.append(found.parent)
    return folders


def imports(file):
    objdump = shutil.which(f"{CROSS}-objdump") or "objdump"
    listing = subprocess.run([objdump, "-p", file], capture_output=True, text=True, errors="replace", check=True).stdout
    return re.findall(r"^\s*DLL Name: (.+?)\s*$", listing, re.MULTILINE)


def by_name(folders):
    """File of each DLL, by its name in lower case; a folder that comes first wins."""
    files = {}
    for folder in folders:
        for file in sorted(folder.glob("*.[dD][lL][lL]")):
            files.setdefault(file.name.lower(), file)
    return files


def copy(source, target):
    target.parent.mkdir(parents=True, exist_ok=True)
    old = target.stat() if target.exists() else None
    new = source.stat()
    if old is None or (old.st_size, int(old.st_mtime)) != (new.st_size, int(new.st_mtime)):
        shutil.copy2(source, target)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--sysroot", type=Path, required=True)
    parser.add_argument("--to", type=Path, required=True)
    parser.add_argument("--plugins", type=Path)
    parser.add_argument("programs", type=Path, nargs="+")
    options = parser.parse_args()

    programs = []
    for program in options.programs:
        # A library of ours is loaded at run time by a program that does not import it.
        own = sorted([*program.rglob("*.exe"), *program.rglob("plugboard-*.dll")]) if program.is_dir() else [program]
        programs += own
    if not programs:
        sys.exit("No program to deploy for.")

    available = by_name(sorted(options.sysroot.glob("*/bin")) + compiler_folders())
    system = by_name(folder for folder in SYSTEM_FOLDERS if folder.is_dir())
    plugins = [options.sysroot / "qt" / "plugins" / plugin for plugin in PLUGINS]

    needed, missing, open_files = {}, {}, programs + plugins
    while open_files:
        file = open_files.pop()
        for name in imports(file):
            key = name.lower()
            if key in needed:
                continue
            if key in available:
                needed[key] = available[key]
                open_files.append(available[key])
            elif key not in system and not key.startswith("api-ms-win-"):
                missing[name] = file
    if missing:
        for name, user in sorted(missing.items()):
            print(f"{name}, which {user} imports, is nowhere to be found", file=sys.stderr)
        sys.exit(1)

    for file in needed.values():
        copy(file, options.to / file.name)
    for plugin in plugins:
        copy(plugin, (options.plugins or options.to) / plugin.parent.name / plugin.name)
    print(f"{len(programs)} programs, {len(needed)} DLLs, {len(plugins)} plug-ins in {options.to}")


if __name__ == "__main__":
    main()
