#include "driver/output.h"

#include "driver/text.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <string>

namespace driver {

namespace {

/// Past the stream's buffer, so that it does not matter whether the program uses the stream narrow or wide.
void writeAll(int descriptor, std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t written = ::write(descriptor, bytes.data(), bytes.size());
        if (written > 0)
            bytes.remove_prefix(static_cast<std::size_t>(written));
        else if (written == 0 || errno != EINTR)
            return;
    }
}

class StandardOutput final : public Output
{
public:
    void write(Stream stream, std::wstring_view text) override
    {
        std::fflush(stream == Stream::Error ? stderr : stdout);
        writeAll(stream == Stream::Error ? STDERR_FILENO : STDOUT_FILENO, toUtf8(text));
    }
};

} // namespace

Output& systemOutput()
{
    static StandardOutput output;
    return output;
}

} // namespace driver
