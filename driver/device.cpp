#include "driver/device.h"

namespace driver {

Outcome<std::wstring> Device::id() const
{
    return list.id(index, limits::kDeviceId);
}

std::wstring Device::shownId() const
{
    auto own = id();
    causes.reportUnless(0, own.error(), kUnknownId);
    return own ? std::move(*own) : kUnknownId;
}

Outcome<NodeStatus> Device::status() const
{
    const auto read = list.status(index);
    if (!configuration::isAbsence(read.error()))
        reportUnless(0, read.error());
    return read;
}

Outcome<RegistryData> Device::read(DeviceProperty property) const
{
    auto data = list.property(index, property);
    reportUnless(errors::kInvalidData, data.error());
    return data;
}

void Device::reportUnless(ErrorCode absence, ErrorCode error) const
{
    if (error == 0 || error == absence)
        return;
    const auto own = id();
    causes.report(error, own ? *own : kUnknownId);
}

std::optional<std::wstring> Device::text(DeviceProperty property) const
{
    const auto data = read(property);
    if (!data || (data->type != kRegistryText && data->type != kRegistryExpandableText))
        return std::nullopt;
    std::wstring text = decodeText(*data);
    return text.empty() ? std::nullopt : std::optional(std::move(text));
}

TextList Device::texts(DeviceProperty property) const
{
    const auto data = read(property);
    return data && data->type == kRegistryTextList ? decodeTextList(*data) : TextList();
}

std::wstring Device::description() const
{
    return text(DeviceProperty::Description).value_or(L"?");
}

} // namespace driver
