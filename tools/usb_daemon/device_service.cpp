#include "tools/usb_daemon/device_service.h"

#include "tools/usb_daemon/capture_server.h"
#include "tools/usb_daemon/fido2_service.h"
#include "tools/usb_daemon/record_keeper.h"

std::vector<std::unique_ptr<DeviceService>> makeDeviceServices(const DeviceContext& context)
{
    std::vector<std::unique_ptr<DeviceService>> services;
    if (context.device.type == DeviceType::Fido2)
        services.push_back(std::make_unique<Fido2Service>(context));
    services.push_back(std::make_unique<CaptureServer>(context));
    services.push_back(std::make_unique<RecordKeeper>(context));
    return services;
}
