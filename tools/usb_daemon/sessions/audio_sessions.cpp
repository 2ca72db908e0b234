// audio_sessions.cpp: microphone and speaker.
#include "tools/usb_daemon/sessions/sessions.h"

#include <QtEndian>

#include <cmath>

namespace {

constexpr std::uint8_t kIsochronous = 1;
constexpr int kFrames = 48;   // stereo samples of one millisecond
constexpr int kPeriod = 1200; // samples after which 440 Hz at 48 kHz repeats
constexpr double kStep = 2 * 3.14159265358979323846 * 440 / 48000;

class AudioSession final : public DeviceSession
{
public:
    AudioSession(DeviceIdentity identity, std::uint32_t deviceId, bool input)
        : DeviceSession(std::move(identity), deviceId)
        , m_input(input)
    {}

private:
    void setUp() override
    {
        urbs().control(QByteArray::fromHex("a181000100020100"), QByteArray::fromHex("00"));   // mute
        urbs().control(QByteArray::fromHex("a182000200020200"), QByteArray::fromHex("00c0")); // volume
        urbs().control(QByteArray::fromHex("a183000200020200"), QByteArray::fromHex("0000"));
        urbs().control(QByteArray::fromHex("a184000200020200"), QByteArray::fromHex("0001"));
        urbs().control(QByteArray::fromHex("010b010001000000"));
        urbs().control(QByteArray::fromHex(m_input ? "2201000181000300" : "2201000101000300"),
                       QByteArray::fromHex("80bb00"));
    }

    void use(std::uint32_t round) override
    {
        QByteArray samples(kFrames * 4, '\0');
        for (int frame = 0; frame < kFrames; ++frame) {
            const auto position = (round * kFrames + static_cast<std::uint32_t>(frame)) % kPeriod;
            const auto value = static_cast<std::int16_t>(std::lround(8000 * std::sin(kStep * position)));
            qToLittleEndian(value, samples.data() + 4 * frame);
            qToLittleEndian(value, samples.data() + 4 * frame + 2);
        }
        if (m_input)
            urbs().in(kIsochronous, 1, static_cast<std::uint32_t>(samples.size()), samples);
        else
            urbs().out(kIsochronous, 1, samples);
    }

    bool m_input;
};

} // namespace

std::unique_ptr<DeviceSession> makeMicrophoneSession(std::uint32_t deviceId)
{
    const DeviceIdentity identity{
        QByteArray::fromHex("12010002000000406b1d0600000101020001"),
        QByteArray::fromHex("09026e00020100 8032 090400000001010000 092401000128000101 0c2402010102000203000000"
                            "0a240602010103000000 092403030101000200 090401000001020000 090401010101020000"
                            "07240103010100 0b2402010202100180bb00 09058105c000010000 07250101000000"),
        {QStringLiteral("Plugboard"), QStringLiteral("Microphone Device")}};
    return std::make_unique<AudioSession>(identity, deviceId, true);
}

std::unique_ptr<DeviceSession> makeSpeakerSession(std::uint32_t deviceId)
{
    const DeviceIdentity identity{
        QByteArray::fromHex("12010002000000406b1d0700000101020001"),
        QByteArray::fromHex("09026e00020100 8032 090400000001010000 092401000128000101 0c2402010101000203000000"
                            "0a240602010103000000 092403030103000200 090401000001020000 090401010101020000"
                            "07240101010100 0b2402010202100180bb00 09050109c000010000 07250101000000"),
        {QStringLiteral("Plugboard"), QStringLiteral("Speaker Device")}};
    return std::make_unique<AudioSession>(identity, deviceId, false);
}
