// ctap_hid_rows.h: packets of security keys over HID (CTAP 2.1, section 11.2). Protocol texts: never translated.
#pragma once

#include "capture/decode/detail_row.h"

#include <QByteArray>

/// A group with the fields of one packet under `parent`, and a line that sums it up, empty for too few bytes. PINs and
/// keys that a packet carries are shown like all bytes.
QString addCtapHid(const QByteArray& data, bool fromDevice, DetailRow& parent);
