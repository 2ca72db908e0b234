#include "emulation/link/message_parser.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace usbip {

namespace {

/// Small, so that the data of large transfers are seldom read into it and copied from it.
constexpr std::size_t kInboxSize = 4096;

} // namespace

MessageParser::MessageParser() : m_inbox(kInboxSize)
{}

MessageParser::MessageParser(AskedLookup asked) : m_asked(std::move(asked)), m_inbox(kInboxSize)
{}

std::array<Room, 2> MessageParser::room()
{
    if (m_begin == m_end) {
        m_begin = m_end = 0;
    } else if (m_inbox.size() - m_begin < kHeaderSize) {
        std::memmove(m_inbox.data(), m_inbox.data() + m_begin, m_end - m_begin);
        m_end -= m_begin;
        m_begin = 0;
    }
    const Room inbox{m_inbox.data() + m_end, m_inbox.size() - m_end};
    if (!m_parsed)
        return {inbox, Room{}};
    const std::size_t wanted = m_parsed->bodySize() - m_bodyFilled;
    return {Room{m_body.data() + m_bodyFilled, wanted}, inbox};
}

void MessageParser::advance(std::size_t size)
{
    if (m_parsed) {
        const std::size_t body = std::min(size, m_parsed->bodySize() - m_bodyFilled);
        m_bodyFilled += body;
        size -= body;
    }
    m_end += size;
}

void MessageParser::takeFromInbox()
{
    const std::size_t size = std::min(m_end - m_begin, m_parsed->bodySize() - m_bodyFilled);
    std::memcpy(m_body.data() + m_bodyFilled, m_inbox.data() + m_begin, size);
    m_bodyFilled += size;
    m_begin += size;
}

std::optional<Message> MessageParser::next()
{
    if (!m_fault.isEmpty())
        return {};
    if (!m_parsed) {
        if (m_end - m_begin < kHeaderSize)
            return {};
        const char* header = m_inbox.data() + m_begin;
        m_parsed = m_asked ? parseReply(header, m_asked, m_fault) : parseRequest(header, m_fault);
        if (!m_parsed)
            return {};
        m_begin += kHeaderSize;
        m_body = QByteArray(static_cast<int>(m_parsed->bodySize()), Qt::Uninitialized);
        m_bodyFilled = 0;
        if (m_parsed->bodySize() > 0)
            takeFromInbox();
    }
    if (m_bodyFilled < m_parsed->bodySize())
        return {};
    Parsed parsed = std::move(*m_parsed);
    m_parsed.reset();
    return finishMessage(std::move(parsed), std::exchange(m_body, {}));
}

} // namespace usbip
