#include "emulation/audio/speaker.h"

#include <QDir>
#include <QtEndian>

#include <algorithm>
#include <utility>

namespace audio {

Speaker::Speaker(usb::DeviceDescriptors identity, const SoundFormat& format, AudioStream::Clock clock)
    : AudioFunction(std::move(identity), {Direction::FromHost, ClassVersion::V1, format}, std::move(clock),
                    usb::kMostMadeUp)
    , m_meter(format.channels, format.rate)
{}

void Speaker::passed(const usb::TransferPointer& transfer)
{
    const usb::Transfer::Request& request = transfer->request();
    std::vector<usb::IsochronousPacket> packets = request.packets;
    for (usb::IsochronousPacket& packet : packets) {
        const auto size = std::uint32_t(request.data.size());
        const std::uint32_t offset = std::min(packet.offset, size);
        packet.actual = std::min(packet.length, size - offset);
        play(request.data.constData() + offset, packet.actual);
    }
    transfer->completeIsochronous(std::move(packets));
}

/// A frame that is cut short at the end of a packet is none.
void Speaker::play(const char* bytes, std::size_t count)
{
    const std::size_t frameBytes = stream().format().frameBytes();
    m_samples.resize(count / frameBytes * std::size_t(stream().format().channels));
    qFromLittleEndian<std::int16_t>(bytes, qsizetype(m_samples.size()), m_samples.data());
    stream().controls().apply(m_samples.data(), m_samples.size());
    m_meter.add(m_samples.data(), m_samples.size());
    if (!m_recording || m_samples.empty())
        return;
    qToLittleEndian<std::int16_t>(m_samples.data(), qsizetype(m_samples.size()), m_samples.data());
    m_whyStopped = m_recording->append(reinterpret_cast<const char*>(m_samples.data()), m_samples.size() * 2);
    if (!m_whyStopped.isEmpty())
        m_recording.reset();
}

void Speaker::streamingChanged()
{
    m_meter.clear();
    if (!stream().isStreaming() && m_recording)
        m_recording->sync();
}

QString Speaker::run(const QString& command)
{
    const QString verb = command.section(QLatin1Char(' '), 0, 0);
    if (verb == QLatin1String("record"))
        return record(command.mid(verb.size()).trimmed());
    if (command == QLatin1String("stop"))
        return stop();
    return commandFailed(QStringLiteral("A speaker knows: record FILE, stop, status."));
}

QString Speaker::record(const QString& file)
{
    if (file.isEmpty() || QDir::isRelativePath(file))
        return commandFailed(QStringLiteral("record takes the whole path of a file."));
    if (m_recording)
        return commandFailed(QStringLiteral("A recording is being made already, %1.").arg(recorded()));
    auto recording = WavWriter::create(file, stream().format());
    if (!recording)
        return commandFailed(recording.fault());
    m_recording = recording.take();
    m_whyStopped.clear();
    return commandDone(QStringLiteral("recording ") + file);
}

QString Speaker::stop()
{
    if (!m_recording)
        return commandFailed(m_whyStopped.isEmpty() ? QStringLiteral("Nothing is being recorded.") : m_whyStopped);
    const QString fault = m_recording->sync();
    const QString text = recorded();
    m_recording.reset();
    return fault.isEmpty() ? commandDone(text) : commandFailed(fault);
}

QString Speaker::recorded() const
{
    const double bytesPerSecond = double(stream().format().rate) * double(stream().format().frameBytes());
    return QStringLiteral("%1 s in %2")
        .arg(m_recording->dataBytes() / bytesPerSecond, 0, 'f', 1)
        .arg(m_recording->path());
}

QString Speaker::status() const
{
    QString text = stream().status() + QStringLiteral("; ") + m_meter.text();
    if (m_recording)
        text += QStringLiteral("; recording, ") + recorded();
    else if (!m_whyStopped.isEmpty())
        text += QStringLiteral("; no longer recording: ") + m_whyStopped;
    return text;
}

} // namespace audio
