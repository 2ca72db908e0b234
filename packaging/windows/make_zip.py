#!/usr/bin/env python3
"""Packs a folder so that equal contents give equal bytes: sorted entries, one time (SOURCE_DATE_EPOCH), equal rights.

usage: make_zip.py FOLDER FILE.zip
"""
import os
import sys
import time
import zipfile
from pathlib import Path


def main():
    folder, target = map(Path, sys.argv[1:])
    moment = time.gmtime(int(os.environ["SOURCE_DATE_EPOCH"]))[:6]
    with zipfile.ZipFile(target, "w", zipfile.ZIP_DEFLATED, compresslevel=9) as archive:
        for file in sorted(folder.rglob("*")):
            if file.is_file():
                entry = zipfile.ZipInfo((Path(folder.name) / file.relative_to(folder)).as_posix(), moment)
                entry.compress_type = zipfile.ZIP_DEFLATED
                entry.create_system = 3
                entry.external_attr = 0o100644 << 16
                archive.writestr(entry, file.read_bytes())


if __name__ == "__main__":
    main()
