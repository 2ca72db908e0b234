#include "devices/parameter_list.h"

namespace {

/// A list of one of the types that have no settings: same vendor, product and USB version for all.
QStringList fixedList(const QString& deviceCode, const QString& name, const QStringList& details)
{
    return QStringList{deviceCode, QStringLiteral("1d6b"), QStringLiteral("0002"), name, QStringLiteral("0200")} +
           details + QStringList{QStringLiteral("END")};
}

} // namespace

QStringList Fido2Parameters::parameterList() const
{
    return {QStringLiteral("2"),
            vid,
            pid,
            name,
            parameter::flag(usbVersionChoice != QLatin1String("2.0")),
            serialNumber,
            credentialsPath,
            parameter::flag(supportsPin),
            QStringLiteral("END")};
}

QStringList usbIpParameterList(const QString& server)
{
    return fixedList(QStringLiteral("3"), QStringLiteral("USBIP Device"),
                     {server + QStringLiteral(":3240"), QStringLiteral("1-1")});
}

QStringList speakerParameterList()
{
    return fixedList(QStringLiteral("5"), QStringLiteral("Speaker Device"),
                     {QStringLiteral("2"), QStringLiteral("44100")});
}

QStringList storageParameterList()
{
    return fixedList(QStringLiteral("6"), QStringLiteral("USB Storage Device"),
                     {QStringLiteral("1024"), QStringLiteral("FAT32")});
}

QStringList keyboardParameterList()
{
    return fixedList(QStringLiteral("7"), QStringLiteral("Keyboard Device"),
                     {QStringLiteral("104"), QStringLiteral("USB HID")});
}

QString joinParameters(const QStringList& fields)
{
    return fields.join(QLatin1Char('\n'));
}

QStringList splitParameters(const QString& text)
{
    return text.split(QLatin1Char('\n'));
}
