#include "emulation/process/media_module.h"

#include <QLibrary>

Outcome<std::unique_ptr<DeviceFunction>> makeMediaDevice(const DeviceContext& context,
                                                         const usb::DeviceDescriptors& identity)
{
    QLibrary module(context.folder + QLatin1Char('/') + QLatin1String(kMediaModule)); // stays loaded
    const auto make = reinterpret_cast<MakeMediaDevice>(module.resolve(kMakeMediaDevice));
    if (!make)
        return Fault{QStringLiteral("The devices that play media cannot be loaded: %1").arg(module.errorString())};
    QString fault;
    std::unique_ptr<DeviceFunction> device(make(context, identity, &fault));
    if (!fault.isEmpty())
        return Fault{fault};
    return device;
}
