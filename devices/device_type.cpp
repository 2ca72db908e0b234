#include "devices/device_type.h"

#include <algorithm>
#include <array>

namespace {

struct Words
{
    DeviceType type;
    const char* word;
    const char* label;
    const char* icon; ///< null for the types without an icon
};

constexpr std::array<Words, 8> kTypes{{
    {DeviceType::Camera, "camera", "Camera", nullptr},
    {DeviceType::Fido2, "fido2", "FIDO2", nullptr},
    {DeviceType::Mouse, "mouse", "Mouse", nullptr},
    {DeviceType::Keyboard, "keyboard", "Keyboard", ":/icons/res/keyboard.png"},
    {DeviceType::UsbIp, "usbip", "Network", ":/icons/res/network.png"},
    {DeviceType::Storage, "udisk", "Storage", ":/icons/res/storage.png"},
    {DeviceType::Microphone, "microphone", "Microphone", ":/icons/res/microphone.png"},
    {DeviceType::Speaker, "speaker", "Speaker", ":/icons/res/speaker.png"},
}};

const Words& wordsOf(DeviceType type)
{
    return kTypes[static_cast<std::size_t>(type) - 1];
}

} // namespace

std::optional<DeviceType> deviceTypeFromRecordCode(int code)
{
    if (code < 1 || code > static_cast<int>(kTypes.size()))
        return std::nullopt;
    return static_cast<DeviceType>(code);
}

QString deviceTypeWord(DeviceType type)
{
    return QString::fromLatin1(wordsOf(type).word);
}

std::optional<DeviceType> deviceTypeFromWord(const QString& word)
{
    const auto found = std::find_if(kTypes.begin(), kTypes.end(),
                                    [&](const Words& words) { return word == QLatin1String(words.word); });
    return found == kTypes.end() ? std::nullopt : std::optional(found->type);
}

QString deviceTypeLabel(DeviceType type)
{
    return QString::fromLatin1(wordsOf(type).label);
}

QString deviceTypeIconPath(DeviceType type)
{
    return QString::fromLatin1(wordsOf(type).icon);
}
