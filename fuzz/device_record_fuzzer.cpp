// links: plugboard::devices
// Record files. Whatever was read must come back from what is written of it, to the byte.
#include "devices/device_record.h"

#include <cstdint>
#include <cstdlib>

/// Qt 5's JSON parser loses the earlier value of a member that stands twice in an object when it is a list or an
/// object.
extern "C" const char* __lsan_default_suppressions()
{
    return "leak:libQt5Core";
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const auto json = QByteArray::fromRawData(reinterpret_cast<const char*>(data), static_cast<int>(size));
    const QByteArray written = serializeDeviceRecord(parseDeviceRecord(json));
    const DeviceRecord read = parseDeviceRecord(written);
    if (serializeDeviceRecord(read) != written)
        std::abort();
    // Derived texts must cope with any record.
    if (!deviceRecordFileName(read).startsWith(QLatin1String("device_")) ||
        microphoneLabel(read.publicParams).isEmpty())
        std::abort();
    return 0;
}
