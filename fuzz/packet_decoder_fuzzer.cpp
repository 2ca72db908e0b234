// links: plugboard::capture_file
// packet_decoder_fuzzer.cpp: messages of a device process, from their bytes to every text that is made of them.
#include "capture/channel/capture_client.h"
#include "capture/decode/packet_columns.h"
#include "capture/decode/packet_details.h"
#include "capture/file/urb_record.h"

#include <QtEndian>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace {

int countRows(const DetailRow& row)
{
    int count = 1;
    for (const DetailRow& child : row.children)
        count += countRows(child);
    return count;
}

void check(const UsbIPPacketInfo& packet)
{
    if (packetRowText(packet).count(QLatin1Char('\t')) < PacketColumnCount - 1 || countRows(packetDetails(packet)) < 12)
        std::abort();
    TransferNumbers numbers;
    const RawRecord record = urb_record::encode(packet);
    if (record.fullSize < static_cast<std::uint32_t>(record.bytes.size()) || !urb_record::decode(record, numbers))
        std::abort();
}

void silence(QtMsgType, const QMessageLogContext&, const QString&)
{}

} // namespace

/// The first byte is the type of the message, the rest its payload.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const QtMessageHandler s_previous = qInstallMessageHandler(silence);
    Q_UNUSED(s_previous)
    if (size == 0)
        return 0;
    const QByteArray payload(reinterpret_cast<const char*>(data) + 1, static_cast<int>(size) - 1);
    QByteArray frame(8, '\0');
    frame[0] = static_cast<char>(data[0]);
    qToLittleEndian(static_cast<quint32>(payload.size()), frame.data() + 4);

    UsbIPCaptureClient client;
    QObject::connect(&client, &UsbIPCaptureClient::packetCaptured, &client,
                     [](std::uint32_t, const UsbIPPacketInfo& packet) { check(packet); });
    client.receive(frame + payload);
    return 0;
}
