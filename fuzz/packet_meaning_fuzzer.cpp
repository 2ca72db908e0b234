// links: plugboard::capture_decode
// packet_meaning_fuzzer.cpp: transfers of one device, whose descriptors say how later ones are decoded.
#include "capture/decode/packet_details.h"

#include <cstdint>
#include <cstdlib>

namespace {

/// Rows never point beyond the bytes that they were read from.
void check(const DetailRow& row, const UsbIPPacketInfo& packet)
{
    const int size = row.bytes.part == ByteSpan::Part::Setup    ? packet.setupData.size()
                     : row.bytes.part == ByteSpan::Part::Data   ? packet.data.size()
                     : row.bytes.part == ByteSpan::Part::Header ? packet.usbipHeader.size()
                                                                : 0;
    if (row.bytes.offset < 0 || row.bytes.size < 0 || row.bytes.offset + row.bytes.size > size)
        std::abort();
    for (const DetailRow& child : row.children)
        check(child, packet);
}

} // namespace

/// Each transfer: a byte with type and direction, one with the endpoint, eight of setup for control, one with the
/// length of the data, the data.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QByteArray input(reinterpret_cast<const char*>(data), static_cast<int>(size));
    auto store = std::make_shared<PacketStore>();
    for (int place = 0; place + 3 <= input.size();) {
        UsbIPPacketInfo request;
        request.isRequest = true;
        request.command = 1;
        request.sequenceNumber = static_cast<std::uint32_t>(place);
        request.transferType = static_cast<std::uint8_t>(input.at(place)) & 3;
        request.direction = static_cast<std::uint8_t>(input.at(place)) >> 7;
        request.endpoint = static_cast<std::uint8_t>(input.at(place + 1)) & 15;
        place += 2;
        if (request.transferType == ControlTransfer) {
            request.setupData = input.mid(place, 8);
            place += 8;
        }
        const int length = place < input.size() ? static_cast<std::uint8_t>(input.at(place)) : 0;
        UsbIPPacketInfo reply = request;
        reply.isRequest = false;
        reply.command = 3;
        reply.setupData.clear();
        (request.direction != 0 ? reply : request).data = input.mid(place + 1, length);
        place += 1 + length;
        store->append(request);
        store->append(reply);
    }
    SeenDevices seen(store);
    for (std::size_t number = 0; number < store->size(); ++number) {
        const UsbIPPacketInfo packet = store->at(number);
        check(packetDetails(packet, seen.contextOf(number)), packet);
    }
    return 0;
}
