// packet_decoder.h: decodes the bytes of a captured packet into rows of names and values.
#pragma once

#include "capture/channel/capture_types.h"
#include "capture/decode/detail_row.h"

/// Each decoder adds its row, with all that it found beneath it, under `parent`. Bytes that are too few for a form add
/// one row "Error" instead. Names and values are protocol texts and are not translated.
namespace packet_decoder {

/// USB 2.0 setup packet, 8 bytes.
void decodeSetup(const QByteArray& setup, DetailRow& parent);

/// Command block wrapper of Bulk-Only Transport, 31 bytes.
void decodeBulkOnly(const QByteArray& data, DetailRow& parent);

/// USB Attached SCSI information unit.
void decodeAttachedScsi(const QByteArray& data, DetailRow& parent);

void decodeIsochronous(const QByteArray& data, DetailRow& parent);

/// Whether the data begins with the signature of a command block wrapper.
bool isBulkOnly(const QByteArray& data);

} // namespace packet_decoder
