// hid_sessions.cpp: keyboard, mouse and FIDO2 key.
#include "tools/usb_daemon/sessions/sessions.h"

#include <QtEndian>

namespace {

constexpr std::uint8_t kInterrupt = 3;

/// Set-up that all HID devices share: idle rate and report descriptor.
class HidSession : public DeviceSession
{
public:
    HidSession(DeviceIdentity identity, QByteArray reportDescriptor, std::uint32_t deviceId)
        : DeviceSession(std::move(identity), deviceId)
        , m_reportDescriptor(std::move(reportDescriptor))
    {}

protected:
    void setUp() override
    {
        urbs().control(QByteArray::fromHex("210a000000000000"));
        QByteArray setup = QByteArray::fromHex("8106002200000000");
        qToLittleEndian(static_cast<std::uint16_t>(m_reportDescriptor.size()), setup.data() + 6);
        urbs().control(setup, m_reportDescriptor);
    }

private:
    QByteArray m_reportDescriptor;
};

class KeyboardSession final : public HidSession
{
public:
    using HidSession::HidSession;

private:
    /// Types the letters a to z, and switches the lamp for capital letters now and then.
    void use(std::uint32_t round) override
    {
        QByteArray report(8, '\0');
        report[2] = static_cast<char>(4 + round % 26);
        urbs().in(kInterrupt, 1, 8, report);
        urbs().in(kInterrupt, 1, 8, QByteArray(8, '\0'));
        if (round % 16 == 15)
            urbs().control(QByteArray::fromHex("2109000200000100"), QByteArray(1, round % 32 == 31 ? '\0' : '\2'));
    }
};

class MouseSession final : public HidSession
{
public:
    using HidSession::HidSession;

private:
    /// Moves in a square and clicks at its corners; at times the host takes a pending read back.
    void use(std::uint32_t round) override
    {
        static constexpr signed char kSteps[4][2] = {{5, 0}, {0, 5}, {-5, 0}, {0, -5}};
        const auto& step = kSteps[round / 10 % 4];
        QByteArray report(3, '\0');
        report[0] = round % 10 == 0 ? 1 : 0;
        report[1] = step[0];
        report[2] = step[1];
        urbs().in(kInterrupt, 1, 4, report);
        if (round % 40 == 39)
            urbs().unlinked(kInterrupt, 1, 4);
    }
};

class Fido2Session final : public HidSession
{
public:
    using HidSession::HidSession;

private:
    void use(std::uint32_t round) override
    {
        QByteArray nonce(8, '\0');
        qToLittleEndian(round, nonce.data());
        const QByteArray channel = QByteArray::fromHex("00c0ffee");
        exchange(QByteArray::fromHex("ffffffff"), 0x86, nonce, nonce + channel + QByteArray::fromHex("0205000105"));
        // authenticatorGetInfo: {1: ["FIDO_2_0"], 3: aaguid, 4: {"rk": true, "up": true}, 5: 1200}
        exchange(channel, 0x90, QByteArray::fromHex("04"),
                 QByteArray::fromHex("00a40181684649444f5f325f300350") +
                     QByteArray::fromHex("8876a5b4c3d2e1f00112233445566778") +
                     QByteArray::fromHex("04a262726bf5627570f5051904b0"));
    }

    void exchange(const QByteArray& channel, std::uint8_t command, const QByteArray& request, const QByteArray& reply)
    {
        for (const QByteArray& report : reports(channel, command, request))
            urbs().out(kInterrupt, 2, report);
        for (const QByteArray& report : reports(channel, command, reply))
            urbs().in(kInterrupt, 1, 64, report);
    }

    /// An initialisation packet, then continuation packets, each of 64 bytes.
    static QList<QByteArray> reports(const QByteArray& channel, std::uint8_t command, const QByteArray& message)
    {
        QByteArray length(2, '\0');
        qToBigEndian(static_cast<std::uint16_t>(message.size()), length.data());
        QList<QByteArray> result{channel + QByteArray(1, static_cast<char>(command)) + length + message.left(57)};
        for (int offset = 57; offset < message.size(); offset += 59)
            result << channel + QByteArray(1, static_cast<char>(result.size() - 1)) + message.mid(offset, 59);
        for (QByteArray& report : result)
            report.append(QByteArray(64 - report.size(), '\0'));
        return result;
    }
};

} // namespace

std::unique_ptr<DeviceSession> makeKeyboardSession(std::uint32_t deviceId)
{
    const DeviceIdentity identity{
        QByteArray::fromHex("12010002000000406b1d02000001010200 01"),
        QByteArray::fromHex("0902220001010 0a032 0904000001030101 00 092111010001223f00 0705810308000a"),
        {QStringLiteral("Plugboard"), QStringLiteral("Keyboard Device")}};
    const QByteArray report = QByteArray::fromHex("05010906a101050719e029e71500250175019508810295017508810195057501"
                                                  "050819012905910295017503910195067508150025650507190029658100c0");
    return std::make_unique<KeyboardSession>(identity, report, deviceId);
}

std::unique_ptr<DeviceSession> makeMouseSession(std::uint32_t deviceId)
{
    const DeviceIdentity identity{
        QByteArray::fromHex("12010002000000406b1d0300000101020001"),
        QByteArray::fromHex("09022200010100a032 090400000103010200 092111010001223200 0705810304000a"),
        {QStringLiteral("Plugboard"), QStringLiteral("Mouse Device")}};
    const QByteArray report = QByteArray::fromHex("05010902a1010901a100050919012903150025019503750181029501750581010501"
                                                  "0930093115812 57f750895028106c0c0");
    return std::make_unique<MouseSession>(identity, report, deviceId);
}

std::unique_ptr<DeviceSession> makeFido2Session(std::uint32_t deviceId)
{
    const DeviceIdentity identity{
        QByteArray::fromHex("12010002000000406b1d0400000101020001"),
        QByteArray::fromHex("090229000101008032 090400000203000000 092111010001222200 07058103400005 07050203400005"),
        {QStringLiteral("Plugboard"), QStringLiteral("Security Key")}};
    const QByteArray report =
        QByteArray::fromHex("06d0f10901a1010920150026ff007508954081020921150026ff00750895409102c0");
    return std::make_unique<Fido2Session>(identity, report, deviceId);
}
