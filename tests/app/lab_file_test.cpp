#include "app/lab_file.h"
#include "tests/support/suite_registry.h"

#include <QDir>
#include <QtTest>

namespace {

QString describe(const LabReading& lab)
{
    QStringList devices;
    for (const CreationRequest& device : lab.devices)
        devices << deviceTypeWord(device.type) + QLatin1Char(' ') + device.parameters.join(QLatin1Char(','));
    return lab.error + devices.join(QLatin1Char('|'));
}

} // namespace

class LabFileTest : public QObject
{
    Q_OBJECT

private slots:
    void reads_data()
    {
        QTest::addColumn<QByteArray>("json");
        QTest::addColumn<QString>("expected");
        const auto row = [](const char* name, const char* json, const char* expected) {
            QTest::newRow(name) << QByteArray(json).replace('\'', '"') << QString::fromLatin1(expected);
        };
        row("types and settings of each kind of value",
            "{'devices': [{'type': 'mouse'}, {'type': 'camera', 'settings': {'source': 'a/clip.mp4', 'rate': 30, "
            "'iso': "
            "true}}]}",
            "mouse |camera 1,0x1234,0x5678,UVC Camera,0,FOLDER/a/clip.mp4,7,-1,640,480,30,0x0100,1,END");
        row("no JSON", "{'devices':\n [}", "Line 2: object is missing after a comma.");
        row("another value", "[]", "A lab is an object with the member 'devices'.");
        row("nothing in it", "{'devices': []}", "devices: A lab has an array of 1 to 100 devices.");
        QTest::newRow("too many") << R"({"devices": [)" + QByteArray(R"({"type": "mouse"},)").repeated(100) +
                                         R"({"type": "mouse"}]})"
                                  << QStringLiteral("devices: A lab has an array of 1 to 100 devices.");
        row("an unknown member of the file", "{'devices': [], 'name': 1}", "Unknown member 'name'; there are devices.");
        row("a device that is no object", "{'devices': ['mouse']}", "devices[0]: A device is an object.");
        row("an unknown member of a device", "{'devices': [{'type': 'mouse'}, {'typ': 'mouse'}]}",
            "devices[1]: Unknown member 'typ'; there are type, settings.");
        row("an unknown type", "{'devices': [{'type': 'toaster'}]}", "devices[0].type: Unknown device type 'toaster'.");
        row("no type", "{'devices': [{}]}", "devices[0].type: Unknown device type ''.");
        row("settings that are no object", "{'devices': [{'type': 'camera', 'settings': []}]}",
            "devices[0].settings: Settings are an object.");
        row("a setting that is no value", "{'devices': [{'type': 'camera', 'settings': {'rate': null}}]}",
            "devices[0].settings.rate: A setting is a text, a number, true or false.");
        row("a wrong value", "{'devices': [{'type': 'camera', 'settings': {'rate': 'fast'}}]}",
            "devices[0].settings: 'fast' is no value for rate; expected frames a second from 1 to 1000.");
        row("settings of a type without any", "{'devices': [{'type': 'mouse', 'settings': {'dpi': 800}}]}",
            "devices[0].settings: A device of type 'mouse' has no settings to give.");
    }

    void reads()
    {
        QFETCH(QByteArray, json);
        QFETCH(QString, expected);
        const QString before = QDir::currentPath();
        const QString temporary = QDir::tempPath();
        const LabReading lab = parseLab(json, temporary);
        expected.replace(QStringLiteral("FOLDER"), QDir(temporary).canonicalPath());
        QCOMPARE(describe(lab), expected);
        QCOMPARE(QDir::currentPath(), before);
    }
};

PLUGBOARD_SUITE(LabFileTest)
#include "lab_file_test.moc"
