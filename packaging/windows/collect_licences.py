#!/usr/bin/env python3
"""Puts the licence texts of everything in a release into its folder "licences".

usage: collect_licences.py STAGE [--sysroot FOLDER]

licences.txt says which library comes from where; a DLL that it does not name is an error, and so is a text that is missing
here. The folder's README.txt lists the components; it tells versions where the sysroot's libraries say what they
were built from.
"""
import argparse
import re
import shutil
import sys
from pathlib import Path

COMMON = Path("/usr/share/common-licenses")
REFERENCE = re.compile(r"/usr/share/common-licenses/([A-Za-z0-9.-]*[A-Za-z0-9])")
HEAD = """Plugboard is under the licence in LICENSE.txt. It uses the libraries below, which keep their own licences. They are built
from Debian's source packages, unchanged; packaging/windows/build_dependencies.sh in Plugboard's sources fetches and
builds them. Each is a DLL of its own, or is named so, and may be replaced by another build of it.

"""


def components():
    for line in (Path(__file__).parent / "licences.txt").read_text(encoding="utf-8").splitlines():
        if line and not line.startswith("#"):
            name, patterns, packages = (part.strip() for part in line.split("|"))
            yield name, [] if patterns == "-" else patterns.split(), packages.split()


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("stage", type=Path)
    parser.add_argument("--sysroot", type=Path, required=True)
    options = parser.parse_args()
    target = options.stage / "licences"
    target.mkdir(exist_ok=True)

    unnamed = {file.relative_to(options.stage) for file in options.stage.rglob("*.dll")
               if not file.name.startswith("plugboard-")} # our own
    lines, common = [], set()
    for name, patterns, packages in components():
        files = {file for pattern in patterns for file in options.stage.glob(pattern)}
        unnamed -= {file.relative_to(options.stage) for file in files}
        built_from = options.sysroot / name.lower() / "built-from"
        version = " " + built_from.read_text().split()[0] if built_from.exists() else ""
        where = " ".join(sorted(file.name for file in files)) or "inside other files"
        lines.append(f"{name}{version}: {where}\n")
        for package in packages:
            copyright = Path("/usr/share/doc") / package / "copyright"
            text = copyright.read_bytes()
            (target / f"{name}.txt").write_bytes(text)
            common.update(REFERENCE.findall(text.decode("utf-8", "replace")))
    if unnamed:
        sys.exit("licences.txt names no licence for " + ", ".join(map(str, sorted(unnamed))))
    for name in sorted(common):
        shutil.copyfile(COMMON / name, target / f"{name}.txt")
    (target / "README.txt").write_text(HEAD + "".join(lines), encoding="utf-8")
    print(f"{len(lines)} components, {len(common)} common licences")


if __name__ == "__main__":
    main()
