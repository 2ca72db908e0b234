// microphone.h: a USB microphone that plays a source to its host.
#pragma once

#include "emulation/audio/audio_function.h"
#include "emulation/channels/device_service.h"
#include "emulation/message/outcome.h"
#include "emulation/microphone/sound_feed.h"
#include "emulation/player/source_function.h"

#include <QTimer>

#include <memory>
#include <vector>

namespace audio {

struct MicrophoneSettings
{
    ClassVersion version = ClassVersion::V1;
    SoundFormat format;
    bool isRealTime = false;
    QString source; ///< a path or a URL
    bool loops = true;
};

/// The source is opened once a host has configured the device. Without real-time mode a recording waits for its host:
/// it goes on where the host left it, and no sample is lost. In real-time mode time passes for it too, and what a host
/// did not fetch in time is dropped. A live source is never waited for while no host listens.
class Microphone final : public AudioFunction<SourceFunction>
{
public:
    /// Of `identity` the ids, the version of USB and the names are taken.
    Microphone(usb::DeviceDescriptors identity, const MicrophoneSettings& settings,
               AudioStream::Clock clock = usb::IsochronousPacer::steadyClock());

protected:
    VideoFileSettings playerSettings(const QString& source) const override;
    void sourceChanged() override;
    QString runOther(const QString& command) override;
    QString deviceStatus() const override;

private:
    using Time = std::chrono::nanoseconds;

    void passed(const usb::TransferPointer& transfer) override;
    void streamingChanged() override;
    void configuredChanged(bool isConfigured) override;

    /// How many frames each packet carries, into `packets`; the sum of them.
    std::size_t portion(std::vector<usb::IsochronousPacket>& packets);
    /// In real-time mode drops what the host let pass.
    void dropLate(std::size_t frames, Time duration);
    void takeSound(std::size_t frames);
    /// Time passes without a host that listens.
    void idle();
    bool passesUnheard() const { return m_isRealTime || m_feed->isLive(); }
    bool takeBlock(std::vector<std::uint8_t>& block);
    std::int64_t framesIn(Time time) const;

    const bool m_isRealTime;
    const bool m_loops;
    const AudioStream::Clock m_clock;
    const std::shared_ptr<SoundSpeed> m_speed = std::make_shared<SoundSpeed>();
    std::unique_ptr<SoundFeed> m_feed; ///< another one with each source
    std::vector<std::int16_t> m_samples;
    std::int64_t m_rest = 0;   ///< of a frame, in frames and nanoseconds multiplied
    Time m_begin{};            ///< of the stream, or of the time without one
    std::int64_t m_passed = 0; ///< frames since then
    bool m_hasBegun = false;
    QTimer m_idleTimer;
};

/// Of the parameters of a microphone.
Outcome<std::unique_ptr<DeviceFunction>> makeMicrophone(const usb::DeviceDescriptors& identity,
                                                        const DeviceContext& context);

} // namespace audio
