// media_library.h: the library of ours that holds FFmpeg and OpenCV, loaded where they are used: they bring some 150
// libraries, for which no command of a script and no keyboard waits.
#pragma once

inline constexpr const char* kMediaModule =
    "plugboard-media-devices"; ///< beside the programs, with the system's suffix
