"""usbip_client.py: a host over USB/IP without a guest, which is never what a rate is limited by."""
import socket
import struct

HEADER = struct.Struct(">5I")
SUBMIT = struct.Struct(">IIIiI8s")
RETURN = struct.Struct(">5IiIIiI8x")
PACKET = struct.Struct(">IIIi")
IN = 1


class UsbipClient:
    """The device at a loopback port, configured."""

    def __init__(self, port, iso_bytes=0):
        """`iso_bytes`: of a packet of the endpoint that is used; 0 uses it in bulk."""
        self.stream = socket.create_connection(("127.0.0.1", port))
        self.stream.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        self.stream.sendall(struct.pack(">HHI32s", 0x0111, 0x8003, 0, b"1-1"))
        status = struct.unpack(">HHI", self._read(8))[2]
        if status:
            raise AssertionError(f"The device is not given away: {status}")
        bus, number = struct.unpack_from(">II", self._read(312), 288)
        self.device = bus << 16 | number
        self.iso_bytes, self.sequence = iso_bytes, 0
        self._control("0009010000000000")

    def _read(self, size):
        data = bytearray()
        while len(data) < size:
            part = self.stream.recv(size - len(data))
            if not part:
                raise AssertionError("The device has gone.")
            data += part
        return bytes(data)

    def _submit(self, endpoint, length, setup=bytes(8), data=b"", is_in=True, packets=0):
        self.sequence += 1
        table = b"".join(PACKET.pack(n * (length // packets), length // packets, 0, 0) for n in range(packets))
        self.stream.sendall(HEADER.pack(1, self.sequence, self.device, IN if is_in else 0, endpoint)
                            + SUBMIT.pack(0, length, 0, packets or -1, 0, setup) + data + table)

    def _reply(self, is_in=True):
        """The status and the payloads of the next answer."""
        _, _, _, _, _, status, length, _, packets, _ = RETURN.unpack(self._read(48))
        data = self._read(length) if is_in and length else b""
        if packets <= 0 or not self.iso_bytes:
            return status, [data]
        table, at, parts = self._read(16 * packets), 0, []
        for number in range(packets):
            size = PACKET.unpack_from(table, 16 * number)[2]
            parts.append(data[at:at + size])
            at += size
        return status, [part for part in parts if part]

    def _control(self, setup, data=b""):
        setup = bytes.fromhex(setup)
        is_in = bool(setup[0] & 0x80)
        self._submit(0, struct.unpack_from("<H", setup, 6)[0], setup, data, is_in)
        status, (answer,) = self._reply_of_control(is_in)
        if status:
            raise AssertionError(f"{setup.hex()}: {status}")
        return answer

    def _reply_of_control(self, is_in):
        _, _, _, _, _, status, length, _, _, _ = RETURN.unpack(self._read(48))
        return status, [self._read(length) if is_in and length else b""]

    def close(self):
        self.stream.close()
