#include "emulation/audio/audio_stream.h"

#include "emulation/audio/audio_descriptors.h"

#include <utility>

namespace audio {

AudioStream::AudioStream(usb::DeviceDescriptors identity, const AudioKind& kind, Calls calls, Clock clock,
                         std::chrono::nanoseconds mostMadeUp)
    : m_kind(kind)
    , m_descriptors(describe(std::move(identity), kind))
    , m_calls(std::move(calls))
    , m_interval(usb::isochronousInterval(m_descriptors.speed, streamEndpoint(m_descriptors).bInterval))
    , m_pacer(m_interval, m_calls.passed, std::move(clock), mostMadeUp)
    , m_controls(kind.version, kind.format.rate)
{}

void AudioStream::controlRequest(const usb::TransferPointer& transfer)
{
    if (transfer->request().setup.type() == usb::RequestType::Class)
        m_controls.request(transfer);
    else
        transfer->complete(usb::Status::Stall);
}

void AudioStream::configurationSelected()
{
    setStreaming(false);
    m_controls.reset();
}

void AudioStream::alternateSelected(std::uint8_t interfaceNumber, std::uint8_t alternate)
{
    if (interfaceNumber == kStreamInterface)
        setStreaming(alternate != 0);
}

void AudioStream::setStreaming(bool streams)
{
    if (std::exchange(m_isStreaming, streams) == streams)
        return;
    m_pacer.restart();
    m_calls.streamingChanged();
}

QString AudioStream::status() const
{
    return QStringLiteral("UAC %1, %2 channels at %3 Hz, %4, %5")
        .arg(m_kind.version == ClassVersion::V1 ? QStringLiteral("1.0") : QStringLiteral("2.0"))
        .arg(m_kind.format.channels)
        .arg(m_kind.format.rate)
        .arg(m_isStreaming ? QStringLiteral("in use by a host") : QStringLiteral("not in use"), m_controls.text());
}

} // namespace audio
