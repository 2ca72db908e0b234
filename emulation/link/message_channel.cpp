#include "emulation/link/message_channel.h"

#include <utility>

namespace {

constexpr std::size_t kTurn = 1024 * 1024;           // bytes read in one turn of the event loop
constexpr std::size_t kFullOutbox = 4 * 1024 * 1024; // bytes at which reading pauses
constexpr int kSmall = 2048;                         // bytes up to which pieces are joined

} // namespace

MessageChannel::MessageChannel(StreamSocket socket, usbip::MessageParser parser, Events events)
    : m_socket(std::move(socket))
    , m_parser(std::move(parser))
    , m_events(std::move(events))
    , m_reads(std::make_unique<QSocketNotifier>(m_socket.descriptor(), QSocketNotifier::Read))
    , m_writes(std::make_unique<QSocketNotifier>(m_socket.descriptor(), QSocketNotifier::Write))
{
    m_writes->setEnabled(false);
    QObject::connect(m_reads.get(), &QSocketNotifier::activated, m_reads.get(), [this] { readable(); });
    QObject::connect(m_writes.get(), &QSocketNotifier::activated, m_writes.get(), [this] { writeOrWait(); });
}

void MessageChannel::send(const usbip::Submit& message)
{
    append(usbip::headerOf(message), message.in ? QByteArray() : message.data, message.packets);
}

void MessageChannel::send(const usbip::Unlink& message)
{
    append(usbip::headerOf(message), {}, {});
}

void MessageChannel::send(const usbip::SubmitReply& message)
{
    append(usbip::headerOf(message), message.data, message.packets);
}

void MessageChannel::send(const usbip::UnlinkReply& message)
{
    append(usbip::headerOf(message), {}, {});
}

void MessageChannel::append(const usbip::Header& header, const QByteArray& data,
                            const std::vector<usbip::IsochronousPacket>& packets)
{
    if (hasEnded())
        return;
    append(header.data(), header.size());
    if (data.size() > kSmall) {
        m_outbox.push_back(data);
        m_outboxSize += static_cast<std::size_t>(data.size());
    } else {
        append(data.constData(), static_cast<std::size_t>(data.size()));
    }
    if (!packets.empty()) {
        const QByteArray table = usbip::packetTable(packets);
        append(table.constData(), static_cast<std::size_t>(table.size()));
    }
    if (!m_collecting)
        writeOrWait();
}

void MessageChannel::append(const char* bytes, std::size_t size)
{
    if (m_outbox.empty() || m_outbox.back().size() > kSmall) {
        m_outbox.emplace_back();
        m_outbox.back().reserve(2 * kSmall);
    }
    m_outbox.back().append(bytes, static_cast<int>(size));
    m_outboxSize += size;
}

void MessageChannel::readable()
{
    m_collecting = true;
    for (std::size_t size = 0; size < kTurn && m_fault.isEmpty() && m_outboxSize < kFullOutbox;) {
        std::size_t wanted = 0;
        for (const usbip::Room& room : m_parser.room())
            wanted += room.size;
        const Moved moved = m_socket.read(m_parser.room());
        m_isClosed = moved.outcome == Moved::Outcome::Ended;
        if (moved.outcome != Moved::Outcome::Some)
            break;
        size += moved.size;
        m_parser.advance(moved.size);
        takeMessages();
        if (moved.size < wanted)
            break; // the socket is empty
    }
    m_collecting = false;
    m_socket.awaitBytes(m_parser.missing());
    writeOrWait();
    if (m_isClosed || !m_fault.isEmpty())
        end();
}

void MessageChannel::takeMessages()
{
    while (auto message = m_parser.next()) {
        m_fault = m_events.received(std::move(*message));
        if (!m_fault.isEmpty())
            return;
    }
    m_fault = m_parser.fault();
}

void MessageChannel::writeOrWait()
{
    while (!m_outbox.empty()) {
        std::vector<ConstRoom> pieces;
        std::size_t skipped = m_sent;
        for (auto piece = m_outbox.begin(); piece != m_outbox.end() && pieces.size() < StreamSocket::kMostPieces;
             ++piece)
            pieces.push_back({piece->constData() + std::exchange(skipped, 0), static_cast<std::size_t>(piece->size())});
        pieces.front().size -= m_sent;
        Moved moved = m_socket.write(pieces);
        if (moved.outcome == Moved::Outcome::Ended) {
            // What the other end sent before it went is still to be read; that is where its end is noticed.
            m_outbox.clear();
            m_outboxSize = m_sent = 0;
            break;
        }
        if (moved.outcome == Moved::Outcome::Later)
            break;
        m_outboxSize -= moved.size;
        m_sent += moved.size;
        while (!m_outbox.empty() && m_sent >= static_cast<std::size_t>(m_outbox.front().size())) {
            m_sent -= static_cast<std::size_t>(m_outbox.front().size());
            m_outbox.pop_front();
        }
    }
    const bool isFull = m_outboxSize >= kFullOutbox;
    if (m_writes->isEnabled() == m_outbox.empty())
        m_writes->setEnabled(!m_outbox.empty());
    if (m_reads->isEnabled() == isFull)
        m_reads->setEnabled(!isFull);
}

void MessageChannel::end()
{
    for (auto* notifier : {&m_reads, &m_writes}) {
        (*notifier)->setEnabled(false);
        notifier->release()->deleteLater(); // it may be what called
    }
    const auto ended = std::move(m_events.ended);
    const QString fault = m_fault;
    ended(fault);
}
