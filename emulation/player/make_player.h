// make_player.h: where the devices get their players from.
#pragma once

#include "media/source_player.h"

#include <memory>

/// A player that is not started. Null where what it needs cannot be loaded, as the log says. The device process has a
/// definition of its own (emulation/process/media_module.h), which a program's linker prefers to the one here.
std::unique_ptr<SourcePlayer> makePlayer(VideoFileSettings settings);
