#!/usr/bin/env python3
"""Fails on an include that goes against the arrows between the folders."""
import pathlib
import re
import sys

# Folder: the folders of ours that it may include, besides itself.
ARROWS = {
    "runtime": set(),
    "ui": set(),
    "driver": set(),
    "devices": {"runtime"},
    "media": {"runtime"},
    "capture/channel": {"runtime"},
    "capture/decode": {"capture/channel"},
    "capture/file": {"capture/channel", "capture/decode", "runtime"},
    "capture/view": {"capture/channel", "capture/decode", "capture/file", "ui"},
    "fido2/file": {"runtime"},
    "fido2/channel": {"fido2/file", "devices", "runtime"},
    "fido2/dialogs": {"fido2/file", "fido2/channel", "devices", "runtime", "ui"},
    "dialogs": {"devices", "media", "runtime", "ui"},
    "emulation": {"devices", "fido2/file", "runtime"},
    # The devices that play media. Only the module is linked with FFmpeg; the rest takes types of media/.
    "emulation/player": {"emulation", "media"},
    "emulation/video": {"emulation", "emulation/player", "devices", "media"},
    "emulation/microphone": {"emulation", "emulation/player", "devices", "media"},
    "emulation/process": {"emulation", "emulation/microphone", "emulation/player", "emulation/video", "devices", "media", "runtime"},
    "emulation/module": {"emulation/process", "emulation/video", "media"},
    "app": {"dialogs", "fido2/file", "fido2/channel", "fido2/dialogs", "capture/view", "devices", "driver", "runtime", "ui"},
}
# What needs no widgets says so here: these may not include one. Folder: file name patterns.
WITHOUT_WIDGETS = {
    "runtime": ["*"],
    "devices": ["*"],
    "driver": ["*"],
    "emulation": ["*"],
    "media": ["*"],
    "capture/channel": ["*"],
    "capture/decode": ["*"],
    "capture/file": ["*"],
    "dialogs": ["*_settings.*", "setting_rules.*", "field_patterns.*", "network_source.*"],
    "fido2/file": ["*"],
    "fido2/channel": ["*"],
    "fido2/dialogs": ["confirmation_texts.*", "confirmation_result.*", "credential_texts.*"],
}
WITHOUT_QT = ["driver"]
INCLUDE = re.compile(r'^\s*#\s*include\s+(["<])([^">]+)[">]', re.M)
WIDGET_HEADERS = {"QWidget", "QDialog", "QApplication", "QMessageBox", "QTreeWidget", "QTableWidget", "QLabel"}


def folder_of(target):
    """The folder of the table that an included file of ours lies in, or the first part of its path."""
    parts = target.split("/")
    return next((folder for folder in ("/".join(parts[:2]), parts[0]) if folder in ARROWS), parts[0])


def faults(root):
    for folder, allowed in ARROWS.items():
        for path in sorted((root / folder).rglob("*")):
            if path.suffix not in (".h", ".cpp") or folder_of(path.relative_to(root).as_posix()) != folder:
                continue
            for kind, target in INCLUDE.findall(path.read_text(encoding="utf-8")):
                name = path.relative_to(root)
                other = folder_of(target)
                if kind == '"' and other != folder and other not in allowed:
                    yield f"{name} includes {target}: {folder}/ may use {', '.join(sorted(allowed)) or 'nothing of ours'}"
                if target in WIDGET_HEADERS and any(path.match(p) for p in WITHOUT_WIDGETS.get(folder, [])):
                    yield f"{name} includes {target}: it needs no widgets"
                if kind == "<" and folder in WITHOUT_QT and re.match(r"Q[A-Z]", target):
                    yield f"{name} includes {target}: {folder}/ needs no Qt"


def main():
    root = pathlib.Path(__file__).resolve().parent.parent
    found = list(faults(root))
    for fault in found:
        print(fault)
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
