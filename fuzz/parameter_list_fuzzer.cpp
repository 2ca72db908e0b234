// links: plugboard::emulation_message
// Parameter texts. An accepted one must describe its device in the form that the rest of the process relies on.
#include "devices/parameter_list.h"
#include "emulation/message/parameter_list_parser.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QString text = QString::fromUtf8(reinterpret_cast<const char*>(data), int(size));
    const auto parsed = parseParameterList(splitParameters(text));
    if (!parsed) {
        if (parsed.fault().isEmpty() || parsed.fault().size() > 300)
            std::abort();
        return 0;
    }
    const DeviceDescription& device = parsed.value();
    if (device.vid.size() != 4 || device.pid.size() != 4 || device.usbVersion.size() != 4 ||
        device.parameters.join(QLatin1Char('\n')) != text || !deviceTypeFromRecordCode(int(device.type)))
        std::abort();
    return 0;
}
