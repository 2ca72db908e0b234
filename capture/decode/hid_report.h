// hid_report.h: HID report descriptors and the reports that they describe (HID 1.11, section 6.2.2).
#pragma once

#include "capture/decode/detail_row.h"

#include <QByteArray>
#include <QStringList>

#include <cstdint>
#include <vector>

enum class HidReportKind : std::uint8_t
{
    Input,
    Output,
    Feature,
};

/// What one main item of a report descriptor says: fields side by side of one size.
struct HidField
{
    HidReportKind kind = HidReportKind::Input;
    std::uint8_t reportId = 0;
    int bit = 0;     ///< where the first one begins, without the byte of the report id
    int bitSize = 0; ///< of each, 1 to 32
    int count = 0;
    bool isConstant = false;
    bool isVariable = false; ///< each stands for a usage; otherwise the values name usages
    std::int32_t logicalMinimum = 0;
    std::vector<std::uint32_t> usages; ///< page above, id below; the last one goes for all that follow
};

/// Keeps at most 1000 fields with 4096 usages in all; what a descriptor says beyond is not decoded.
struct HidReportForm
{
    std::vector<HidField> fields;
    bool hasReportIds = false;
    std::uint32_t firstUsage = 0; ///< of the first collection

    static HidReportForm of(const QByteArray& descriptor);
};

/// The items of a descriptor, which `data` begins with, as rows under `parent`.
void addReportDescriptor(const QByteArray& data, DetailRow& parent);

/// The fields of a report as rows, and what is not 0 among them as texts: "a", "X -3".
struct HidReportText
{
    DetailRow rows;
    QStringList active;
};
HidReportText hidReportText(const QByteArray& data, const HidReportForm& form, HidReportKind kind);
