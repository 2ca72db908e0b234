#include "driver/class_filters.h"

namespace driver {

Outcome<TextList> readFilters(RegistryKey& key, const std::wstring& name)
{
    const auto data = key.value(name);
    if (!data)
        return data.error() == errors::kFileNotFound ? Outcome<TextList>(TextList()) : Failure{data.error()};
    const bool text =
        data->type == kRegistryTextList || data->type == kRegistryText || data->type == kRegistryExpandableText;
    return text ? Outcome<TextList>(decodeTextList(*data)) : Failure{errors::kInvalidData};
}

} // namespace driver
