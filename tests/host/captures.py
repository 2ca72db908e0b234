"""captures.py: captures of USB traffic (link type 220, the kernel's usbmon records) as tshark reads them."""
import collections
import json
import struct
import subprocess

# The record before the data (Documentation/usb/usbmon.rst).
HEAD = struct.Struct("<Q B B B B H c c q i i I I 8s i i I I")
NAMES = ("id", "type", "transfer", "endpoint", "device", "bus", "setup_flag", "data_flag", "seconds", "microseconds",
         "status", "length", "captured", "setup", "interval", "start_frame", "flags", "descriptors")
NO_SETUP = bytes(8)

Urb = collections.namedtuple("Urb", (*NAMES, "data"))


def read_capture(file):
    """The records of a pcapng file."""
    output = subprocess.run(["tshark", "-r", str(file), "-T", "json", "-x", "-J", "frame"], check=True,
                            stdout=subprocess.PIPE, stderr=subprocess.DEVNULL).stdout
    # Members of the same name follow each other, so pairs are looked at.
    records = []
    for packet in json.loads(output, object_pairs_hook=list):
        layers = dict(dict(packet)["_source"])["layers"]
        raw = bytes.fromhex(dict(layers)["frame_raw"][0])
        head = HEAD.unpack_from(raw)
        records.append(Urb(*head, raw[HEAD.size:]))
    return records


def by_endpoint(records):
    """The records by (endpoint with its direction, "S" or "C"), each in its order: whether a host submits the next
    transfer of one endpoint before the last one of another is done looks different from both ends. With each stands
    whether its submission is in the capture."""
    groups = collections.defaultdict(list)
    submitted = set()
    for record in records:
        if chr(record.type) == "S":
            submitted.add(record.id)
        groups[(record.endpoint, chr(record.type))].append((record, record.id in submitted))
    return groups
