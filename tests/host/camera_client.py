"""camera_client.py: takes the pictures of a camera over USB/IP without a guest, as fast as they come."""
import struct
import time

from usbip_client import UsbipClient

PACKETS = 32 # of an isochronous transfer


class CameraClient(UsbipClient):
    def __init__(self, port, iso_bytes=0):
        """`iso_bytes`: of a packet; 0 takes pictures in bulk."""
        super().__init__(port, iso_bytes)
        self.stamps = []
        agreed = self._control("A181000101001A00")
        self._control("2101000101001A00", agreed)
        self._control("2101000201001A00", self._control("A181000101001A00"))
        self.largest = struct.unpack_from("<I", agreed, 22)[0]
        if iso_bytes:
            self._control(f"010B{self._alternate():02x}0001000000")

    def _alternate(self):
        """The smallest setting that has room for what was agreed on; high speed."""
        return next(number for number, size in enumerate((0, 128, 256, 512, 1024, 2048, 3072)) if size >= self.largest)

    def watch(self, seconds, waiting=8):
        """Yields each picture that came whole; `stamps` says when each did."""
        current, payload, end = [], b"", time.monotonic() + seconds
        length = self.iso_bytes * PACKETS if self.iso_bytes else 16384
        for _ in range(waiting):
            self._submit(1, length, packets=PACKETS if self.iso_bytes else 0)
        while time.monotonic() < end:
            _, parts = self._reply()
            self._submit(1, length, packets=PACKETS if self.iso_bytes else 0)
            for part in parts:
                payload += part
                if not self.iso_bytes and len(part) == length and len(payload) < self.largest:
                    continue
                current.append(payload[12:])
                if payload[1] & 2:
                    self.stamps.append(time.monotonic())
                    yield b"".join(current)
                    current = []
                payload = b""

    def rate(self):
        """Of the pictures that came, from the first to the last."""
        return (len(self.stamps) - 1) / (self.stamps[-1] - self.stamps[0])
