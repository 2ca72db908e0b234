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
    "devices": set(),
    "media": {"driver"},
    "capture": {"ui"},
    "fido2": {"devices", "ui"},
    "dialogs": {"media", "ui"},
    "app": {"dialogs", "fido2", "capture", "devices", "driver", "runtime", "ui"},
}
# What needs no widgets says so here: these may not include one. Folder: file name patterns.
WITHOUT_WIDGETS = {
    "runtime": ["*"],
    "devices": ["*"],
    "driver": ["*"],
    "media": ["*"],
    "capture": ["capture_client.*", "capture_command.*", "capture_types.*", "detail_row.*", "device_config_rows.*",
                "frame_reader.*", "hex_text.*", "packet_decoder.*", "packet_details.*", "packet_parser.*",
                "pcapng_file.*", "protocol_*", "urb_record.*"],
    "dialogs": ["*_settings.*", "setting_rules.*", "field_patterns.*", "network_source.*"],
    "fido2": ["credentials_file.*", "fido2_client.*", "fido2_channels.*", "fido2_message.*", "confirmation_texts.*",
              "confirmation_result.*", "json_file.*"],
}
WITHOUT_QT = ["driver"]
INCLUDE = re.compile(r'^\s*#\s*include\s+(["<])([^">]+)[">]', re.M)
WIDGET_HEADERS = {"QWidget", "QDialog", "QApplication", "QMessageBox", "QTreeWidget", "QTableWidget", "QLabel"}


def faults(root):
    for folder, allowed in ARROWS.items():
        for path in sorted((root / folder).rglob("*")):
            if path.suffix not in (".h", ".cpp"):
                continue
            for kind, target in INCLUDE.findall(path.read_text(encoding="utf-8")):
                name = path.relative_to(root)
                other = target.split("/")[0]
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
