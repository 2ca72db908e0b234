// links: plugboard::capture_view
// device_config_fuzzer.cpp: configurations as a device process reports them, to the rows of the viewer.
#include "capture/decode/device_config_rows.h"

#include <QJsonDocument>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include <sanitizer/lsan_interface.h>

namespace {

/// Qt's parser loses the first of two values with the same key; that is no leak of ours.
QJsonObject parse(const QByteArray& json)
{
    const __lsan::ScopedDisabler ignoreLeaks;
    return QJsonDocument::fromJson(json).object();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QByteArray json(reinterpret_cast<const char*>(data), static_cast<int>(size));
    const DetailRow rows = deviceConfigRows(parse(json));
    if (rows.children.size() != 2 || rows.children.front().children.size() != 8)
        std::abort();
    return 0;
}
