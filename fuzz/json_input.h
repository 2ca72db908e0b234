// json_input.h: for fuzzers whose input goes through Qt's JSON parser.
#pragma once

/// The parser of Qt 5.15 leaks the containers of some documents: of those that do not parse, and where a key comes
/// twice. Its frames have no names in a stripped library, so everything that Qt's core allocates is let off.
extern "C" const char* __lsan_default_suppressions()
{
    return "leak:libQt5Core";
}
