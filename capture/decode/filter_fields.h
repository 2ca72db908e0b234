// filter_fields.h: what a filter can ask of a packet.
#pragma once

#include "capture/channel/packet_store.h"

#include <QString>

#include <functional>
#include <map>
#include <optional>

namespace filter_fields {

/// A field that is a number. `symbols`: names of values.
struct NumberField
{
    std::function<std::optional<std::int64_t>(const PacketView&)> value;
    std::map<QString, std::int64_t> symbols;
};

/// A field that is bytes, or a text when `isText`.
struct BytesField
{
    std::function<std::string_view(const PacketView&)> value;
    bool isText = false;
};

/// A field that is true or false.
using FlagField = std::function<bool(const PacketView&)>;

const std::map<QString, NumberField>& numbers();
const std::map<QString, BytesField>& bytes();
const std::map<QString, FlagField>& flags();

} // namespace filter_fields
