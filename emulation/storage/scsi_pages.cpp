#include "emulation/storage/scsi_pages.h"

#include "emulation/storage/sense.h"

#include <QtEndian>

namespace storage {

namespace {

constexpr std::uint8_t kSupportedPages = 0x00;
constexpr std::uint8_t kSerialPage = 0x80;
constexpr std::uint8_t kIdentificationPage = 0x83;
constexpr std::uint8_t kBlockLimitsPage = 0xB0;
constexpr std::uint8_t kCharacteristicsPage = 0xB1;

constexpr std::uint8_t kControlPage = 0x0A;
constexpr std::uint8_t kExceptionsPage = 0x1C;
constexpr std::uint8_t kAllPages = 0x3F;
constexpr int kWriteCacheByte = 2;
constexpr std::uint8_t kWriteCacheEnable = 0x04;

QByteArray padded(const QByteArray& text, int width)
{
    return text.leftJustified(width, ' ', true);
}

/// A vital page: type of the device, code, length, content.
QByteArray page(std::uint8_t code, const QByteArray& content)
{
    QByteArray bytes(4, '\0');
    bytes[1] = char(code);
    qToBigEndian(std::uint16_t(content.size()), bytes.data() + 2);
    return bytes + content;
}

/// A designator by vendor and serial number: T10's form, ASCII, of the logical unit.
QByteArray identification(const UnitIdentity& identity)
{
    const QByteArray name = padded(identity.vendor, 8) + padded(identity.product, 16) + identity.serial;
    QByteArray designator = QByteArray::fromHex("02010000");
    designator[3] = char(name.size());
    return designator + name;
}

QByteArray characteristics()
{
    QByteArray content(60, '\0');
    content[1] = 1; // turns not
    return content;
}

/// A mode page of `length` bytes behind its header.
QByteArray modePage(std::uint8_t code, int length)
{
    QByteArray bytes(length + 2, '\0');
    bytes[0] = char(code);
    bytes[1] = char(length);
    return bytes;
}

QByteArray cachingPage(PageControl control, bool writeCache)
{
    QByteArray bytes = modePage(kCachingPage, 18);
    const bool set = control == PageControl::Current ? writeCache : true; // on by default, and to be changed
    bytes[kWriteCacheByte] = char(set ? kWriteCacheEnable : 0);
    return bytes;
}

} // namespace

QByteArray senseData(const Sense& sense)
{
    constexpr std::uint8_t kCurrentFixed = 0x70;
    constexpr std::uint8_t kInformationValid = 0x80;
    QByteArray data(18, '\0');
    data[0] = char(kCurrentFixed | (sense.information ? kInformationValid : 0));
    data[2] = char(sense.key);
    qToBigEndian(sense.information.value_or(0), data.data() + 3);
    data[7] = char(data.size() - 8);
    qToBigEndian(sense.code, data.data() + 12);
    return data;
}

QByteArray inquiryData(const UnitIdentity& identity)
{
    QByteArray data(8, '\0');
    data[1] = char(0x80); // the medium can be removed
    data[2] = 6;          // SPC-4
    data[3] = 2;          // format of these data
    data += padded(identity.vendor, 8) + padded(identity.product, 16) + padded(identity.revision, 4);
    data[4] = char(data.size() - 5);
    return data;
}

std::optional<QByteArray> vitalPage(std::uint8_t code, const UnitIdentity& identity)
{
    switch (code) {
    case kSupportedPages:
        return page(code, QByteArray::fromHex("008083b0b1"));
    case kSerialPage:
        return page(code, identity.serial);
    case kIdentificationPage:
        return page(code, identification(identity));
    case kBlockLimitsPage:
        return page(code, QByteArray(60, '\0')); // no limits
    case kCharacteristicsPage:
        return page(code, characteristics());
    default:
        return std::nullopt;
    }
}

std::optional<QByteArray> modePages(std::uint8_t code, std::uint8_t subpage, PageControl control, bool writeCache)
{
    if (subpage != 0 && subpage != 0xFF)
        return std::nullopt;
    QByteArray pages;
    if (code == kCachingPage || code == kAllPages)
        pages += cachingPage(control, writeCache);
    if (code == kControlPage || code == kAllPages)
        pages += modePage(kControlPage, 10);
    if (code == kExceptionsPage || code == kAllPages)
        pages += modePage(kExceptionsPage, 10);
    return pages.isEmpty() ? std::nullopt : std::optional(pages);
}

std::optional<bool> wantedWriteCache(const QByteArray& page)
{
    QByteArray rest = page;
    const bool writeCache = (rest[kWriteCacheByte] & kWriteCacheEnable) != 0;
    rest[kWriteCacheByte] = char(rest[kWriteCacheByte] & ~kWriteCacheEnable);
    return rest == modePage(kCachingPage, 18) ? std::optional(writeCache) : std::nullopt;
}

} // namespace storage
