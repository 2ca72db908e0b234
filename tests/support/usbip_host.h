// usbip_host.h: a host for tests that imports a device over USB/IP and asks things of it, blocking.
#pragma once

#include "tests/support/usbip_bytes.h"

#include <QElapsedTimer>
#include <QTcpSocket>
#include <QtTest>

#include <map>

namespace tests {

/// Runs the event loop of its thread while it waits, so the device may live on the same thread.
class UsbIpHost
{
public:
    explicit UsbIpHost(quint16 port) { m_socket.connectToHost(QHostAddress::LocalHost, port); }

    void write(const QByteArray& bytes) { m_socket.write(bytes); }

    /// The next `size` bytes; fewer when the connection ends or nothing comes for long.
    QByteArray read(int size)
    {
        QElapsedTimer clock;
        clock.start();
        while (m_socket.bytesAvailable() < size && clock.elapsed() < kPatience &&
               (m_socket.state() != QAbstractSocket::UnconnectedState))
            QTest::qWait(1);
        return m_socket.read(size);
    }

    /// The connection is at its end, and nothing is left to read.
    bool isEnded()
    {
        QElapsedTimer clock;
        clock.start();
        while (m_socket.state() != QAbstractSocket::UnconnectedState && clock.elapsed() < kPatience)
            QTest::qWait(1);
        return m_socket.state() == QAbstractSocket::UnconnectedState && m_socket.bytesAvailable() == 0;
    }

    /// The status of an import request; the summary of the device when it is Ok.
    usbip::OperationStatus import(const QString& busId, usbip::DeviceSummary* summary = nullptr)
    {
        write(usbip::importRequest(busId));
        const QByteArray header = read(usbip::kOperationSize);
        if (header.size() < usbip::kOperationSize)
            return usbip::OperationStatus::Failed;
        const usbip::OperationStatus status = usbip::parseOperation(header.constData()).status;
        if (status != usbip::OperationStatus::Ok)
            return status;
        const QByteArray bytes = read(usbip::kSummarySize);
        const usbip::DeviceSummary device = usbip::parseSummary(bytes.constData());
        m_deviceId = device.deviceId();
        if (summary)
            *summary = device;
        return status;
    }

    /// Sends a submission and returns its sequence.
    std::uint32_t submit(usbip::Submit submit)
    {
        submit.sequence = ++m_sequence;
        submit.deviceId = m_deviceId;
        m_asked[submit.sequence] = {submit.in, submit.length, static_cast<std::uint32_t>(submit.packets.size())};
        write(bytesOf(submit));
        return submit.sequence;
    }

    std::uint32_t unlink(std::uint32_t victim)
    {
        write(bytesOf(usbip::Unlink{++m_sequence, m_deviceId, victim}));
        return m_sequence;
    }

    /// Sends the unlink of a submission, and then the submission.
    void unlinkEarly(usbip::Submit submit)
    {
        submit.sequence = ++m_sequence;
        submit.deviceId = m_deviceId;
        unlink(submit.sequence);
        write(bytesOf(submit));
    }

    /// The next answer, whatever it answers; an UnlinkReply of sequence 0 when none comes.
    usbip::Message next()
    {
        const QByteArray header = read(int(usbip::kHeaderSize));
        QString fault;
        const auto lookup = [this](std::uint32_t sequence) -> std::optional<usbip::Asked> {
            const auto found = m_asked.find(sequence);
            return found == m_asked.end() ? std::nullopt : std::optional(found->second);
        };
        if (header.size() < int(usbip::kHeaderSize))
            return usbip::UnlinkReply{};
        auto parsed = usbip::parseReply(header.constData(), lookup, fault);
        if (!parsed)
            return usbip::UnlinkReply{};
        const QByteArray body = read(int(parsed->bodySize()));
        return usbip::finishMessage(std::move(*parsed), body);
    }

    /// A control transfer from setup bytes in hexadecimal; its answer.
    usbip::SubmitReply control(const char* setup, const QByteArray& data = {})
    {
        usbip::Submit request = controlSubmit(setup);
        request.data = data;
        submit(request);
        const usbip::Message answer = next();
        const auto* reply = std::get_if<usbip::SubmitReply>(&answer);
        return reply ? *reply : usbip::SubmitReply{};
    }

    QTcpSocket& socket() { return m_socket; }

private:
    static constexpr int kPatience = 20000; // ms

    QTcpSocket m_socket;
    std::uint32_t m_deviceId = 0;
    std::uint32_t m_sequence = 0;
    std::map<std::uint32_t, usbip::Asked> m_asked;
};

} // namespace tests
