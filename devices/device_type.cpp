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

/// The texts are values; how windows show them in another language stands in the catalogues.
constexpr std::array<Words, 8> kTypes{{
    {DeviceType::Camera, QT_TRANSLATE_NOOP("DeviceType", "camera"), QT_TRANSLATE_NOOP("DeviceType", "Camera"), nullptr},
    {DeviceType::Fido2, QT_TRANSLATE_NOOP("DeviceType", "fido2"), QT_TRANSLATE_NOOP("DeviceType", "FIDO2"), nullptr},
    {DeviceType::Mouse, QT_TRANSLATE_NOOP("DeviceType", "mouse"), QT_TRANSLATE_NOOP("DeviceType", "Mouse"), nullptr},
    {DeviceType::Keyboard, QT_TRANSLATE_NOOP("DeviceType", "keyboard"), QT_TRANSLATE_NOOP("DeviceType", "Keyboard"),
     ":/icons/res/keyboard.png"},
    {DeviceType::UsbIp, QT_TRANSLATE_NOOP("DeviceType", "usbip"), QT_TRANSLATE_NOOP("DeviceType", "Network"),
     ":/icons/res/network.png"},
    {DeviceType::Storage, QT_TRANSLATE_NOOP("DeviceType", "udisk"), QT_TRANSLATE_NOOP("DeviceType", "Storage"),
     ":/icons/res/storage.png"},
    {DeviceType::Microphone, QT_TRANSLATE_NOOP("DeviceType", "microphone"),
     QT_TRANSLATE_NOOP("DeviceType", "Microphone"), ":/icons/res/microphone.png"},
    {DeviceType::Speaker, QT_TRANSLATE_NOOP("DeviceType", "speaker"), QT_TRANSLATE_NOOP("DeviceType", "Speaker"),
     ":/icons/res/speaker.png"},
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
