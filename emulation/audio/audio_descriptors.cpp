#include "emulation/audio/audio_descriptors.h"

#include <array>

namespace audio {

namespace {

constexpr std::uint8_t kAudioClass = 1;
constexpr std::uint8_t kControlSubClass = 1;
constexpr std::uint8_t kStreamingSubClass = 2;
constexpr std::uint8_t kProtocol2 = 0x20; ///< IP_VERSION_02_00; version 1.0 has 0

constexpr std::uint8_t kClassInterface = 0x24; ///< bDescriptorType of the class, of interfaces and of endpoints
constexpr std::uint8_t kClassEndpoint = 0x25;

/// bDescriptorSubtype, of the control interface.
enum ControlPart : std::uint8_t
{
    Header = 1,
    InputTerminal = 2,
    OutputTerminal = 3,
    FeatureUnit = 6,
    ClockSource = 10
};

/// bDescriptorSubtype, of the streaming interface and its endpoint.
enum StreamPart : std::uint8_t
{
    General = 1,
    FormatType = 2
};

// Terminal types (Terminal Types 1.0).
constexpr std::uint16_t kUsbStreaming = 0x0101;
constexpr std::uint16_t kMicrophone = 0x0201;
constexpr std::uint16_t kSpeaker = 0x0301;

constexpr std::uint16_t kPcm = 1;
constexpr std::uint8_t kFormatTypeI = 1;
constexpr std::uint8_t kSampleBytes = 2;
constexpr std::uint8_t kSampleBits = 16;

constexpr int kLargestFullSpeedPacket = 1023;
constexpr int kLargestPacket = 1024;
constexpr std::uint16_t kUsb3 = 0x0300;
constexpr std::uint16_t kMiscellaneousClass = 0xEF;

bool isSpeaker(const AudioKind& kind)
{
    return kind.direction == Direction::FromHost;
}

/// Where the media pipeline puts a count of channels: a bit each, the same in both versions.
std::uint32_t channelPositions(int channels)
{
    // None for one channel; left, right; and LFE; or centre and back centre; 5.0, 5.1, 6.1 and 7.1.
    static constexpr std::array<std::uint32_t, 9> kPositions{0, 0, 0x3, 0xB, 0x107, 0x37, 0x3F, 0x70F, 0x63F};
    return kPositions.at(std::size_t(channels));
}

/// Bytes of the largest packet: as many frames as begin in the interval, and one more, since a host's clock is another.
int largestPacket(const SoundFormat& format, int packetsPerSecond)
{
    const int frames = (format.rate + packetsPerSecond - 1) / packetsPerSecond + 1;
    return frames * int(format.frameBytes());
}

usb::Speed speedOf(const usb::DeviceDescriptors& identity, const AudioKind& kind)
{
    constexpr int kFramesPerSecond = 1000;
    if (identity.bcdUSB >= kUsb3)
        return usb::Speed::Super;
    const bool isFull =
        kind.version == ClassVersion::V1 && largestPacket(kind.format, kFramesPerSecond) <= kLargestFullSpeedPacket;
    return isFull ? usb::Speed::Full : usb::Speed::High;
}

/// The class's own descriptors of the control interface, without the header before them.
QByteArray units1(const AudioKind& kind)
{
    constexpr std::uint32_t kMuteAndVolume = 0x03;
    const auto channels = std::uint32_t(kind.format.channels);
    usb::DescriptorWriter feature(kClassInterface);
    feature.u8(FeatureUnit).u8(kFeatureUnit).u8(kInputTerminal).u8(1).u8(kMuteAndVolume);
    for (std::uint32_t channel = 0; channel < channels; ++channel)
        feature.u8(0);
    return usb::DescriptorWriter(kClassInterface)
               .u8(InputTerminal)
               .u8(kInputTerminal)
               .u16(isSpeaker(kind) ? kUsbStreaming : kMicrophone)
               .u8(0)
               .u8(channels)
               .u16(channelPositions(kind.format.channels))
               .u8(0)
               .u8(0)
               .take() +
           feature.u8(0).take() +
           usb::DescriptorWriter(kClassInterface)
               .u8(OutputTerminal)
               .u8(kOutputTerminal)
               .u16(isSpeaker(kind) ? kSpeaker : kUsbStreaming)
               .u8(0)
               .u8(kFeatureUnit)
               .u8(0)
               .take();
}

QByteArray units2(const AudioKind& kind)
{
    constexpr std::uint32_t kFixedInternal = 1;
    constexpr std::uint32_t kReadableRate = 0x01;
    constexpr std::uint32_t kMuteAndVolume = 0x0F; // both may be read and set
    const auto channels = std::uint32_t(kind.format.channels);
    usb::DescriptorWriter feature(kClassInterface);
    feature.u8(FeatureUnit).u8(kFeatureUnit).u8(kInputTerminal).u32(kMuteAndVolume);
    for (std::uint32_t channel = 0; channel < channels; ++channel)
        feature.u32(0);
    return usb::DescriptorWriter(kClassInterface)
               .u8(ClockSource)
               .u8(kClockSource)
               .u8(kFixedInternal)
               .u8(kReadableRate)
               .u8(0)
               .u8(0)
               .take() +
           usb::DescriptorWriter(kClassInterface)
               .u8(InputTerminal)
               .u8(kInputTerminal)
               .u16(isSpeaker(kind) ? kUsbStreaming : kMicrophone)
               .u8(0)
               .u8(kClockSource)
               .u8(channels)
               .u32(channelPositions(kind.format.channels))
               .u8(0)
               .u16(0)
               .u8(0)
               .take() +
           feature.u8(0).take() +
           usb::DescriptorWriter(kClassInterface)
               .u8(OutputTerminal)
               .u8(kOutputTerminal)
               .u16(isSpeaker(kind) ? kSpeaker : kUsbStreaming)
               .u8(0)
               .u8(kFeatureUnit)
               .u8(kClockSource)
               .u16(0)
               .u8(0)
               .take();
}

QByteArray controlHeader1(const QByteArray& units)
{
    constexpr std::uint32_t kSize = 9;
    return usb::DescriptorWriter(kClassInterface)
        .u8(Header)
        .u16(0x0100)
        .u16(kSize + std::uint32_t(units.size()))
        .u8(1) // streaming interfaces, and which
        .u8(kStreamInterface)
        .take();
}

QByteArray controlHeader2(const AudioKind& kind, const QByteArray& units)
{
    constexpr std::uint32_t kSize = 9;
    constexpr std::uint32_t kDesktopSpeaker = 1;
    constexpr std::uint32_t kMicrophoneCategory = 3;
    return usb::DescriptorWriter(kClassInterface)
        .u8(Header)
        .u16(0x0200)
        .u8(isSpeaker(kind) ? kDesktopSpeaker : kMicrophoneCategory)
        .u16(kSize + std::uint32_t(units.size()))
        .u8(0)
        .take();
}

/// The terminal that a host's end of the stream is.
std::uint8_t streamTerminal(const AudioKind& kind)
{
    return isSpeaker(kind) ? kInputTerminal : kOutputTerminal;
}

std::vector<QByteArray> stream1(const AudioKind& kind)
{
    const auto channels = std::uint32_t(kind.format.channels);
    return {usb::DescriptorWriter(kClassInterface).u8(General).u8(streamTerminal(kind)).u8(1).u16(kPcm).take(),
            usb::DescriptorWriter(kClassInterface)
                .u8(FormatType)
                .u8(kFormatTypeI)
                .u8(channels)
                .u8(kSampleBytes)
                .u8(kSampleBits)
                .u8(1) // rates, and which
                .u24(std::uint32_t(kind.format.rate))
                .take()};
}

std::vector<QByteArray> stream2(const AudioKind& kind)
{
    return {
        usb::DescriptorWriter(kClassInterface)
            .u8(General)
            .u8(streamTerminal(kind))
            .u8(0)
            .u8(kFormatTypeI)
            .u32(kPcm)
            .u8(std::uint32_t(kind.format.channels))
            .u32(channelPositions(kind.format.channels))
            .u8(0)
            .take(),
        usb::DescriptorWriter(kClassInterface).u8(FormatType).u8(kFormatTypeI).u8(kSampleBytes).u8(kSampleBits).take()};
}

QByteArray endpointTail(ClassVersion version)
{
    usb::DescriptorWriter writer(kClassEndpoint);
    writer.u8(General).u8(0).u8(0);
    if (version == ClassVersion::V2)
        writer.u8(0);
    return writer.u16(0).take();
}

/// The longest interval, up to 1 ms, of which a packet fits the speed.
usb::Endpoint endpointOf(const AudioKind& kind, usb::Speed speed)
{
    constexpr std::uint8_t kMillisecond = 4; // 2^3 microframes
    usb::Endpoint endpoint;
    endpoint.bEndpointAddress = isSpeaker(kind) ? 0x01 : 0x81;
    endpoint.type = usb::TransferType::Isochronous;
    endpoint.synchronization = isSpeaker(kind) ? usb::Synchronization::Adaptive : usb::Synchronization::Asynchronous;
    endpoint.bInterval = speed == usb::Speed::Full ? 1 : kMillisecond;
    int bytes = largestPacket(kind.format, 1000);
    for (int perSecond = 2000; speed != usb::Speed::Full && bytes > kLargestPacket; perSecond *= 2) {
        --endpoint.bInterval;
        bytes = largestPacket(kind.format, perSecond);
    }
    endpoint.maxPacketSize = std::uint16_t(bytes);
    if (kind.version == ClassVersion::V1)
        endpoint.audioTail.emplace();
    if (speed == usb::Speed::Super)
        endpoint.companion = usb::EndpointCompanion{0, 0, endpoint.maxPacketSize};
    endpoint.classDescriptors = {endpointTail(kind.version)};
    return endpoint;
}

usb::AlternateSetting setting(const AudioKind& kind, std::uint8_t number, std::uint8_t subClass)
{
    usb::AlternateSetting setting;
    setting.bAlternateSetting = number;
    setting.bInterfaceClass = kAudioClass;
    setting.bInterfaceSubClass = subClass;
    setting.bInterfaceProtocol = kind.version == ClassVersion::V2 ? kProtocol2 : 0;
    return setting;
}

} // namespace

usb::DeviceDescriptors describe(usb::DeviceDescriptors identity, const AudioKind& kind)
{
    const bool is2 = kind.version == ClassVersion::V2;
    identity.speed = speedOf(identity, kind);
    usb::AlternateSetting control = setting(kind, 0, kControlSubClass);
    const QByteArray units = is2 ? units2(kind) : units1(kind);
    control.classDescriptors = {is2 ? controlHeader2(kind, units) : controlHeader1(units), units};
    const usb::AlternateSetting silent = setting(kind, 0, kStreamingSubClass);
    usb::AlternateSetting streaming = setting(kind, 1, kStreamingSubClass);
    streaming.classDescriptors = is2 ? stream2(kind) : stream1(kind);
    streaming.endpoints = {endpointOf(kind, identity.speed)};
    identity.configuration = {};
    identity.configuration.maxPower = 104; // mA, which every speed can say
    identity.configuration.interfaces = {{kControlInterface, {control}}, {kStreamInterface, {silent, streaming}}};
    if (is2) { // which the version demands
        identity.bDeviceClass = kMiscellaneousClass;
        identity.bDeviceSubClass = 2;
        identity.bDeviceProtocol = 1;
        identity.configuration.associations = {{kControlInterface, 2, kAudioClass, 0, kProtocol2, {}}};
    }
    return identity;
}

const usb::Endpoint& streamEndpoint(const usb::DeviceDescriptors& descriptors)
{
    return descriptors.configuration.interfaces.at(kStreamInterface).alternates.at(1).endpoints.front();
}

} // namespace audio
