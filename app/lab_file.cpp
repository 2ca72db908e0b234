#include "app/lab_file.h"

#include "app/device_settings.h"
#include "runtime/shown_text.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <optional>

namespace {

constexpr qint64 kLargestFile = 1024 * 1024;
constexpr int kMostDevices = 100;

LabReading fault(const QString& member, const QString& sentence)
{
    return {{}, (member.isEmpty() ? QString() : member + QStringLiteral(": ")) + sentence};
}

/// The sentence that names a member that is not among `known`; empty without one.
QString unknownMember(const QJsonObject& object, const QStringList& known)
{
    const QStringList names = object.keys();
    const auto stranger =
        std::find_if(names.begin(), names.end(), [&](const QString& n) { return !known.contains(n); });
    return stranger == names.end() ? QString()
                                   : QStringLiteral("Unknown member '%1'; there are %2.")
                                         .arg(shownText(*stranger), known.join(QStringLiteral(", ")));
}

/// As --set has the value; nothing for what is neither a text nor a number nor true or false.
std::optional<QString> settingText(const QJsonValue& value)
{
    if (value.isBool())
        return value.toBool() ? QStringLiteral("on") : QStringLiteral("off");
    if (value.isString() || value.isDouble())
        return numberText(value);
    return std::nullopt;
}

/// Makes a folder the current one for as long as it lives.
class CurrentFolder
{
public:
    explicit CurrentFolder(const QString& folder) : m_before(QDir::currentPath()) { QDir::setCurrent(folder); }
    ~CurrentFolder() { QDir::setCurrent(m_before); }
    CurrentFolder(const CurrentFolder&) = delete;
    CurrentFolder& operator=(const CurrentFolder&) = delete;

private:
    QString m_before;
};

/// One device; `member` is where it stands.
LabReading readDevice(const QJsonValue& value, const QString& member)
{
    if (!value.isObject())
        return fault(member, QStringLiteral("A device is an object."));
    const QJsonObject device = value.toObject();
    const QString stranger = unknownMember(device, {QStringLiteral("type"), QStringLiteral("settings")});
    if (!stranger.isEmpty())
        return fault(member, stranger);
    const QString word = device[QLatin1String("type")].toString();
    const auto type = deviceTypeFromWord(word);
    if (!type)
        return fault(member + QStringLiteral(".type"),
                     QStringLiteral("Unknown device type '%1'.").arg(shownText(word)));

    const QString settingsMember = member + QStringLiteral(".settings");
    const QJsonValue settings = device[QLatin1String("settings")];
    if (!settings.isUndefined() && !settings.isObject())
        return fault(settingsMember, QStringLiteral("Settings are an object."));
    QStringList assignments;
    const QJsonObject values = settings.toObject();
    for (auto setting = values.begin(); setting != values.end(); ++setting) {
        const auto text = settingText(setting.value());
        if (!text)
            return fault(settingsMember + QLatin1Char('.') + shownText(setting.key()),
                         QStringLiteral("A setting is a text, a number, true or false."));
        assignments << setting.key() + QLatin1Char('=') + *text;
    }
    const ScriptedParameters scripted = scriptedParameters(*type, assignments);
    if (!scripted.error.isEmpty())
        return fault(settingsMember, scripted.error);
    return {{{*type, scripted.list}}, {}};
}

} // namespace

LabReading parseLab(const QByteArray& json, const QString& folder)
{
    QJsonParseError parse;
    const QJsonDocument document = QJsonDocument::fromJson(json, &parse);
    if (parse.error != QJsonParseError::NoError)
        return fault(
            {}, QStringLiteral("Line %1: %2.").arg(json.left(parse.offset).count('\n') + 1).arg(parse.errorString()));
    const QString devices = QStringLiteral("devices");
    if (!document.isObject())
        return fault({}, QStringLiteral("A lab is an object with the member 'devices'."));
    const QString stranger = unknownMember(document.object(), {devices});
    if (!stranger.isEmpty())
        return fault({}, stranger);
    const QJsonArray list = document.object()[devices].toArray();
    if (list.isEmpty() || list.size() > kMostDevices)
        return fault(devices, QStringLiteral("A lab has an array of 1 to %1 devices.").arg(kMostDevices));

    const CurrentFolder current(folder);
    LabReading lab;
    for (int i = 0; i < list.size(); ++i) {
        LabReading device = readDevice(list[i], QStringLiteral("devices[%1]").arg(i));
        if (!device.error.isEmpty())
            return device;
        lab.devices.push_back(std::move(device.devices.front()));
    }
    return lab;
}

LabReading readLab(const QString& path)
{
    QFile file(path);
    if (!QFileInfo(file).isFile() || !file.open(QIODevice::ReadOnly))
        return fault(path, QStringLiteral("The file cannot be read."));
    const QByteArray json = file.read(kLargestFile + 1);
    if (json.size() > kLargestFile)
        return fault(path, QStringLiteral("The file is larger than 1 MiB."));
    LabReading lab = parseLab(json, QFileInfo(path).absolutePath());
    return lab.error.isEmpty() ? lab : fault(path, lab.error);
}

QString labName(const QString& path)
{
    return QDir::cleanPath(QFileInfo(path).absoluteFilePath());
}
