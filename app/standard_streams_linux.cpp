#include "app/standard_streams.h"

#include <cstdio>

namespace {

bool writeTo(std::FILE* stream, const QString& text)
{
    const QByteArray bytes = text.toUtf8();
    const auto size = static_cast<std::size_t>(bytes.size());
    return std::fwrite(bytes.constData(), 1, size, stream) == size && std::fflush(stream) == 0;
}

} // namespace

bool printOut(const QString& text)
{
    return writeTo(stdout, text);
}

bool printError(const QString& text)
{
    return writeTo(stderr, text);
}
