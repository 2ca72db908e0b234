// message_parser.h: USB/IP messages out of a stream of bytes that comes in pieces of any size.
#pragma once

#include "emulation/link/usbip_codec.h"

#include <QString>

#include <optional>
#include <vector>

namespace usbip {

/// A piece of memory that bytes are read into.
struct Room
{
    char* data = nullptr;
    std::size_t size = 0;
};

/// Bytes are written straight to where they stay: the body of a large transfer is not copied. Memory is bounded by one
/// largest transfer. Use: write into room(), say advanced(), take next() until there is none; after a fault nothing
/// comes any more.
class MessageParser
{
public:
    /// Parses what a host sends.
    MessageParser();
    /// Parses what a device sends.
    explicit MessageParser(AskedLookup asked);

    /// Where the next bytes belong, in this order. At least one byte fits.
    std::array<Room, 2> room();

    /// The first `size` bytes of room() were written.
    void advance(std::size_t size);

    std::optional<Message> next();

    /// Bytes that are known to be missing of the message at hand.
    std::size_t missing() const { return m_parsed ? m_parsed->bodySize() - m_bodyFilled : 0; }

    /// Why nothing more can be read; empty while all is well.
    const QString& fault() const { return m_fault; }

private:
    void takeFromInbox();

    AskedLookup m_asked; // empty: requests are parsed
    std::vector<char> m_inbox;
    std::size_t m_begin = 0; // of the bytes in the inbox
    std::size_t m_end = 0;
    std::optional<Parsed> m_parsed; // the message whose body is being read
    QByteArray m_body;
    std::size_t m_bodyFilled = 0;
    QString m_fault;
};

} // namespace usbip
