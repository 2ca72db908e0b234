#include "emulation/video/camera_descriptors.h"

#include <algorithm>
#include <array>
#include <limits>

namespace uvc {

namespace {

constexpr std::uint8_t kVideoClass = 0x0E;
constexpr std::uint8_t kVideoControl = 1; // subclasses of interfaces
constexpr std::uint8_t kVideoStreaming = 2;
constexpr std::uint8_t kCollection = 3;
constexpr std::uint8_t kInterfaceDescriptor = 0x24;
constexpr std::uint8_t kInputTerminal = 1;
constexpr std::uint8_t kOutputTerminal = 3;
constexpr std::uint16_t kVersion15 = 0x0150;
constexpr int kMicroframes = 8000; // a second
constexpr std::uint32_t kPacket = 1024;

/// Bytes of a microframe that the alternate settings from 1 on offer.
constexpr std::array<std::uint32_t, 6> kHighSpeedSizes{128, 256, 512, kPacket, 2 * kPacket, 3 * kPacket};
constexpr std::array<std::uint32_t, 7> kSuperSpeedSizes{kPacket,      2 * kPacket,  4 * kPacket, 8 * kPacket,
                                                        16 * kPacket, 32 * kPacket, 48 * kPacket};

usb::DescriptorWriter classDescriptor(std::uint8_t subtype)
{
    return usb::DescriptorWriter(kInterfaceDescriptor).u8(subtype);
}

std::vector<QByteArray> controlDescriptors(const CameraSetup& setup, std::uint32_t processingControls)
{
    const bool isNew = setup.uvcVersion >= kVersion15;
    const QByteArray camera = classDescriptor(2) // input terminal
                                  .u8(kInputTerminal)
                                  .u16(0x0201) // a camera
                                  .u8(0)
                                  .u8(0)
                                  .u16(0) // no focal lengths
                                  .u16(0)
                                  .u16(0)
                                  .u8(isNew ? 3 : 2)
                                  .bytes(QByteArray(isNew ? 3 : 2, '\0')) // no controls
                                  .take();
    usb::DescriptorWriter processing = classDescriptor(5);
    processing.u8(kProcessingUnit).u8(kInputTerminal).u16(0);
    if (isNew)
        processing.u8(3).u24(processingControls).u8(0).u8(0); // no name, no analog standards
    else
        processing.u8(2).u16(processingControls).u8(0);
    const QByteArray output = classDescriptor(3)
                                  .u8(kOutputTerminal)
                                  .u16(0x0101) // streaming
                                  .u8(0)
                                  .u8(kProcessingUnit)
                                  .u8(0)
                                  .take();
    const QByteArray units = camera + processing.take() + output;
    constexpr int kHeader = 13;
    const QByteArray header = classDescriptor(1)
                                  .u16(setup.uvcVersion)
                                  .u16(std::uint32_t(kHeader + units.size()))
                                  .u32(kClockFrequency)
                                  .u8(1)
                                  .u8(kStreamingInterface)
                                  .take();
    return {header + units};
}

std::uint32_t bitRate(const CameraSetup& setup, std::int64_t pictureBytes)
{
    return std::uint32_t(
        std::min<std::int64_t>(pictureBytes * 8 * setup.rate, std::numeric_limits<std::uint32_t>::max()));
}

/// The one frame of the one format; frame-based formats have their fields in another order.
QByteArray frameDescriptor(const CameraSetup& setup)
{
    constexpr std::array<std::uint8_t, 3> kSubtypes{7, 17, 5}; // as FormatFamily
    usb::DescriptorWriter writer = classDescriptor(kSubtypes.at(std::size_t(setup.family)));
    writer.u8(1).u8(0).u16(std::uint32_t(setup.width)).u16(std::uint32_t(setup.height));
    writer.u32(bitRate(setup, setup.reckonedBytes));
    writer.u32(bitRate(setup, setup.isRaw() ? setup.reckonedBytes : setup.largestPicture()));
    if (!setup.isInterCoded())
        writer.u32(setup.largestPicture());
    writer.u32(setup.frameInterval()).u8(1);
    if (setup.isInterCoded())
        writer.u32(0); // bytes of a line, which compressed pictures have not
    return writer.u32(setup.frameInterval()).take();
}

QByteArray formatDescriptor(const CameraSetup& setup)
{
    constexpr std::array<std::uint8_t, 3> kSubtypes{6, 16, 4};
    usb::DescriptorWriter writer = classDescriptor(kSubtypes.at(std::size_t(setup.family)));
    writer.u8(1).u8(1);
    if (setup.family == FormatFamily::Mjpeg)
        writer.u8(0); // pictures differ in size
    else
        writer.bytes(setup.guid).u8(std::uint32_t(setup.bitsPerPixel));
    writer.u8(1).u8(0).u8(0).u8(0).u8(0);
    if (setup.isInterCoded())
        writer.u8(1); // pictures differ in size
    return writer.take();
}

std::vector<QByteArray> streamingDescriptors(const CameraSetup& setup)
{
    const QByteArray colours = classDescriptor(13).u8(1).u8(1).u8(4).take(); // BT.709, BT.709, SMPTE 170M
    const QByteArray formats = formatDescriptor(setup) + frameDescriptor(setup) + colours;
    constexpr int kHeader = 14;
    const QByteArray header = classDescriptor(1)
                                  .u8(1) // format
                                  .u16(std::uint32_t(kHeader + formats.size()))
                                  .u8(kVideoEndpoint)
                                  .u8(0)
                                  .u8(kOutputTerminal)
                                  .u8(0) // no still images
                                  .u8(0)
                                  .u8(0)
                                  .u8(1)
                                  .u8(0)
                                  .take();
    return {header + formats};
}

usb::Endpoint isochronousEndpoint(std::uint32_t bytes, bool isSuperSpeed)
{
    usb::Endpoint endpoint;
    endpoint.bEndpointAddress = kVideoEndpoint;
    endpoint.type = usb::TransferType::Isochronous;
    endpoint.synchronization = usb::Synchronization::Asynchronous;
    endpoint.bInterval = 1; // every microframe
    const std::uint32_t packets = (bytes + kPacket - 1) / kPacket;
    endpoint.maxPacketSize = std::uint16_t(bytes / packets);
    if (!isSuperSpeed) {
        endpoint.transactionsPerInterval = std::uint8_t(packets);
        return endpoint;
    }
    const std::uint32_t bursts = (packets + 15) / 16;
    endpoint.companion =
        usb::EndpointCompanion{std::uint8_t(packets / bursts - 1), std::uint8_t(bursts - 1), std::uint16_t(bytes)};
    return endpoint;
}

usb::Endpoint bulkEndpoint(bool isSuperSpeed)
{
    usb::Endpoint endpoint;
    endpoint.bEndpointAddress = kVideoEndpoint;
    endpoint.maxPacketSize = isSuperSpeed ? 1024 : 512;
    if (isSuperSpeed)
        endpoint.companion = usb::EndpointCompanion{15, 0, 0};
    return endpoint;
}

usb::AlternateSetting setting(const CameraSetup& setup, std::uint8_t subClass, std::uint8_t number)
{
    usb::AlternateSetting alternate;
    alternate.bAlternateSetting = number;
    alternate.bInterfaceClass = kVideoClass;
    alternate.bInterfaceSubClass = subClass;
    alternate.bInterfaceProtocol = setup.uvcVersion >= kVersion15 ? 1 : 0;
    return alternate;
}

std::vector<std::uint32_t> isochronousSizes(bool isSuperSpeed)
{
    if (isSuperSpeed)
        return {kSuperSpeedSizes.begin(), kSuperSpeedSizes.end()};
    return {kHighSpeedSizes.begin(), kHighSpeedSizes.end()};
}

usb::Interface streamingInterface(const CameraSetup& setup)
{
    usb::Interface streaming{kStreamingInterface, {setting(setup, kVideoStreaming, 0)}};
    usb::AlternateSetting& idle = streaming.alternates.front();
    idle.classDescriptors = streamingDescriptors(setup);
    if (!setup.isIsochronous) {
        idle.endpoints.push_back(bulkEndpoint(setup.isSuperSpeed));
        return streaming;
    }
    for (const std::uint32_t bytes : isochronousSizes(setup.isSuperSpeed)) {
        const auto number = std::uint8_t(streaming.alternates.size());
        streaming.alternates.push_back(setting(setup, kVideoStreaming, number));
        streaming.alternates.back().endpoints.push_back(isochronousEndpoint(bytes, setup.isSuperSpeed));
    }
    return streaming;
}

} // namespace

usb::DeviceDescriptors cameraDescriptors(usb::DeviceDescriptors identity, const CameraSetup& setup,
                                         std::uint32_t processingControls)
{
    identity.speed = setup.isSuperSpeed ? usb::Speed::Super : usb::Speed::High;
    identity.bDeviceClass = 0xEF;
    identity.bDeviceSubClass = 2;
    identity.bDeviceProtocol = 1;
    usb::Interface control{kControlInterface, {setting(setup, kVideoControl, 0)}};
    control.alternates.front().name = identity.product;
    control.alternates.front().classDescriptors = controlDescriptors(setup, processingControls);
    identity.configuration = {};
    identity.configuration.maxPower = identity.speed == usb::Speed::Super ? 896 : 500;
    identity.configuration.associations = {{kControlInterface, 2, kVideoClass, kCollection, 0, identity.product}};
    identity.configuration.interfaces = {control, streamingInterface(setup)};
    return identity;
}

std::uint32_t largestPayload(const CameraSetup& setup)
{
    if (!setup.isIsochronous)
        return setup.isSuperSpeed ? 64 * 1024 : 16 * 1024;
    // Compressed pictures differ in size: twice what they are reckoned with leaves room for the larger ones.
    const std::int64_t bytes = setup.reckonedBytes * setup.rate * (setup.isRaw() ? 1 : 2) / kMicroframes;
    const std::int64_t wanted = bytes + bytes / 64 + 64;
    const std::vector<std::uint32_t> sizes = isochronousSizes(setup.isSuperSpeed);
    const auto found =
        std::find_if(sizes.begin(), sizes.end(), [wanted](std::uint32_t size) { return size >= wanted; });
    return found == sizes.end() ? sizes.back() : *found;
}

} // namespace uvc
