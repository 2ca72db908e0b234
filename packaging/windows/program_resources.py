"""Reads the version and the manifest out of a Windows program."""
import re
import struct
import subprocess
import sys
import xml.etree.ElementTree
from pathlib import Path

ICON, GROUP_ICON, VERSION, MANIFEST = 3, 14, 16, 24
SETTINGS = {"dpiAwareness": "PerMonitorV2, PerMonitor", "activeCodePage": "UTF-8"}
EXPECTED_ICONS = 6


def resources(file):
    """(type, data) of each resource."""
    data = Path(file).read_bytes()
    headers = struct.unpack_from("<I", data, 0x3C)[0]
    count, optional_size = struct.unpack_from("<H", data, headers + 6)[0], struct.unpack_from("<H", data, headers + 20)[0]
    for section in range(count):
        at = headers + 24 + optional_size + 40 * section
        name, address, size, start = data[at:at + 8], *struct.unpack_from("<III", data, at + 12)
        if name.rstrip(b"\0") == b".rsrc":
            yield from walk(data[start:start + size], address, 0, [])


def walk(section, address, at, path):
    names, ids = struct.unpack_from("<HH", section, at + 12)
    for entry in range(names + ids):
        key, value = struct.unpack_from("<II", section, at + 16 + 8 * entry)
        if value & 0x80000000:
            yield from walk(section, address, value & 0x7FFFFFFF, path + [key])
        else:
            where, size = struct.unpack_from("<II", section, value)
            yield path[0], section[where - address:where - address + size]


def check(file, version):
    """Ends the run unless the program tells Windows what it should."""
    found = {}
    for kind, data in resources(file):
        found.setdefault(kind, []).append(data)
    wrong = []
    if len(found.get(ICON, [])) != EXPECTED_ICONS or len(found.get(GROUP_ICON, [])) != 1:
        wrong.append("icon")

    info = found.get(VERSION, [b""])[0]
    fixed = info.find(struct.pack("<I", 0xFEEF04BD))  # each two of the four numbers stand in reverse
    numbers = struct.unpack_from("<HHHH", info, fixed + 8) if fixed >= 0 else (0, 0, 0, 0)
    if [numbers[i] for i in (1, 0, 3, 2)] != [int(number) for number in version.split(".")] + [0]:
        wrong.append(f"file version {numbers}")
    texts = dict(re.findall(r"(\w+)\0+([^\0]+)\0", info.decode("utf-16-le", "replace")))
    if (texts.get("ProductVersion"), texts.get("OriginalFilename")) != (version, Path(file).name):
        wrong.append(f"version texts {texts}")

    manifests = found.get(MANIFEST, [])
    if len(manifests) == 1:
        root = xml.etree.ElementTree.fromstring(manifests[0])
        elements = {element.tag.split("}")[1]: element for element in root.iter()}
        wrong += [f"manifest's {key}" for key, value in SETTINGS.items() if elements[key].text != value]
        if elements["requestedExecutionLevel"].get("level") != "asInvoker" or "supportedOS" not in elements:
            wrong.append("manifest")
    else:
        wrong.append(f"{len(manifests)} manifests")
    if wrong:
        sys.exit(f"{file} tells Windows something else: {', '.join(wrong)}")


if __name__ == "__main__":
    for program in sys.argv[2:]:
        check(program, sys.argv[1])
