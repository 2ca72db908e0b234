#include "driver/class_filters.h"

namespace driver {

Outcome<TextList> readFilters(DevicePlatform& platform, RegistryKey& key, const std::wstring& name)
{
    const auto data = platform.queryValue(key, name);
    if (!data)
        return data.error() == errors::kFileNotFound ? Outcome<TextList>(TextList())
                                                     : Outcome<TextList>::failed(data.error());
    const bool text =
        data->type == kRegistryTextList || data->type == kRegistryText || data->type == kRegistryExpandableText;
    return text ? Outcome<TextList>(decodeTextList(*data)) : Outcome<TextList>::failed(errors::kInvalidData);
}

} // namespace driver
