// sample_traffic.h: frames of the capture channel as devices of four kinds send them, without devices.
#pragma once

#include "emulation/channels/capture_packet.h"
#include "tests/support/usbip_bytes.h"

#include <QStringList>

#include <deque>

namespace tests {

/// An endless exchange: enumeration, then what a device of that kind does, over and over. The same every time.
class SampleTraffic
{
public:
    /// One kind for each transfer type: "keyboard", "udisk", "camera"; and "serial", which has failures and unlinks.
    static QStringList kinds()
    {
        return {QStringLiteral("keyboard"), QStringLiteral("udisk"), QStringLiteral("camera"),
                QStringLiteral("serial")};
    }

    SampleTraffic(QString kind, std::uint32_t deviceId) : m_kind(std::move(kind)), m_deviceId(deviceId) {}

    /// The next message, a submission or a reply, as a frame.
    QByteArray nextFrame(std::int64_t timestamp)
    {
        m_timestamp = timestamp;
        if (m_frames.empty())
            m_round++ == 0 ? enumerate() : use();
        const QByteArray frame = m_frames.front();
        m_frames.pop_front();
        return frame;
    }

private:
    void enumerate()
    {
        const QByteArray device = QByteArray::fromHex("12010002000000406b1d0200000101020301");
        const QByteArray configuration = QByteArray::fromHex("09022200010100a032090400000103010100"
                                                             "092111010001223f0007058103080004");
        control("8006000100001200", device);
        control("8006000600000a00", {}, usbip::status::kStall);
        control("8006000200000900", configuration.left(9));
        control("800600020000ff00", configuration);
        control("800602030904ff00", QByteArray::fromHex("0e034b0065007900620064003100"));
        control("0009010000000000", {});
        control("a1fe000000000100", QByteArray(1, '\0'));
    }

    void use()
    {
        if (m_kind == QLatin1String("keyboard")) {
            transfer(TappedType::Interrupt, 1, true, 8, QByteArray::fromHex("0000040000000000"));
            control("2109000200000100", QByteArray(1, '\2'));
        } else if (m_kind == QLatin1String("udisk")) {
            QByteArray command = QByteArray::fromHex("55534243010000000010000080000a2800000000080000080000000000"
                                                     "0000");
            command[4] = static_cast<char>(m_round);
            transfer(TappedType::Bulk, 2, false, 31, command);
            transfer(TappedType::Bulk, 1, true, 4096, QByteArray(4096, static_cast<char>(m_round)));
            transfer(TappedType::Bulk, 1, true, 13, QByteArray::fromHex("55534253010000000000000000"));
        } else if (m_kind == QLatin1String("camera")) {
            transfer(TappedType::Isochronous, 1, true, 3072, QByteArray(2800, static_cast<char>(m_round)));
            transfer(TappedType::Isochronous, 2, false, 192, QByteArray(192, static_cast<char>(m_round)));
        } else {
            transfer(TappedType::Bulk, 2, false, 64, QByteArray(64, 'x'));
            transfer(TappedType::Bulk, 1, true, 512, {}, usbip::status::kStall);
            unlinked(1, 512);
        }
    }

    void control(const char* setup, const QByteArray& data, std::int32_t status = 0)
    {
        usbip::Submit submit = controlSubmit(setup);
        exchange(TappedType::Control, submit, data, status);
    }

    void transfer(TappedType type, std::uint8_t endpoint, bool in, std::uint32_t length, const QByteArray& data,
                  std::int32_t status = 0)
    {
        usbip::Submit submit;
        submit.endpoint = endpoint;
        submit.in = in;
        submit.length = length;
        submit.packetCount = type == TappedType::Isochronous ? 1 : 0;
        submit.interval = type == TappedType::Interrupt ? 4 : 0;
        exchange(type, submit, data, status);
    }

    void unlinked(std::uint8_t endpoint, std::uint32_t length)
    {
        usbip::Submit submit;
        submit.endpoint = endpoint;
        submit.in = true;
        submit.length = length;
        request(TappedType::Bulk, submit, {});
        const usbip::Unlink unlink{m_sequence + 1, m_deviceId, m_sequence};
        ++m_sequence;
        add({usbip::headerOf(unlink), usbip::Command::Unlink, m_deviceId, m_sequence, endpoint, true, TappedType::Bulk,
             0, QByteArray(), nullptr});
        const usbip::UnlinkReply reply{m_sequence, usbip::status::kConnectionReset};
        add({usbip::headerOf(reply), usbip::Command::UnlinkReply, m_deviceId, m_sequence, endpoint, true,
             TappedType::Bulk, 0, QByteArray(), nullptr});
    }

    void request(TappedType type, usbip::Submit& submit, const QByteArray& data)
    {
        submit.sequence = ++m_sequence;
        submit.deviceId = m_deviceId;
        add({usbip::headerOf(submit), usbip::Command::Submit, m_deviceId, submit.sequence, submit.endpoint, submit.in,
             type, submit.length, submit.in ? QByteArray() : data,
             type == TappedType::Control ? &submit.setup : nullptr});
    }

    void exchange(TappedType type, usbip::Submit& submit, const QByteArray& data, std::int32_t status)
    {
        request(type, submit, data);
        usbip::SubmitReply reply;
        reply.sequence = submit.sequence;
        reply.status = status;
        reply.actualLength = status == 0 ? static_cast<std::uint32_t>(data.size()) : 0;
        reply.packetCount = submit.packetCount;
        add({usbip::headerOf(reply), usbip::Command::SubmitReply, m_deviceId, submit.sequence, submit.endpoint,
             submit.in, type, reply.actualLength, submit.in && status == 0 ? data : QByteArray(), nullptr});
    }

    void add(const TappedMessage& message) { m_frames.push_back(packetFrame(message, m_timestamp)); }

    QString m_kind;
    std::uint32_t m_deviceId;
    std::int64_t m_timestamp = 0;
    std::uint32_t m_sequence = 0;
    int m_round = 0;
    std::deque<QByteArray> m_frames;
};

} // namespace tests
