// links: plugboard::emulation_link
// What a host and a server may send: messages in pieces of any size, lists, and requests to a device. What comes out of
// the parser is within its bounds, and serialised again it is what went in.
#include "emulation/link/local_device.h"
#include "emulation/link/message_parser.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace {

void require(bool holds)
{
    if (!holds)
        std::abort();
}

/// A device with endpoints of every type, which answers each transfer at once with as much as was asked for.
class Everything final : public usb::Function
{
public:
    Everything()
    {
        const auto add = [](usb::AlternateSetting& setting, std::uint8_t address, usb::TransferType type) {
            usb::Endpoint endpoint;
            endpoint.bEndpointAddress = address;
            endpoint.type = type;
            endpoint.maxPacketSize = 512;
            endpoint.bInterval = type == usb::TransferType::Bulk ? 0 : 1;
            setting.endpoints.push_back(endpoint);
        };
        usb::AlternateSetting first;
        add(first, 0x81, usb::TransferType::Bulk);
        add(first, 0x02, usb::TransferType::Bulk);
        add(first, 0x83, usb::TransferType::Interrupt);
        usb::AlternateSetting second = first;
        second.bAlternateSetting = 1;
        add(second, 0x84, usb::TransferType::Isochronous);
        m_descriptors.configuration.interfaces = {{0, {first, second}}};
        m_descriptors.product = QStringLiteral("Everything");
    }

    const usb::DeviceDescriptors& descriptors() const override { return m_descriptors; }
    void controlRequest(const usb::TransferPointer& transfer) override { answer(transfer); }
    void submit(const usb::TransferPointer& transfer) override { answer(transfer); }
    void cancelled(const usb::Transfer& transfer) override { require(transfer.isCompleted()); }

private:
    void answer(const usb::TransferPointer& transfer)
    {
        const usb::Transfer::Request& request = transfer->request();
        if (request.id % 4 == 3) {
            m_kept = transfer; // for an unlink, or for ever
        } else if (!request.packets.empty()) {
            std::vector<usb::IsochronousPacket> packets = request.packets;
            std::uint32_t size = 0;
            for (usb::IsochronousPacket& packet : packets)
                size += packet.actual = std::min<std::uint32_t>(packet.length, 64);
            transfer->completeIsochronous(packets, request.in ? QByteArray(int(size), 'x') : QByteArray());
        } else if (request.in) {
            transfer->completeIn(QByteArray(int(std::min<std::uint32_t>(request.length, 4096)), 'x'));
        } else {
            transfer->complete(request.id % 4 == 2 ? usb::Status::Stall : usb::Status::Ok);
        }
    }

    usb::DeviceDescriptors m_descriptors;
    usb::TransferPointer m_kept;
};

struct Host final : DeviceHost
{
    void reply(usbip::SubmitReply reply) override
    {
        require(reply.data.isEmpty() || std::uint32_t(reply.data.size()) == reply.actualLength);
    }
    void reply(usbip::UnlinkReply reply) override
    {
        require(reply.status == usbip::status::kOk || reply.status == usbip::status::kConnectionReset);
    }
};

void checkBounds(const usbip::Submit& submit)
{
    require(submit.endpoint < 16 && submit.length <= usbip::kLargestTransfer);
    require(submit.packets.size() <= std::size_t(usbip::kMostPackets));
    require(std::uint32_t(submit.data.size()) == (submit.in ? 0 : submit.length));
}

/// Feeds the parser in pieces whose sizes follow from `step`, and hands each message to `take`.
template<typename Take>
void parse(usbip::MessageParser& parser, const char* data, std::size_t size, std::size_t step, const Take& take)
{
    while (size > 0 && parser.fault().isEmpty()) {
        std::size_t written = 0;
        for (const usbip::Room& room : parser.room()) {
            const std::size_t piece = std::min({room.size, size, step - written});
            if (piece == 0)
                continue;
            std::memcpy(room.data, data, piece);
            data += piece;
            size -= piece;
            written += piece;
        }
        parser.advance(written);
        while (auto message = parser.next())
            take(std::move(*message));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    if (size < 2)
        return 0;
    const std::size_t step = 1 + bytes[0] * 17;
    const auto* data = reinterpret_cast<const char*>(bytes) + 1;
    --size;

    static Everything function;
    LocalDevice device(function);
    Host host;
    device.attach(host);
    std::map<std::uint32_t, int> seen; // a host uses each number once
    usbip::MessageParser requests;
    parse(requests, data, size, step, [&](usbip::Message&& message) {
        if (auto* submit = std::get_if<usbip::Submit>(&message)) {
            checkBounds(*submit);
            if (seen[submit->sequence]++ == 0)
                device.submit(std::move(*submit));
        } else {
            device.unlink(std::get<usbip::Unlink>(message));
        }
    });
    device.detach();

    usbip::MessageParser replies([](std::uint32_t sequence) -> std::optional<usbip::Asked> {
        return sequence % 3 == 0 ? std::nullopt : std::optional(usbip::Asked{sequence % 2 == 0, 4096, sequence % 5});
    });
    parse(replies, data, size, step, [](usbip::Message&& message) {
        if (const auto* reply = std::get_if<usbip::SubmitReply>(&message))
            require(reply->data.size() <= 4096);
    });

    QString fault;
    usbip::parseList(QByteArray::fromRawData(data, int(size)), fault);
    if (size >= usbip::kHeaderSize)
        if (const auto parsed = usbip::parseRequest(data, fault))
            if (const auto* submit = std::get_if<usbip::Submit>(&parsed->message)) {
                const usbip::Header header = usbip::headerOf(*submit);
                require(std::memcmp(header.data() + 4, data + 4, 8) == 0);
                require(std::memcmp(header.data() + 20, data + 20, 28) == 0);
            }
    return 0;
}
