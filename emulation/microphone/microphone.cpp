#include "emulation/microphone/microphone.h"

#include "devices/parameter_list.h"

#include <QtEndian>

#include <algorithm>

namespace audio {

namespace {

constexpr std::chrono::milliseconds kIdleTick(50);
constexpr std::chrono::milliseconds kMostMadeUpInRealTime(50); // less than what is dropped, which is not made up for
constexpr std::int64_t kSecond = 1'000'000'000;                // nanoseconds
constexpr int kLateParts = 10;                                 // of a second: a host that is later has let sound pass
constexpr int kFastParts = 50;                                 // of its time that a live source may be fast
constexpr int kSoundOnly = 1;                                  // selector of the reader
constexpr std::size_t kQueueParts = 4;                         // of a second that waits between the threads

} // namespace

Microphone::Microphone(usb::DeviceDescriptors identity, const MicrophoneSettings& settings, AudioStream::Clock clock)
    : AudioFunction(std::move(identity), {Direction::ToHost, settings.version, settings.format}, clock,
                    settings.isRealTime ? kMostMadeUpInRealTime : usb::kMostMadeUp, settings.source)
    , m_isRealTime(settings.isRealTime)
    , m_loops(settings.loops)
    , m_clock(std::move(clock))
{
    sourceChanged();
    m_idleTimer.setInterval(kIdleTick);
    QObject::connect(&m_idleTimer, &QTimer::timeout, &m_idleTimer, [this] { idle(); });
}

VideoFileSettings Microphone::playerSettings(const QString& source) const
{
    VideoFileSettings settings;
    settings.url = source.toStdString();
    settings.selector = kSoundOnly;
    settings.audioChannels = stream().format().channels;
    settings.audioRate = stream().format().rate;
    settings.loop = m_loops;
    if (isLive(source)) // perhaps: a server's file is not
        settings.soundSpeed = m_speed;
    settings.overflow = AVMediaSink::Overflow::Block;
    settings.queue.bytes = stream().format().frameBytes() * std::size_t(stream().format().rate) / kQueueParts;
    return settings;
}

void Microphone::sourceChanged()
{
    m_feed = std::make_unique<SoundFeed>(stream().format(), m_isRealTime,
                                         [this](std::vector<std::uint8_t>& block) { return takeBlock(block); });
    m_speed->partsPerMillion = 0;
}

bool Microphone::takeBlock(std::vector<std::uint8_t>& block)
{
    std::optional<MediaItem> item = player() ? player()->take() : std::nullopt;
    if (!item)
        return false;
    block.swap(item->bytes);
    player()->recycle(std::move(*item));
    return true;
}

void Microphone::configuredChanged(bool isConfigured)
{
    m_hasBegun = false;
    if (isConfigured) {
        startSource();
        m_idleTimer.start();
    } else {
        m_idleTimer.stop();
        stopSource();
    }
}

void Microphone::streamingChanged()
{
    m_hasBegun = false;
    m_rest = 0;
    if (m_feed->isLive()) { // what came before is not wanted; it waits here and between the threads
        m_feed->skip(std::size_t(stream().format().rate));
        m_feed->clear();
    }
    if (stream().isStreaming())
        m_idleTimer.stop();
    else
        m_idleTimer.start();
}

std::int64_t Microphone::framesIn(Time time) const
{
    return time.count() / 1000 * stream().format().rate / (kSecond / 1000);
}

void Microphone::idle()
{
    const Time now = m_clock();
    m_feed->setLive(player() && player()->isLive());
    if (!m_hasBegun || !passesUnheard() || isPaused()) {
        m_hasBegun = true;
        m_begin = now;
        m_passed = 0;
        return;
    }
    const std::int64_t frames = framesIn(now - m_begin) - m_passed;
    const std::int64_t fastClock = m_feed->isLive() ? frames / kFastParts : 0;
    m_feed->skip(std::size_t(frames + fastClock));
    m_passed += frames;
}

std::size_t Microphone::portion(std::vector<usb::IsochronousPacket>& packets)
{
    const auto frameBytes = std::uint32_t(stream().format().frameBytes());
    const std::int64_t share = stream().packetInterval().count() * stream().format().rate;
    std::size_t frames = 0;
    for (usb::IsochronousPacket& packet : packets) {
        m_rest += share;
        const auto count = std::min(std::uint32_t(m_rest / kSecond), packet.length / frameBytes);
        m_rest -= count * kSecond;
        packet.actual = count * frameBytes;
        frames += count;
    }
    return frames;
}

void Microphone::dropLate(std::size_t frames, Time duration)
{
    const Time now = m_clock();
    if (!m_hasBegun) {
        m_hasBegun = true;
        m_begin = now - duration;
        m_passed = 0;
    }
    m_passed += std::int64_t(frames);
    const std::int64_t late = framesIn(now - m_begin) - m_passed;
    if (!m_isRealTime || late < stream().format().rate / kLateParts)
        return;
    m_feed->skip(std::size_t(late));
    m_passed += late;
}

void Microphone::takeSound(std::size_t frames)
{
    m_feed->setLive(player() && player()->isLive());
    m_samples.resize(frames * std::size_t(stream().format().channels));
    if (isPaused()) {
        std::fill(m_samples.begin(), m_samples.end(), std::int16_t(0));
        if (m_feed->isLive())
            m_feed->skip(frames);
        return;
    }
    m_feed->read(m_samples.data(), frames);
    m_speed->partsPerMillion = m_feed->speed();
}

void Microphone::passed(const usb::TransferPointer& transfer)
{
    std::vector<usb::IsochronousPacket> packets = transfer->request().packets;
    const std::size_t frames = portion(packets);
    dropLate(frames, stream().packetInterval() * std::int64_t(packets.size()));
    takeSound(frames);
    stream().controls().apply(m_samples.data(), m_samples.size());
    QByteArray bytes(int(m_samples.size() * sizeof(std::int16_t)), Qt::Uninitialized);
    qToLittleEndian<std::int16_t>(m_samples.data(), qsizetype(m_samples.size()), bytes.data());
    transfer->completeIsochronous(std::move(packets), std::move(bytes));
}

QString Microphone::runOther(const QString&)
{
    return commandFailed(QStringLiteral("A microphone knows: %1.").arg(sourceCommands()));
}

QString Microphone::deviceStatus() const
{
    QString text = stream().status();
    if (m_isRealTime)
        text += QStringLiteral(", real-time mode");
    if (m_feed->isLive())
        text += QStringLiteral(", source's clock %1 ppm").arg(-m_feed->speed());
    const auto rate = std::uint64_t(stream().format().rate);
    return text + QStringLiteral("; broke off %1 times, %2 ms dropped")
                      .arg(m_feed->gaps())
                      .arg(m_feed->dropped() * 1000 / rate);
}

Outcome<std::unique_ptr<DeviceFunction>> makeMicrophone(const usb::DeviceDescriptors& identity,
                                                        const DeviceContext& context)
{
    const QStringList& parameters = context.device.parameters;
    const auto is = [&](int position, const char* text) { return parameters.value(position) == QLatin1String(text); };
    MicrophoneSettings settings;
    settings.version = is(parameter::MicrophoneUacVersion, "2.0") ? ClassVersion::V2 : ClassVersion::V1;
    settings.format = {parameters.value(parameter::MicrophoneChannels).toInt(),
                       parameters.value(parameter::MicrophoneSampleRate).toInt()};
    settings.isRealTime = is(parameter::MicrophoneRealTime, "1");
    settings.source = parameters.value(parameter::MicrophoneSource);
    settings.loops = is(parameter::MicrophoneLoop, "1");
    return std::unique_ptr<DeviceFunction>(std::make_unique<Microphone>(identity, settings));
}

} // namespace audio
