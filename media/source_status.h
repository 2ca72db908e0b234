// source_status.h: how a source is doing.
#pragma once

#include <string>

enum class SourceState
{
    Connecting, ///< Being opened, or nothing has come of it yet.
    Playing,
    Stalled, ///< Open, and nothing has come for a while.
    Ended,   ///< It was to play once, and has.
    Lost,    ///< Its run has ended, or it could not be opened.
};

struct SourceStatus
{
    SourceState state = SourceState::Connecting;

    /// For people: why it is stalled or lost, or was before it is connected again; else empty.
    std::string reason;
};

/// "connecting", "playing", "stalled", "ended", "lost".
inline const char* stateName(SourceState state)
{
    switch (state) {
    case SourceState::Connecting:
        return "connecting";
    case SourceState::Playing:
        return "playing";
    case SourceState::Stalled:
        return "stalled";
    case SourceState::Ended:
        return "ended";
    case SourceState::Lost:
        break;
    }
    return "lost";
}
