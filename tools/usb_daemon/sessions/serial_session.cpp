#include "tools/usb_daemon/sessions/sessions.h"

namespace {

constexpr std::uint8_t kBulk = 2;

class SerialSession final : public DeviceSession
{
public:
    using DeviceSession::DeviceSession;

private:
    void setUp() override
    {
        const QByteArray lineCoding = QByteArray::fromHex("00c20100000008"); // 115200 bit/s, 8 bits, no parity
        urbs().control(QByteArray::fromHex("a121000000000700"), lineCoding);
        urbs().control(QByteArray::fromHex("2120000000000700"), lineCoding);
        urbs().control(QByteArray::fromHex("2122030000000000")); // ready
    }

    void use(std::uint32_t) override
    {
        urbs().out(kBulk, 3, "AT\r");
        urbs().in(kBulk, 1, 64, "AT\r\r\nOK\r\n");
    }
};

} // namespace

std::unique_ptr<DeviceSession> makeSerialSession(std::uint32_t deviceId)
{
    const DeviceIdentity identity{
        QByteArray::fromHex("12010002020000406b1d0200000101020001"),
        QByteArray::fromHex("090243000201008032 090400000102020100 0524001001 0524010001 04240202 0524060001"
                            "070582030800ff 09040100020a000000 07050302400000 07058102400000"),
        {QStringLiteral("Plugboard"), QStringLiteral("USBIP Device")}};
    return std::make_unique<SerialSession>(identity, deviceId);
}
