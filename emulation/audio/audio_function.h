// audio_function.h: a device function whose USB side is an AudioStream.
#pragma once

#include "emulation/audio/audio_stream.h"

#include <utility>

namespace audio {

/// `Base` is a DeviceFunction that leaves the calls of usb::Function to this class.
template<typename Base>
class AudioFunction : public Base
{
public:
    const usb::DeviceDescriptors& descriptors() const override { return m_stream.descriptors(); }
    void controlRequest(const usb::TransferPointer& transfer) override { m_stream.controlRequest(transfer); }
    void submit(const usb::TransferPointer& transfer) override { m_stream.submit(transfer); }
    void cancelled(const usb::Transfer& transfer) override { m_stream.cancelled(transfer); }
    void configurationSelected(std::uint8_t value) override
    {
        m_stream.configurationSelected();
        configuredChanged(value != 0);
    }
    void alternateSelected(std::uint8_t interfaceNumber, std::uint8_t alternate) override
    {
        m_stream.alternateSelected(interfaceNumber, alternate);
    }
    void reset() override { configurationSelected(0); }

protected:
    /// `arguments` are the base's.
    template<typename... Arguments>
    AudioFunction(usb::DeviceDescriptors identity, const AudioKind& kind, AudioStream::Clock clock,
                  std::chrono::nanoseconds mostMadeUp, Arguments&&... arguments)
        : Base(std::forward<Arguments>(arguments)...)
        , m_stream(std::move(identity), kind,
                   {[this](const usb::TransferPointer& transfer) { passed(transfer); }, [this] { streamingChanged(); }},
                   std::move(clock), mostMadeUp)
    {}

    /// A transfer whose last packet has passed; it is completed.
    virtual void passed(const usb::TransferPointer& transfer) = 0;
    /// A host has begun or ended to stream.
    virtual void streamingChanged() = 0;
    /// A host has configured the device, or not any more.
    virtual void configuredChanged(bool isConfigured) { static_cast<void>(isConfigured); }

    const AudioStream& stream() const { return m_stream; }

private:
    AudioStream m_stream;
};

} // namespace audio
