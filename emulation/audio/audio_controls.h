// audio_controls.h: what a host may ask of and set at a microphone or speaker: mute, volume, clock.
#pragma once

#include "emulation/audio/audio_kind.h"
#include "emulation/usb/transfer.h"

#include <QString>

#include <cstddef>

namespace audio {

/// The feature unit's master mute and volume, and of version 2.0 the clock source, whose one rate cannot be set.
class AudioControls
{
public:
    /// In 1/256 dB.
    static constexpr int kLowest = -60 * 256;
    static constexpr int kHighest = 0;
    static constexpr int kStep = 256;
    /// Stands for silence (USB Audio 1.0, 5.2.2.4.3.2; 2.0, 5.2.5.7.2).
    static constexpr int kSilence = -0x8000;

    AudioControls(ClassVersion version, int rate) : m_version(version), m_rate(rate) {}

    /// A class request to the control interface. Refuses what the descriptors do not offer.
    void request(const usb::TransferPointer& transfer);

    /// As after power-on: not muted, at full volume.
    void reset();

    /// Applies mute and volume to samples; at full volume they stay as they are.
    void apply(std::int16_t* samples, std::size_t count) const;

    /// For people, for example "volume -12 dB, muted".
    QString text() const;

private:
    void request1(const usb::TransferPointer& transfer);
    void request2(const usb::TransferPointer& transfer);
    void clockRequest(const usb::TransferPointer& transfer) const;
    void setMute(const usb::TransferPointer& transfer);
    void setVolume(const usb::TransferPointer& transfer);

    const ClassVersion m_version;
    const int m_rate;
    bool m_muted = false;
    int m_volume = kHighest;
    int m_gain = 1 << 16; ///< of the volume, in 1/65536
};

} // namespace audio
