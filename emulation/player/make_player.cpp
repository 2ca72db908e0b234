#include "emulation/player/make_player.h"

#include <utility>

std::unique_ptr<SourcePlayer> makePlayer(VideoFileSettings settings)
{
    return std::make_unique<SourcePlayer>(std::move(settings));
}
