// storage_rows.h: what mass storage sends around its data: status wrappers of Bulk-Only Transport and information units
// of USB Attached SCSI. Protocol texts: never translated.
#pragma once

#include "capture/decode/detail_row.h"

#include <QByteArray>

/// A group with the fields under `parent`, and a line that sums them up, which is empty for what is neither.
QString addBulkOnlyStatus(const QByteArray& data, DetailRow& parent);
/// `pipe`: bPipeID of the endpoint. Data pipes carry no information units.
QString addInformationUnit(const QByteArray& data, std::uint8_t pipe, DetailRow& parent);
/// The name that SCSI gives an operation; its code when it has none here.
QString scsiName(std::uint8_t operation);
