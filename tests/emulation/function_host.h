// function_host.h: a test as the host of one function, with what becomes of its transfers as text.
#pragma once

#include "emulation/usb/device.h"

#include <QHash>
#include <QString>

#include <algorithm>
#include <array>
#include <vector>

class FunctionHost
{
public:
    explicit FunctionHost(usb::Function& function)
        : m_device(function, [this](const usb::Transfer& transfer) { m_results[transfer.request().id] = {transfer}; })
    {}

    /// "ok", "ok HEX", "stall" and the like; "pending" until it is completed. Setup bytes are in hexadecimal.
    QString control(const QString& setup, const QByteArray& data = {})
    {
        const QByteArray bytes = QByteArray::fromHex(setup.toLatin1());
        std::array<std::uint8_t, 8> packet{};
        std::copy_n(bytes.begin(), packet.size(), packet.begin());
        usb::Transfer::Request request;
        request.setup = usb::parseSetupPacket(packet);
        request.in = request.setup.isIn();
        request.length = request.setup.wLength;
        request.data = data;
        return result(submit(std::move(request)));
    }

    QString configure() { return control(QStringLiteral("0009010000000000")); }
    QString clearHalt(std::uint8_t address)
    {
        return control(QStringLiteral("02010000%1").arg(address, 2, 16, QLatin1Char('0')) + QStringLiteral("000000"));
    }

    /// The number of the transfer.
    std::uint32_t in(std::uint8_t address, std::uint32_t length)
    {
        usb::Transfer::Request request;
        request.endpoint = address & 0x0F;
        request.in = true;
        request.length = length;
        return submit(std::move(request));
    }

    std::uint32_t out(std::uint8_t address, const QByteArray& data)
    {
        usb::Transfer::Request request;
        request.endpoint = address;
        request.length = std::uint32_t(data.size());
        request.data = data;
        return submit(std::move(request));
    }

    /// Packets one behind the other.
    std::uint32_t isochronousOut(std::uint8_t address, const std::vector<QByteArray>& packets)
    {
        usb::Transfer::Request request;
        request.endpoint = address;
        for (const QByteArray& packet : packets) {
            request.packets.push_back({std::uint32_t(request.data.size()), std::uint32_t(packet.size())});
            request.data += packet;
        }
        request.length = std::uint32_t(request.data.size());
        return submit(std::move(request));
    }

    /// Packets with room for `room` bytes each.
    std::uint32_t isochronousIn(std::uint8_t address, int packets, std::uint32_t room)
    {
        usb::Transfer::Request request;
        request.endpoint = address & 0x0F;
        request.in = true;
        request.length = std::uint32_t(packets) * room;
        for (int packet = 0; packet < packets; ++packet)
            request.packets.push_back({std::uint32_t(packet) * room, room});
        return submit(std::move(request));
    }

    /// Bytes of each packet of an isochronous transfer.
    std::vector<std::uint32_t> packetSizes(std::uint32_t number) const
    {
        std::vector<std::uint32_t> sizes;
        for (const usb::IsochronousPacket& packet : m_results.value(number).packets)
            sizes.push_back(packet.actual);
        return sizes;
    }

    bool isDone(std::uint32_t number) const { return m_results.contains(number); }
    QByteArray data(std::uint32_t number) const { return m_results.value(number).data; }
    QString result(std::uint32_t number) const { return m_results.value(number).text(); }

    usb::Device& device() { return m_device; }

private:
    struct Result
    {
        Result() = default;
        Result(const usb::Transfer& transfer)
            : done(true)
            , status(transfer.status())
            , data(transfer.dataIn())
            , packets(transfer.packets())
        {}

        QString text() const
        {
            static constexpr std::array<const char*, 6> kNames{"ok",        "stall",     "babble",
                                                               "no answer", "cancelled", "gone"};
            const QString name = QLatin1String(done ? kNames.at(std::size_t(status)) : "pending");
            return data.isEmpty() ? name : name + QLatin1Char(' ') + QLatin1String(data.toHex());
        }

        bool done = false;
        usb::Status status = usb::Status::Ok;
        QByteArray data;
        std::vector<usb::IsochronousPacket> packets;
    };

    std::uint32_t submit(usb::Transfer::Request request)
    {
        request.id = ++m_last;
        m_device.submit(std::move(request));
        return m_last;
    }

    std::uint32_t m_last = 0;
    QHash<std::uint32_t, Result> m_results;
    usb::Device m_device;
};
