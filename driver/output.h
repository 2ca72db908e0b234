// output.h: the one place where the engine's text leaves it.
#pragma once

#include <string_view>

namespace driver {

enum class Stream
{
    Normal,
    Error
};

class Output
{
public:
    virtual ~Output() = default;

    /// Wide text with LF line ends. A stream that the process does not have swallows it.
    virtual void write(Stream stream, std::wstring_view text) = 0;
};

/// The process's standard streams: UTF-8, on Windows with CR LF line ends. A console there gets characters, whatever
/// its code page. It never changes the mode or orientation of a stream that others use too.
Output& systemOutput();

} // namespace driver
