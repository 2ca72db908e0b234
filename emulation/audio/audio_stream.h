// audio_stream.h: the USB side of a microphone or speaker: descriptors, requests, and when packets pass.
#pragma once

#include "emulation/audio/audio_controls.h"
#include "emulation/audio/audio_kind.h"
#include "emulation/usb/isochronous_pacer.h"

#include <functional>

namespace audio {

/// One streaming interface with one endpoint. A host streams while alternate setting 1 is selected. Its functions are
/// called as those of usb::Function are.
class AudioStream
{
public:
    using Clock = usb::IsochronousPacer::Clock;

    struct Calls
    {
        /// A transfer whose last packet has passed; it completes it.
        std::function<void(const usb::TransferPointer&)> passed;
        /// isStreaming() has changed.
        std::function<void()> streamingChanged;
    };

    /// Of a host that comes later than `mostMadeUp` nothing is made up for; usb::IsochronousPacer has it, too.
    AudioStream(usb::DeviceDescriptors identity, const AudioKind& kind, Calls calls, Clock clock,
                std::chrono::nanoseconds mostMadeUp);

    const usb::DeviceDescriptors& descriptors() const { return m_descriptors; }
    void controlRequest(const usb::TransferPointer& transfer);
    void submit(const usb::TransferPointer& transfer) { m_pacer.submit(transfer); }
    void cancelled(const usb::Transfer& transfer) { m_pacer.cancelled(transfer); }
    void configurationSelected();
    void alternateSelected(std::uint8_t interfaceNumber, std::uint8_t alternate);

    bool isStreaming() const { return m_isStreaming; }
    const SoundFormat& format() const { return m_kind.format; }
    const AudioControls& controls() const { return m_controls; }
    std::chrono::nanoseconds packetInterval() const { return m_interval; }
    /// For example "UAC 1.0, 2 channels at 44100 Hz, not in use, volume 0 dB".
    QString status() const;

private:
    void setStreaming(bool streams);

    const AudioKind m_kind;
    const usb::DeviceDescriptors m_descriptors;
    const Calls m_calls;
    const std::chrono::nanoseconds m_interval;
    usb::IsochronousPacer m_pacer;
    AudioControls m_controls;
    bool m_isStreaming = false;
};

} // namespace audio
