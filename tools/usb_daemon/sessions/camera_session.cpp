#include "tools/usb_daemon/sessions/sessions.h"

#include <QtEndian>

namespace {

constexpr std::uint8_t kIsochronous = 1;
constexpr int kPacketSize = 1020; // bytes of an isochronous packet, payload header included
constexpr int kHeaderSize = 12;   // payload header with presentation time and source clock
constexpr std::uint32_t kPacketsOfFrame = 24;

/// Probe and commit controls of Video Class 1.0: format 1, frame 1, 333333 x 100 ns.
QByteArray streamControl()
{
    return QByteArray::fromHex("010001011516050000000000000000000000 00600900 fc030000");
}

class CameraSession final : public DeviceSession
{
public:
    using DeviceSession::DeviceSession;

private:
    void setUp() override
    {
        urbs().control(QByteArray::fromHex("a186000200020100"), QByteArray::fromHex("03")); // brightness
        urbs().control(QByteArray::fromHex("a181000200020200"), QByteArray::fromHex("8000"));
        urbs().control(QByteArray::fromHex("2101000101001a00"), streamControl()); // probe
        for (const char* request : {"a181000101001a00", "a182000101001a00", "a183000101001a00", "a187000101001a00"})
            urbs().control(QByteArray::fromHex(request), streamControl());
        urbs().control(QByteArray::fromHex("2101000201001a00"), streamControl()); // commit
        urbs().control(QByteArray::fromHex("010b010001000000"));
    }

    void use(std::uint32_t round) override
    {
        const std::uint32_t frame = round / kPacketsOfFrame;
        const std::uint32_t part = round % kPacketsOfFrame;
        QByteArray packet(kHeaderSize, '\0');
        packet[0] = kHeaderSize;
        packet[1] = static_cast<char>(0x8C | (frame & 1) | (part == kPacketsOfFrame - 1 ? 2U : 0U));
        qToLittleEndian<std::uint32_t>(frame * 1600000, packet.data() + 2); // 48 MHz at 30 frames/s
        qToLittleEndian<std::uint32_t>(round * 48000, packet.data() + 6);
        qToLittleEndian<std::uint16_t>(round & 0x7FF, packet.data() + 10);
        urbs().in(kIsochronous, 1, kPacketSize, packet + pictureBytes(part));
    }

    static QByteArray pictureBytes(std::uint32_t part)
    {
        QByteArray bytes;
        if (part == 0)
            bytes = QByteArray::fromHex("ffd8ffe000104a46494600010100000100010000");
        std::uint32_t state = part * 2654435761U + 1;
        while (bytes.size() < kPacketSize - kHeaderSize) {
            state = state * 1664525U + 1013904223U;
            bytes.append(static_cast<char>(state >> 25)); // below 0x80: no marker comes about by chance
        }
        if (part == kPacketsOfFrame - 1)
            bytes = bytes.left(400) + QByteArray::fromHex("ffd9");
        return bytes;
    }
};

} // namespace

std::unique_ptr<DeviceSession> makeCameraSession(std::uint32_t deviceId)
{
    const DeviceIdentity identity{
        QByteArray::fromHex("12010002ef0201406b1d0100000101020001"),
        QByteArray::fromHex("0902a3000201 0080fa 080b00020e030000 090400000 00e010000 0d2401000133 00006cdc020101"
                            "122402010102000000000000000003000000 0b240502010000020300 00 092403030101000200"
                            "090401000 00e020000 0e2401013d00810003000000 0100 0b24060101010100000000"
                            "1e240701008002e0010000ca080000ca08006009001516050001 15160500 06240d010104"
                            "09040101010e020000 07058105fc0301"),
        {QStringLiteral("Plugboard"), QStringLiteral("Camera Device")}};
    return std::make_unique<CameraSession>(identity, deviceId);
}
