#!/usr/bin/env python3
"""Fails on an include that goes against the arrows between the folders, which docs/architecture.md tells in a table."""
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
# | `folder/` | owns | built on | `folder` `folder` |
ROW = re.compile(r"^\| `([\w/]+)/` \|[^|]*\| (widgets|Qt|C\+\+) \|([^|]*)\|$", re.M)
INCLUDE = re.compile(r'^\s*#\s*include\s+(["<])([^">]+)[">]', re.M)
WIDGET_HEADERS = {"QWidget", "QDialog", "QApplication", "QMessageBox", "QTreeWidget", "QTableWidget", "QLabel"}
# Folders with code that others do not include.
WITHOUT_ROW = {"tests", "fuzz", "benchmarks", "packaging"}


def rows():
    """Folder: what it is built on, and the folders that it may include."""
    page = (ROOT / "docs" / "architecture.md").read_text(encoding="utf-8")
    found = {folder: (base, re.findall(r"`([\w/]+)`", includes) or includes.split()) for folder, base, includes in ROW.findall(page)}
    if not found:
        sys.exit("docs/architecture.md has no table of folders.")
    return found


def is_below(path, folder):
    return path == folder or path.startswith(folder + "/")


def faults(table):
    names = {name for folder in table for name in folder.split("/")[:1]}
    for folder, (base, allowed) in table.items():
        if not (ROOT / folder).is_dir():
            yield f"docs/architecture.md has a row for {folder}/, which is not there"
        for other in allowed:
            if other != "all" and not (ROOT / other).is_dir():
                yield f"docs/architecture.md lets {folder}/ include {other}, which is not there"
    for path in sorted(path for name in names for path in (ROOT / name).rglob("*") if path.suffix in (".h", ".cpp")):
        name = path.relative_to(ROOT).as_posix()
        folder = path.parent.relative_to(ROOT).as_posix()
        if folder not in table:
            yield f"{name}: docs/architecture.md has no row for {folder}/"
            continue
        base, allowed = table[folder]
        for kind, target in INCLUDE.findall(path.read_text(encoding="utf-8")):
            other = target.rpartition("/")[0]
            if kind == '"' and other.split("/")[0] in names | WITHOUT_ROW and allowed != ["all"]:
                if not any(is_below(other, one) for one in [folder, *allowed]):
                    yield f"{name} includes {target}: {folder}/ may use {', '.join(allowed) or 'nothing of ours'}"
            if target in WIDGET_HEADERS and base != "widgets":
                yield f"{name} includes {target}: it needs no widgets"
            if kind == "<" and base == "C++" and re.match(r"Q[A-Z]", target):
                yield f"{name} includes {target}: {folder}/ needs no Qt"


def main():
    table = rows()
    found = list(faults(table))
    for path in ROOT.iterdir():
        if path.is_dir() and path.name not in WITHOUT_ROW | {"build"} and not path.name.startswith("."):
            if not any(folder.split("/")[0] == path.name for folder in table) and any(path.rglob("*.cpp")):
                found.append(f"docs/architecture.md has no row for {path.name}/")
    for fault in found:
        print(fault)
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
