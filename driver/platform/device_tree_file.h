// device_tree_file.h: the simulated system's tree as a JSON file.
#pragma once

#include "driver/platform/device_tree.h"

#include <filesystem>
#include <optional>

namespace driver {

/// The tree in UTF-8 JSON. Members that are missing have their defaults; nothing for text that is no such tree (a
/// member of another type, a GUID or number that is none).
std::optional<DeviceTree> parseTree(std::string_view json);

/// Indented; members with their default are left out. Bytes of an INF that are not UTF-8 become U+FFFD.
std::string treeText(const DeviceTree& tree);

/// A fresh tree when there is no such file. Fails when it is larger than 64 MiB, cannot be read or holds no tree.
Outcome<DeviceTree> loadTree(const std::filesystem::path& file);

/// Whole or not at all: a file beside it is written and takes its place. Fails for a tree that could not be loaded
/// again.
Status saveTree(const DeviceTree& tree, const std::filesystem::path& file);

} // namespace driver
