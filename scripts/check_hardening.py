#!/usr/bin/env python3
"""Checks how programs that ship are hardened against faults of memory.

usage: check_hardening.py [--commands COMPILE_COMMANDS.json] FILE_OR_FOLDER...

Looks at every ELF program, Windows program and DLL that it is given or finds below a folder, and prints a table of them. With
--commands it checks as well that each source of the project is compiled with the flags that leave no trace in a program.
Exit code 1 when something is missing.
"""
import argparse
import json
import re
import subprocess
import sys
from pathlib import Path

FLAGS = ["-fstack-protector-strong", "-fcf-protection=full", "-D_FORTIFY_SOURCE=2"]
LINUX_FLAGS = ["-fstack-clash-protection"]
# IMAGE_DLLCHARACTERISTICS_*: HIGH_ENTROPY_VA, DYNAMIC_BASE, NX_COMPAT.
PE_BITS = {"random addresses": 0x0040, "64-bit addresses": 0x0020, "no execution of data": 0x0100}


def output(*command):
    return subprocess.run(command, capture_output=True, text=True, errors="replace", check=True).stdout


def elf(file):
    segments, dynamic = output("readelf", "-lW", file), output("readelf", "-dW", file)
    symbols = output("readelf", "--dyn-syms", "-W", file)
    stack = re.search(r"GNU_STACK.*", segments)
    return {
        "random addresses": "Elf file type is DYN" in segments,
        "relocations read-only": "GNU_RELRO" in segments,
        "bound at start": bool(re.search(r"FLAGS_1.*\bNOW\b", dynamic)),
        "no execution of data": bool(stack) and " RWE " not in stack.group(),
        "stack protector": "__stack_chk_fail" in symbols,
        "checked calls": bool(re.search(r"__\w+_chk\b", symbols.replace("__stack_chk_fail", ""))),
        "no search path": "RPATH" not in dynamic and "RUNPATH" not in dynamic,
    }


def pe(file):
    head = output("x86_64-w64-mingw32-objdump", "-p", file)
    bits = int(re.search(r"^DllCharacteristics\s+([0-9a-f]+)", head, re.MULTILINE).group(1), 16)
    found = {name: bool(bits & bit) for name, bit in PE_BITS.items()}
    # Without relocations a program is loaded where it was linked, whatever its bits say.
    found["relocations"] = not re.search(r"Entry 5 0+ 0+ Base Relocation", head)
    return found


def programs(places):
    for place in places:
        for file in sorted(place.rglob("*")) if place.is_dir() else [place]:
            if file.is_file() and not file.is_symlink():
                magic = file.open("rb").read(4)
                if magic == b"\x7fELF":
                    yield file, elf(file)
                elif magic[:2] == b"MZ":
                    yield file, pe(file)


def badly_compiled(database):
    """Sources of the project, not of the tests and what Qt's tools made, without one of the flags."""
    for entry in json.loads(database.read_text()):
        words = entry["command"].split()
        wanted = FLAGS if "mingw32" in entry["command"] else FLAGS + LINUX_FLAGS
        missing = [flag for flag in wanted if flag not in words]
        if missing and "-c" in words:
            yield entry["file"], missing


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--commands", type=Path)
    parser.add_argument("places", type=Path, nargs="+")
    options = parser.parse_args()

    missing = looked_at = 0
    for file, found in programs(options.places):
        looked_at += 1
        lacks = [name for name, there in found.items() if not there]
        missing += bool(lacks)
        print(f"{file.name}: {'lacks ' + ', '.join(lacks) if lacks else ', '.join(found)}")
    if not looked_at:
        sys.exit("There is no program to check.")
    for source, flags in badly_compiled(options.commands) if options.commands else []:
        missing += 1
        print(f"{source}: compiled without {' '.join(flags)}")
    print(f"{looked_at} programs and libraries, {missing} without something")
    return 1 if missing else 0


if __name__ == "__main__":
    sys.exit(main())
