// class_requests.h: requests of the classes that interfaces are of (HID 1.11, Video 1.1, Audio 1.0 and 2.0, Mass
// Storage Bulk-Only 1.0). Protocol texts: never translated.
#pragma once

#include "capture/decode/class_names.h"
#include "capture/decode/detail_row.h"

#include <QByteArray>

#include <optional>

/// "HID SET_IDLE", "Video SET_CUR PROBE"; empty for a class or a request without a name here. `setup`: 8 bytes of a
/// class request. `unit`: of video or audio, that it is for; nothing when that is not known.
QString classRequestText(const QByteArray& setup, const InterfaceKind& interface, const std::optional<UnitKind>& unit);

/// The fields of the data of such a request under `parent`, where they are known.
void addClassRequestData(const QByteArray& setup, const QByteArray& data, const InterfaceKind& interface,
                         DetailRow& parent);

/// Whether it is HID's GET_REPORT or SET_REPORT, whose data is a report.
bool isReportRequest(const QByteArray& setup, const InterfaceKind& interface);
