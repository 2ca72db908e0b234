#include "emulation/link/usbip_codec.h"

#include <QtEndian>

#include <initializer_list>

namespace usbip {

namespace {

constexpr int kPacketSize = 16; // bytes of one isochronous packet in the table
constexpr int kPathSize = 256;

std::uint32_t wordAt(const char* header, int index)
{
    return qFromBigEndian<quint32>(header + 4 * index);
}

Header makeHeader(std::initializer_list<std::uint32_t> words)
{
    Header header{};
    char* at = header.data();
    for (const std::uint32_t word : words) {
        qToBigEndian(word, at);
        at += 4;
    }
    return header;
}

std::uint32_t number(Command command)
{
    return static_cast<std::uint32_t>(command);
}

QByteArray fixedText(const QString& text, int size)
{
    QByteArray bytes = text.toUtf8().left(size - 1);
    return bytes.append(QByteArray(size - bytes.size(), '\0'));
}

QByteArray summaryBytes(const DeviceSummary& device)
{
    QByteArray bytes = fixedText(device.path, kPathSize) + fixedText(device.busId, kBusIdSize);
    const auto append = [&bytes](auto value) {
        const auto swapped = qToBigEndian(value);
        bytes.append(reinterpret_cast<const char*>(&swapped), sizeof swapped);
    };
    append(device.busNumber);
    append(device.deviceNumber);
    append(static_cast<std::uint32_t>(device.speed));
    append(device.idVendor);
    append(device.idProduct);
    append(device.bcdDevice);
    for (const std::uint8_t value : {device.bDeviceClass, device.bDeviceSubClass, device.bDeviceProtocol,
                                     device.bConfigurationValue, device.bNumConfigurations, device.bNumInterfaces})
        append(value);
    return bytes;
}

} // namespace

Header headerOf(const Submit& m)
{
    Header header = makeHeader({number(Command::Submit), m.sequence, m.deviceId, m.in ? 1U : 0U, m.endpoint, m.flags,
                                m.length, m.startFrame, static_cast<std::uint32_t>(m.packetCount), m.interval});
    std::copy(m.setup.begin(), m.setup.end(), header.begin() + 40);
    return header;
}

Header headerOf(const Unlink& m)
{
    return makeHeader({number(Command::Unlink), m.sequence, m.deviceId, 0, 0, m.victim});
}

Header headerOf(const SubmitReply& m)
{
    return makeHeader({number(Command::SubmitReply), m.sequence, 0, 0, 0, static_cast<std::uint32_t>(m.status),
                       m.actualLength, m.startFrame, static_cast<std::uint32_t>(m.packetCount), m.errorCount});
}

Header headerOf(const UnlinkReply& m)
{
    return makeHeader({number(Command::UnlinkReply), m.sequence, 0, 0, 0, static_cast<std::uint32_t>(m.status)});
}

QByteArray packetTable(const std::vector<IsochronousPacket>& packets)
{
    QByteArray table(static_cast<int>(packets.size()) * kPacketSize, Qt::Uninitialized);
    char* at = table.data();
    for (const IsochronousPacket& packet : packets)
        for (const std::uint32_t word :
             {packet.offset, packet.length, packet.actual, static_cast<std::uint32_t>(packet.status)}) {
            qToBigEndian(word, at);
            at += 4;
        }
    return table;
}

std::optional<Parsed> parseRequest(const char* header, QString& fault)
{
    const std::uint32_t command = wordAt(header, 0);
    if (command == number(Command::Unlink))
        return Parsed{Unlink{wordAt(header, 1), wordAt(header, 2), wordAt(header, 5)}};
    if (command != number(Command::Submit)) {
        fault = QStringLiteral("the host sent the unknown command %1").arg(command);
        return {};
    }
    const std::uint32_t direction = wordAt(header, 3);
    const std::uint32_t endpoint = wordAt(header, 4);
    Submit submit;
    submit.sequence = wordAt(header, 1);
    submit.deviceId = wordAt(header, 2);
    submit.in = direction == 1;
    submit.endpoint = static_cast<std::uint8_t>(endpoint);
    submit.flags = wordAt(header, 5);
    submit.length = wordAt(header, 6);
    submit.startFrame = wordAt(header, 7);
    submit.packetCount = static_cast<std::int32_t>(wordAt(header, 8));
    submit.interval = wordAt(header, 9);
    std::copy(header + 40, header + 48, submit.setup.begin());
    if (direction > 1 || endpoint > 15)
        fault = QStringLiteral("the host submitted to endpoint %1, direction %2").arg(endpoint).arg(direction);
    else if (submit.length > kLargestTransfer)
        fault = QStringLiteral("the host submitted a transfer of %1 bytes").arg(submit.length);
    else if (submit.packetCount < -1 || submit.packetCount > kMostPackets)
        fault = QStringLiteral("the host submitted a transfer of %1 packets").arg(wordAt(header, 8));
    if (!fault.isEmpty())
        return {};
    const std::uint32_t dataSize = submit.in ? 0 : submit.length;
    const auto packets = static_cast<std::uint32_t>(std::max(submit.packetCount, 0));
    return Parsed{std::move(submit), dataSize, packets};
}

std::optional<Parsed> parseReply(const char* header, const AskedLookup& asked, QString& fault)
{
    const std::uint32_t command = wordAt(header, 0);
    const std::uint32_t sequence = wordAt(header, 1);
    const auto status = static_cast<std::int32_t>(wordAt(header, 5));
    if (command == number(Command::UnlinkReply))
        return Parsed{UnlinkReply{sequence, status}};
    if (command != number(Command::SubmitReply)) {
        fault = QStringLiteral("the server sent the unknown command %1").arg(command);
        return {};
    }
    const std::optional<Asked> request = asked(sequence);
    SubmitReply reply;
    reply.sequence = sequence;
    reply.status = status;
    reply.actualLength = wordAt(header, 6);
    reply.startFrame = wordAt(header, 7);
    reply.packetCount = static_cast<std::int32_t>(wordAt(header, 8));
    reply.errorCount = wordAt(header, 9);
    if (!request)
        fault = QStringLiteral("the server answered %1, which was not asked").arg(sequence);
    else if (reply.actualLength > request->length)
        fault = QStringLiteral("the server answered %1 bytes with %2").arg(request->length).arg(reply.actualLength);
    else if (request->packets > 0 && static_cast<std::uint32_t>(reply.packetCount) != request->packets)
        fault = QStringLiteral("the server answered %1 packets with %2").arg(request->packets).arg(reply.packetCount);
    if (!fault.isEmpty())
        return {};
    const std::uint32_t dataSize = request->in ? reply.actualLength : 0;
    return Parsed{std::move(reply), dataSize, request->packets};
}

Message finishMessage(Parsed parsed, QByteArray body)
{
    std::vector<IsochronousPacket> packets;
    packets.reserve(parsed.packetCount);
    const char* table = body.constData() + parsed.dataSize;
    for (std::uint32_t i = 0; i < parsed.packetCount; ++i, table += kPacketSize)
        packets.push_back(
            {wordAt(table, 0), wordAt(table, 1), wordAt(table, 2), static_cast<std::int32_t>(wordAt(table, 3))});
    body.truncate(static_cast<int>(parsed.dataSize));
    if (auto* submit = std::get_if<Submit>(&parsed.message)) {
        submit->data = std::move(body);
        submit->packets = std::move(packets);
    } else if (auto* reply = std::get_if<SubmitReply>(&parsed.message)) {
        reply->data = std::move(body);
        reply->packets = std::move(packets);
    }
    return std::move(parsed.message);
}

QByteArray operationBytes(Operation operation, OperationStatus status)
{
    QByteArray bytes(kOperationSize, Qt::Uninitialized);
    qToBigEndian(kVersion, bytes.data());
    qToBigEndian(static_cast<std::uint16_t>(operation), bytes.data() + 2);
    qToBigEndian(static_cast<std::uint32_t>(status), bytes.data() + 4);
    return bytes;
}

QByteArray listRequest()
{
    return operationBytes(Operation::ListRequest);
}

QByteArray listReply(const std::vector<DeviceSummary>& devices)
{
    QByteArray count(4, Qt::Uninitialized);
    qToBigEndian(static_cast<std::uint32_t>(devices.size()), count.data());
    QByteArray bytes = operationBytes(Operation::ListReply) + count;
    for (const DeviceSummary& device : devices) {
        bytes += summaryBytes(device);
        for (const InterfaceSummary& interface : device.interfaces)
            for (const std::uint8_t value : {interface.bInterfaceClass, interface.bInterfaceSubClass,
                                             interface.bInterfaceProtocol, std::uint8_t(0)})
                bytes.append(static_cast<char>(value));
    }
    return bytes;
}

QByteArray importRequest(const QString& busId)
{
    return operationBytes(Operation::ImportRequest) + fixedText(busId, kBusIdSize);
}

QByteArray importReply(const DeviceSummary& device)
{
    return operationBytes(Operation::ImportReply) + summaryBytes(device);
}

OperationHeader parseOperation(const char* bytes)
{
    return {qFromBigEndian<quint16>(bytes), static_cast<Operation>(qFromBigEndian<quint16>(bytes + 2)),
            static_cast<OperationStatus>(qFromBigEndian<quint32>(bytes + 4))};
}

QString parseBusId(const char* bytes)
{
    return QString::fromUtf8(bytes, static_cast<int>(qstrnlen(bytes, kBusIdSize)));
}

DeviceSummary parseSummary(const char* bytes)
{
    DeviceSummary device;
    device.path = QString::fromUtf8(bytes, static_cast<int>(qstrnlen(bytes, kPathSize)));
    device.busId = parseBusId(bytes + kPathSize);
    const char* at = bytes + kPathSize + kBusIdSize;
    device.busNumber = wordAt(at, 0);
    device.deviceNumber = wordAt(at, 1);
    device.speed = static_cast<Speed>(wordAt(at, 2));
    device.idVendor = qFromBigEndian<quint16>(at + 12);
    device.idProduct = qFromBigEndian<quint16>(at + 14);
    device.bcdDevice = qFromBigEndian<quint16>(at + 16);
    const auto byteAt = [at](int offset) { return static_cast<std::uint8_t>(at[offset]); };
    device.bDeviceClass = byteAt(18);
    device.bDeviceSubClass = byteAt(19);
    device.bDeviceProtocol = byteAt(20);
    device.bConfigurationValue = byteAt(21);
    device.bNumConfigurations = byteAt(22);
    device.bNumInterfaces = byteAt(23);
    return device;
}

std::optional<std::vector<DeviceSummary>> parseList(const QByteArray& bytes, QString& fault)
{
    if (bytes.size() < 4)
        return {};
    const std::uint32_t count = wordAt(bytes.constData(), 0);
    std::vector<DeviceSummary> devices;
    if (count > kMostDevices) {
        fault = QStringLiteral("the server tells of %1 devices").arg(count);
        return devices;
    }
    int offset = 4;
    while (devices.size() < count) {
        if (bytes.size() - offset < kSummarySize)
            return {};
        DeviceSummary device = parseSummary(bytes.constData() + offset);
        offset += kSummarySize;
        if (bytes.size() - offset < 4 * device.bNumInterfaces)
            return {};
        for (int i = 0; i < device.bNumInterfaces; ++i, offset += 4)
            device.interfaces.push_back({static_cast<std::uint8_t>(bytes.at(offset)),
                                         static_cast<std::uint8_t>(bytes.at(offset + 1)),
                                         static_cast<std::uint8_t>(bytes.at(offset + 2))});
        devices.push_back(std::move(device));
    }
    return devices;
}

} // namespace usbip
