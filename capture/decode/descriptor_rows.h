// descriptor_rows.h: descriptors that a packet carries, as rows.
#pragma once

#include "capture/decode/class_names.h"
#include "capture/decode/detail_row.h"

#include <QByteArray>

#include <optional>

/// A group for each descriptor in `data`, the data of a packet, with its fields beneath it. Those of a class are read
/// as the interface before them calls for. `requested` is the descriptor type that the request named: strings and
/// report descriptors do not follow from the bytes. What is left at the end, and descriptors of impossible length, are
/// shown as bytes. Protocol texts: not translated.
void addDescriptors(const QByteArray& data, std::uint8_t requested, DetailRow& parent);

/// One descriptor of several behind each other.
struct DescriptorAt
{
    std::uint8_t type = 0;
    int offset = 0;
    int size = 0; ///< bytes that are there, at least 2
};

/// The one that begins at `offset`; nothing at the end, and where a length makes no sense.
std::optional<DescriptorAt> descriptorAt(const QByteArray& bytes, int offset);
/// What an interface descriptor says, which has 9 bytes.
InterfaceKind interfaceKindAt(const QByteArray& bytes, int offset);

/// "Configuration Descriptor"; null for a type without a name here.
const char* descriptorName(std::uint8_t type);
