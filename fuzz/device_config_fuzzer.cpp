// links: plugboard::capture
// device_config_fuzzer.cpp: configurations as a device process reports them, to the rows of the viewer.
#include "capture/device_config_rows.h"

#include <QJsonDocument>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QByteArray json(reinterpret_cast<const char*>(data), static_cast<int>(size));
    const DetailRow rows = deviceConfigRows(QJsonDocument::fromJson(json).object());
    if (rows.children.size() != 2 || rows.children.front().children.size() != 8)
        std::abort();
    return 0;
}
