#include "app/fido2_settings.h"

#include "dialogs/settings/field_patterns.h"
#include "fido2/file/credentials_file.h"

#include <algorithm>

namespace {

/// Takes the values that the file has. False when it cannot be read.
bool readCredentials(Fido2Parameters& key, const QString& value)
{
    key.credentialsPath = sourceFromScript(value);
    CredentialsFile file(key.credentialsPath);
    if (value.isEmpty() || file.load() != JsonFileContent::State::Object)
        return false;
    const QJsonObject info = file.deviceInfo();
    const auto take = [&info](const char* name, QString& field) {
        if (const QString text = info[QLatin1String(name)].toString(); !text.isEmpty() && patterns::isOneLine(text))
            field = text;
    };
    take("serialNumber", key.serialNumber);
    take("vid", key.vid);
    take("pid", key.pid);
    take("deviceName", key.name);
    take("usbVersion", key.usbVersionChoice);
    key.supportsPin = info[QLatin1String("supportsPin")].toBool(key.supportsPin);
    return true;
}

/// The key's files are named after it.
bool isSerialNumber(const QString& text)
{
    return patterns::isName(text) && !text.contains(QLatin1Char('/')) && !text.contains(QLatin1Char('\\'));
}

const std::vector<SettingRule<Fido2Parameters>>& rules()
{
    using patterns::matches;
    static const std::vector<SettingRule<Fido2Parameters>> all{
        {"credentials", "a credentials file that can be read", readCredentials},
        {"serial", "a text on one line without slashes, not an empty one",
         [](Fido2Parameters& k, const QString& v) { return take(k.serialNumber, v.trimmed(), isSerialNumber(v)); }},
        {"vid", "0x and one to four hexadecimal digits",
         [](Fido2Parameters& k, const QString& v) { return take(k.vid, v, matches(patterns::kPrefixedId, v)); }},
        {"pid", "0x and one to four hexadecimal digits",
         [](Fido2Parameters& k, const QString& v) { return take(k.pid, v, matches(patterns::kPrefixedId, v)); }},
        {"name", "a text on one line, not an empty one",
         [](Fido2Parameters& k, const QString& v) { return take(k.name, v.trimmed(), patterns::isName(v)); }},
        {"usb", "2.0 or 3.0",
         [](Fido2Parameters& k, const QString& v) {
             return take(k.usbVersionChoice, v, v == QLatin1String("2.0") || v == QLatin1String("3.0"));
         }},
        {"pin", "on or off", [](Fido2Parameters& k, const QString& v) { return readSwitch(v, k.supportsPin); }},
    };
    return all;
}

} // namespace

QStringList fido2SettingNames()
{
    return settingNames(rules());
}

SettingsReading<Fido2Parameters> fido2SettingsFrom(const QStringList& assignments, const Fido2Environment& environment)
{
    const AssignmentsReading given = readAssignments(assignments, fido2SettingNames());
    if (!given.error.isEmpty())
        return {std::nullopt, given.error};
    SettingsReading<Fido2Parameters> reading = applyRules(rules(), given.values);
    if (!reading.settings)
        return reading;
    Fido2Parameters& key = *reading.settings;
    if (key.serialNumber.isEmpty())
        key.serialNumber = environment.newSerialNumber();
    if (key.credentialsPath.isEmpty())
        key.credentialsPath = environment.credentialsPath(key.serialNumber);
    return reading;
}
