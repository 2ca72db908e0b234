#include "driver/device.h"

namespace driver {

std::optional<std::wstring> Device::id() const
{
    auto id = platform.deviceId(list, index, limits::kDeviceId, detail.machine);
    return id ? std::optional(std::move(*id)) : std::nullopt;
}

std::wstring Device::shownId() const
{
    return id().value_or(L"?");
}

std::optional<std::wstring> Device::text(DeviceProperty property) const
{
    const auto data = platform.deviceProperty(list, index, property);
    if (!data || (data->type != kRegistryText && data->type != kRegistryExpandableText))
        return std::nullopt;
    std::wstring text = decodeText(*data);
    return text.empty() ? std::nullopt : std::optional(std::move(text));
}

TextList Device::texts(DeviceProperty property) const
{
    const auto data = platform.deviceProperty(list, index, property);
    return data && data->type == kRegistryTextList ? decodeTextList(*data) : TextList();
}

std::wstring Device::description() const
{
    return text(DeviceProperty::Description).value_or(L"?");
}

} // namespace driver
