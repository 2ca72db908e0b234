// speaker.h: a USB speaker; what a host plays can be recorded.
#pragma once

#include "emulation/audio/audio_function.h"
#include "emulation/audio/level_meter.h"
#include "emulation/audio/wav_writer.h"
#include "emulation/function/device_function.h"

#include <memory>
#include <vector>

namespace audio {

/// Commands: `record FILE`, `stop`. What is recorded is what a listener would hear: everything that hosts play, at the
/// volume that they have set, without the time between. Nothing is kept while nothing is recorded.
class Speaker final : public AudioFunction<DeviceFunction>
{
public:
    /// Of `identity` the ids, the version of USB and the names are taken. It is of USB Audio 1.0.
    Speaker(usb::DeviceDescriptors identity, const SoundFormat& format,
            AudioStream::Clock clock = usb::IsochronousPacer::steadyClock());

    QString run(const QString& command) override;
    QString status() const override;

private:
    void passed(const usb::TransferPointer& transfer) override;
    void streamingChanged() override;
    void play(const char* bytes, std::size_t count);
    QString record(const QString& file);
    QString stop();
    /// For example "12.3 s in /home/me/sound.wav".
    QString recorded() const;

    LevelMeter m_meter;
    std::unique_ptr<WavWriter> m_recording; ///< null while nothing is recorded
    QString m_whyStopped;                   ///< the recording, when no command did it
    std::vector<std::int16_t> m_samples;    ///< of a packet, reused
};

} // namespace audio
