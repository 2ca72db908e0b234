// message_channel.h: USB/IP messages over a socket, both ways, from the event loop.
#pragma once

#include "emulation/link/stream_socket.h"

#include <QObject>
#include <QSocketNotifier>

#include <deque>
#include <functional>
#include <memory>

/// Reads as much as is there, at most 1 MiB a turn, and writes what a turn has to say in one call. While more than 4
/// MiB wait for a reader at the other end nothing is read from it. Lives on the event loop's thread.
class MessageChannel
{
public:
    struct Events
    {
        /// Returns why the connection must end; empty to go on. Must not destroy the channel.
        std::function<QString(usbip::Message&&)> received;
        /// The connection is at its end; with a fault, what the other end did wrong, it is closed from here. Called
        /// once; may destroy the channel.
        std::function<void(const QString& fault)> ended;
    };

    MessageChannel(StreamSocket socket, usbip::MessageParser parser, Events events);
    MessageChannel(const MessageChannel&) = delete;
    MessageChannel& operator=(const MessageChannel&) = delete;

    /// Sent at once, or at the end of the turn when it answers what was just received.
    void send(const usbip::Submit& message);
    void send(const usbip::Unlink& message);
    void send(const usbip::SubmitReply& message);
    void send(const usbip::UnlinkReply& message);

private:
    void readable();
    void takeMessages();
    void append(const usbip::Header& header, const QByteArray& data,
                const std::vector<usbip::IsochronousPacket>& packets);
    void append(const char* bytes, std::size_t size);
    void writeOrWait();
    void end();
    bool hasEnded() const { return !m_reads; }

    StreamSocket m_socket;
    usbip::MessageParser m_parser;
    Events m_events;
    std::unique_ptr<QSocketNotifier> m_reads; // none once the connection has ended
    std::unique_ptr<QSocketNotifier> m_writes;
    std::deque<QByteArray> m_outbox;
    std::size_t m_outboxSize = 0; // bytes
    std::size_t m_sent = 0;       // bytes of the first piece
    bool m_collecting = false;    // what is sent waits for the end of the turn
    bool m_isClosed = false;      // by the other end
    QString m_fault;              // of what was received
};
