#include "tools/tour/device_host.h"

#include "tools/tour/tour.h"

#include <QtEndian>

namespace {

quint16 portOf(const DeviceRecord& record)
{
    const int port = record.host.value(QStringLiteral("port")).toInt();
    Tour::require(port > 0, QStringLiteral("the device has no server on this machine"));
    return static_cast<quint16>(port);
}

/// READ(10) of one sector.
QByteArray readBlock(std::uint32_t sector)
{
    QByteArray block(10, '\0');
    block[0] = 0x28;
    qToBigEndian(sector, block.data() + 2);
    block[8] = 1;
    return block;
}

const QByteArray kTestUnitReady(6, '\0');
constexpr std::uint32_t kSectorSize = 512;
constexpr std::uint32_t kStatusSize = 13;

} // namespace

DeviceHost::DeviceHost(const DeviceRecord& record) : m_host(portOf(record))
{
    Tour::require(m_host.import(record.host.value(QStringLiteral("busId")).toString(QStringLiteral("1-1"))) ==
                      usbip::OperationStatus::Ok,
                  QStringLiteral("the device cannot be imported"));
}

void DeviceHost::enumerate()
{
    m_host.control("8006000100001200");
    m_host.control("8006000200000900");
    m_host.control("800600020000ff00");
    for (const char* string : {"800600030000ff00", "800601030904ff00", "800602030904ff00"})
        m_host.control(string);
    m_host.control("0009010000000000");
}

void DeviceHost::readDisk(int commands)
{
    command(kTestUnitReady, 0);
    for (int sector = 0; sector < commands; ++sector)
        command(readBlock(static_cast<std::uint32_t>(sector)), kSectorSize);
}

/// A command that brings `length` bytes, in a command block wrapper (Bulk-Only Transport 1.0, 5.1).
void DeviceHost::command(const QByteArray& block, std::uint32_t length)
{
    QByteArray wrapper("USBC" + QByteArray(27, '\0'));
    qToLittleEndian(++m_tag, wrapper.data() + 4);
    qToLittleEndian(length, wrapper.data() + 8);
    wrapper[12] = '\x80';
    wrapper[14] = static_cast<char>(block.size());
    wrapper.replace(15, block.size(), block);
    usbip::Submit out;
    out.endpoint = 2;
    out.data = wrapper;
    out.length = static_cast<std::uint32_t>(wrapper.size());
    m_host.submit(out);
    answer();
    for (const std::uint32_t part : {length, kStatusSize}) {
        if (part == 0)
            continue;
        ask(part);
        answer();
    }
}

void DeviceHost::ask(std::uint32_t length)
{
    usbip::Submit in;
    in.endpoint = 1;
    in.in = true;
    in.length = length;
    m_host.submit(in);
}

usbip::SubmitReply DeviceHost::answer()
{
    const usbip::Message message = m_host.next();
    const auto* reply = std::get_if<usbip::SubmitReply>(&message);
    Tour::require(reply, QStringLiteral("the device did not answer its host"));
    return *reply;
}
