// descriptors.h: what a device says of itself, as plain structs; lengths, counts and totals are computed.
//
// Fields have the names of USB 2.0 chapter 9 and USB 3.2 chapter 9. Descriptors of classes are made with
// DescriptorWriter and stand where the host expects them: behind their interface or their endpoint.
#pragma once

#include "emulation/usb/transfer.h"

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace usb {

enum class Speed : std::uint8_t
{
    Full,  ///< 12 Mbit/s
    High,  ///< 480 Mbit/s
    Super, ///< 5 Gbit/s
};

/// Writes one descriptor: its length byte is right whatever is appended.
class DescriptorWriter
{
public:
    explicit DescriptorWriter(std::uint8_t bDescriptorType);

    DescriptorWriter& u8(std::uint32_t value);
    DescriptorWriter& u16(std::uint32_t value); ///< little-endian, as all words
    DescriptorWriter& u24(std::uint32_t value);
    DescriptorWriter& u32(std::uint32_t value);
    DescriptorWriter& bytes(const QByteArray& bytes);

    /// At most 255 bytes in all; asserted.
    QByteArray take() const;

private:
    QByteArray m_bytes;
};

/// SuperSpeed endpoint companion (USB 3.2, 9.6.7).
struct EndpointCompanion
{
    std::uint8_t bMaxBurst = 0;    ///< packets in a burst, less one
    std::uint8_t bmAttributes = 0; ///< bulk: streams; isochronous: Mult, packets bursts less one
    std::uint16_t wBytesPerInterval = 0;
};

enum class Synchronization : std::uint8_t
{
    None,
    Asynchronous,
    Adaptive,
    Synchronous
};

enum class IsochronousUsage : std::uint8_t
{
    Data,
    Feedback,
    ImplicitFeedback
};

struct Endpoint
{
    std::uint8_t bEndpointAddress = 0; ///< number, with 0x80 for IN
    TransferType type = TransferType::Bulk;
    std::uint16_t maxPacketSize = 0;          ///< bytes of one transaction
    std::uint8_t transactionsPerInterval = 1; ///< 1 to 3, high-speed periodic endpoints only
    std::uint8_t bInterval = 0;               ///< as the speed and type define it
    Synchronization synchronization = Synchronization::None;
    IsochronousUsage usage = IsochronousUsage::Data;
    /// The nine-byte form of USB Audio 1.0: bRefresh and bSynchAddress follow.
    struct AudioTail
    {
        std::uint8_t bRefresh = 0;
        std::uint8_t bSynchAddress = 0;
    };
    std::optional<AudioTail> audioTail;
    std::optional<EndpointCompanion> companion; ///< needed at SuperSpeed, and not elsewhere
    std::vector<QByteArray> classDescriptors;   ///< behind the endpoint and its companion
};

struct AlternateSetting
{
    std::uint8_t bAlternateSetting = 0;
    std::uint8_t bInterfaceClass = 0;
    std::uint8_t bInterfaceSubClass = 0;
    std::uint8_t bInterfaceProtocol = 0;
    QString name;                             ///< empty: no string
    std::vector<QByteArray> classDescriptors; ///< behind the interface, before its endpoints
    std::vector<Endpoint> endpoints;
};

/// The alternate settings of one bInterfaceNumber, the first with bAlternateSetting 0.
struct Interface
{
    std::uint8_t bInterfaceNumber = 0;
    std::vector<AlternateSetting> alternates;
};

/// Interface association (USB 2.0 ECN); stands before its first interface.
struct InterfaceAssociation
{
    std::uint8_t bFirstInterface = 0;
    std::uint8_t bInterfaceCount = 0;
    std::uint8_t bFunctionClass = 0;
    std::uint8_t bFunctionSubClass = 0;
    std::uint8_t bFunctionProtocol = 0;
    QString name;
};

struct Configuration
{
    std::uint8_t bConfigurationValue = 1;
    bool selfPowered = false;
    bool remoteWakeup = false;
    std::uint16_t maxPower = 100; ///< mA
    QString name;
    std::vector<InterfaceAssociation> associations;
    std::vector<Interface> interfaces; ///< numbered from 0 without gaps
};

struct DeviceDescriptors
{
    Speed speed = Speed::High;
    std::uint16_t bcdUSB = 0x0200;
    std::uint8_t bDeviceClass = 0;
    std::uint8_t bDeviceSubClass = 0;
    std::uint8_t bDeviceProtocol = 0;
    std::uint16_t idVendor = 0;
    std::uint16_t idProduct = 0;
    std::uint16_t bcdDevice = 0x0100;
    QString manufacturer;
    QString product;
    QString serialNumber; ///< empty: none
    Configuration configuration;
};

/// Bytes of the standard descriptors; empty when there is none of the index. At SuperSpeed bMaxPacketSize0 is 9 (2^9).
QByteArray deviceDescriptor(const DeviceDescriptors& device);
QByteArray configurationDescriptor(const DeviceDescriptors& device);
/// Index 0: the language table (English, United States). Others: the strings in the order in which descriptors name
/// them.
QByteArray stringDescriptor(const DeviceDescriptors& device, std::uint8_t index, std::uint16_t language);
/// High speed only: what the device would be at the other speed (USB 2.0, 9.6.2).
QByteArray deviceQualifierDescriptor(const DeviceDescriptors& device);
/// Binary object store with the USB 2.0 extension, and at SuperSpeed the SuperSpeed capability; empty below 0x0201.
QByteArray binaryObjectStoreDescriptor(const DeviceDescriptors& device);

/// One sentence for each fault of the whole set: what a host would refuse, and what it would repair in silence (an
/// interval that the speed does not know, a packet size out of range, a missing companion, gaps in numbers, a total
/// that differs).
std::vector<QString> faultsOf(const DeviceDescriptors& device);
/// The same for descriptors as bytes, as they travel: what tests hand in broken.
std::vector<QString> faultsOfBytes(const QByteArray& deviceBytes, const QByteArray& configurationBytes, Speed speed);

} // namespace usb
