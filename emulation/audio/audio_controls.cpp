#include "emulation/audio/audio_controls.h"

#include "emulation/audio/audio_descriptors.h"

#include <algorithm>
#include <cmath>

namespace audio {

namespace {

constexpr int kFullGain = 1 << 16;

/// bRequest of version 1.0; GET has bit 7.
enum Request1 : std::uint8_t
{
    SetCurrent = 0x01,
    GetCurrent = 0x81,
    GetMinimum = 0x82,
    GetMaximum = 0x83,
    GetResolution = 0x84
};

/// bRequest of version 2.0; bmRequestType says which way.
enum Request2 : std::uint8_t
{
    Current = 0x01,
    Range = 0x02
};

/// High byte of wValue; of the feature unit the same in both versions.
enum Selector : std::uint8_t
{
    Mute = 1,
    Volume = 2,
    SamplingFrequency = 1 ///< of the clock source
};

std::uint8_t entityOf(const usb::SetupPacket& setup)
{
    return std::uint8_t(setup.wIndex >> 8);
}

std::uint8_t selectorOf(const usb::SetupPacket& setup)
{
    return std::uint8_t(setup.wValue >> 8);
}

QByteArray number(std::int64_t value, int bytes)
{
    QByteArray result;
    for (int byte = 0; byte < bytes; ++byte)
        result.append(char(value >> 8 * byte));
    return result;
}

/// The one range of a control of version 2.0: lowest, highest and step, each of `bytes`.
QByteArray range(std::int64_t lowest, std::int64_t highest, std::int64_t step, int bytes)
{
    return number(1, 2) + number(lowest, bytes) + number(highest, bytes) + number(step, bytes);
}

void refuse(const usb::TransferPointer& transfer)
{
    transfer->complete(usb::Status::Stall);
}

} // namespace

void AudioControls::request(const usb::TransferPointer& transfer)
{
    const usb::SetupPacket& setup = transfer->request().setup;
    const bool isFeature = entityOf(setup) == kFeatureUnit;
    const bool isMaster = std::uint8_t(setup.wValue) == 0; // no channel has controls of its own
    if (setup.recipient() != usb::Recipient::Interface || std::uint8_t(setup.wIndex) != kControlInterface || !isMaster)
        return refuse(transfer);
    if (m_version == ClassVersion::V2 && entityOf(setup) == kClockSource)
        return clockRequest(transfer);
    if (!isFeature || (selectorOf(setup) != Mute && selectorOf(setup) != Volume))
        return refuse(transfer);
    if (m_version == ClassVersion::V1)
        request1(transfer);
    else
        request2(transfer);
}

void AudioControls::request1(const usb::TransferPointer& transfer)
{
    const usb::SetupPacket& setup = transfer->request().setup;
    const bool isVolume = selectorOf(setup) == Volume;
    if (setup.isIn() != (setup.bRequest >= GetCurrent))
        return refuse(transfer);
    switch (setup.bRequest) {
    case SetCurrent:
        return isVolume ? setVolume(transfer) : setMute(transfer);
    case GetCurrent:
        return transfer->completeIn(isVolume ? number(m_volume, 2) : number(m_muted, 1));
    case GetMinimum:
    case GetMaximum:
    case GetResolution:
        break;
    default:
        return refuse(transfer);
    }
    if (!isVolume)
        return refuse(transfer);
    const int value = setup.bRequest == GetMinimum ? kLowest : setup.bRequest == GetMaximum ? kHighest : kStep;
    transfer->completeIn(number(value, 2));
}

void AudioControls::request2(const usb::TransferPointer& transfer)
{
    const usb::SetupPacket& setup = transfer->request().setup;
    const bool isVolume = selectorOf(setup) == Volume;
    if (setup.bRequest == Current && !setup.isIn())
        return isVolume ? setVolume(transfer) : setMute(transfer);
    if (setup.bRequest == Current)
        return transfer->completeIn(isVolume ? number(m_volume, 2) : number(m_muted, 1));
    if (setup.bRequest != Range || !setup.isIn() || !isVolume)
        return refuse(transfer);
    transfer->completeIn(range(kLowest, kHighest, kStep, 2));
}

void AudioControls::clockRequest(const usb::TransferPointer& transfer) const
{
    const usb::SetupPacket& setup = transfer->request().setup;
    if (selectorOf(setup) != SamplingFrequency || !setup.isIn())
        return refuse(transfer);
    if (setup.bRequest == Current)
        return transfer->completeIn(number(m_rate, 4));
    if (setup.bRequest == Range)
        return transfer->completeIn(range(m_rate, m_rate, 0, 4));
    refuse(transfer);
}

void AudioControls::setMute(const usb::TransferPointer& transfer)
{
    const QByteArray& data = transfer->request().data;
    if (data.size() != 1)
        return refuse(transfer);
    m_muted = data[0] != 0;
    transfer->complete();
}

/// Takes what the host wants as near as the steps allow.
void AudioControls::setVolume(const usb::TransferPointer& transfer)
{
    const QByteArray& data = transfer->request().data;
    if (data.size() != 2)
        return refuse(transfer);
    const auto wanted = std::int16_t(std::uint8_t(data[0]) | std::uint8_t(data[1]) << 8);
    const double steps = std::round(double(std::clamp<int>(wanted, kLowest, kHighest)) / kStep);
    m_volume = wanted == kSilence ? kSilence : int(steps) * kStep;
    m_gain = m_volume == kSilence ? 0 : int(std::lround(std::pow(10.0, m_volume / 256.0 / 20.0) * kFullGain));
    transfer->complete();
}

void AudioControls::reset()
{
    m_muted = false;
    m_volume = kHighest;
    m_gain = kFullGain;
}

void AudioControls::apply(std::int16_t* samples, std::size_t count) const
{
    const int gain = m_muted ? 0 : m_gain;
    if (gain != kFullGain)
        std::transform(samples, samples + count, samples,
                       [gain](std::int16_t sample) { return std::int16_t(sample * gain / kFullGain); });
}

QString AudioControls::text() const
{
    const QString volume = m_volume == kSilence ? QStringLiteral("off") : QStringLiteral("%1 dB").arg(m_volume / 256);
    return QStringLiteral("volume %1%2").arg(volume, m_muted ? QStringLiteral(", muted") : QString());
}

} // namespace audio
