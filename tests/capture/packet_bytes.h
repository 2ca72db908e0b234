// packet_bytes.h: payloads and frames of the capture channel, written down byte by byte for tests.
#pragma once

#include <QByteArray>
#include <QtEndian>

namespace tests {

/// Overwrites the bytes at `offset` with `value`, little-endian.
template<typename T>
void put(QByteArray& bytes, int offset, T value)
{
    char raw[sizeof(T)];
    qToLittleEndian(value, raw);
    bytes.replace(offset, int(sizeof raw), raw, int(sizeof raw));
}

/// Fields of a packet payload; lengths are those of the parts unless a test lies about them.
struct PacketBytes
{
    qint64 timestamp = 1700000000123;
    quint32 deviceId = 7;
    quint32 sequence = 1;
    bool request = true;
    bool unlink = false;
    quint8 endpoint = 0;
    quint8 direction = 1;
    quint8 command = 1;
    quint32 length = 0;
    quint8 type = 0;
    QByteArray header;
    QByteArray data;
    QByteArray setup;
    int headerLength = -1;
    int dataLength = -1;

    QByteArray payload() const
    {
        QByteArray bytes(40, '\xEE'); // reserved bytes hold anything
        put(bytes, 0, timestamp);
        put(bytes, 8, deviceId);
        put(bytes, 12, sequence);
        bytes[16] = request ? 2 : 0;
        bytes[17] = unlink ? 3 : 0;
        bytes[18] = char(endpoint);
        bytes[19] = char(direction);
        bytes[20] = char(command);
        put(bytes, 24, length);
        bytes[28] = char(type);
        put(bytes, 30, quint16(headerLength < 0 ? header.size() : headerLength));
        put(bytes, 32, quint16(dataLength < 0 ? data.size() : dataLength));
        bytes[34] = setup.isEmpty() ? 0 : 5;
        return bytes + header + data + setup;
    }
};

inline QByteArray frame(int type, const QByteArray& payload)
{
    QByteArray bytes(8, '\xCC'); // reserved bytes hold anything
    bytes[0] = char(type);
    put(bytes, 4, quint32(payload.size()));
    return bytes + payload;
}

} // namespace tests
