// scsi_pages.h: what the disk says of itself: inquiry data, vital product data and mode pages, as bytes
// (SPC-4, SBC-3).
#pragma once

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <optional>

namespace storage {

/// ASCII; cut or filled up to the width of their fields.
struct UnitIdentity
{
    QByteArray vendor;   ///< 8
    QByteArray product;  ///< 16
    QByteArray revision; ///< 4
    QByteArray serial;
};

QByteArray inquiryData(const UnitIdentity& identity);
/// Nothing for a page that there is not.
std::optional<QByteArray> vitalPage(std::uint8_t code, const UnitIdentity& identity);

/// Which values of mode pages (PC of MODE SENSE); saved ones there are none.
enum class PageControl : std::uint8_t
{
    Current,
    Changeable,
    Default,
    Saved
};

constexpr std::uint8_t kCachingPage = 0x08;

/// Pages of `code` (0x3F: all) with `subpage` 0 or 0xFF, one behind the other; nothing for one that there is not.
std::optional<QByteArray> modePages(std::uint8_t code, std::uint8_t subpage, PageControl control, bool writeCache);
/// WCE of a caching page that a host wants to set; nothing when it would change anything else.
std::optional<bool> wantedWriteCache(const QByteArray& page);

} // namespace storage
