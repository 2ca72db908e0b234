#include "devices/device_record.h"

#include "tests/support/suite_registry.h"

#include <QtTest>

class DeviceRecordTest : public QObject
{
    Q_OBJECT

private slots:
    void readsLeniently_data();
    void readsLeniently();
    void writesWhatDeviceProcessesRead();
    void labelsMicrophones_data();
    void labelsMicrophones();
};

namespace {

/// One line that shows every field, "|" between them.
QString describe(const DeviceRecord& record)
{
    const QStringList fields{QString::number(record.deviceType),
                             record.deviceName,
                             QString::number(record.processId),
                             record.usbVid,
                             record.usbPid,
                             record.usbVersion,
                             record.publicParams.join(QLatin1Char(',')),
                             record.privateParams.join(QLatin1Char(',')),
                             record.createTime.toString(Qt::ISODate),
                             record.lastUpdateTime.toString(Qt::ISODate),
                             record.isRunning ? QStringLiteral("running") : QStringLiteral("stopped")};
    return fields.join(QLatin1Char('|'));
}

constexpr char kEmpty[] = "0||0|||||||"
                          "|stopped";

} // namespace

void DeviceRecordTest::readsLeniently_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<QString>("fields");
    const auto row = [](const char* name, const QByteArray& json, const char* fields) {
        QTest::newRow(name) << json << QString::fromLatin1(fields);
    };
    row("complete",
        R"({"deviceType":2,"deviceName":"Key","processId":"4312","usbVid":"1d6b","usbPid":"0002","usbVersion":"2.0",
            "publicParams":["a","","c"],"privateParams":["p"],"createTime":"2024-02-29T23:59:58",
            "lastUpdateTime":"2024-03-01T00:00:00Z","isRunning":true})",
        "2|Key|4312|1d6b|0002|2.0|a,,c|p|2024-02-29T23:59:58|2024-03-01T00:00:00Z|running");
    row("process id as a number", R"({"processId":4312,"deviceName":"n"})", "0|n|0||||||||stopped");
    row("process id with trailing text", R"({"processId":"12abc"})", kEmpty);
    row("process id above 32 bits", R"({"processId":"4294967297"})", "0||4294967297||||||||stopped");
    row("process id above 64 bits", R"({"processId":"9223372036854775808"})", kEmpty);
    row("process id below 0", R"({"processId":"-7"})", "0||-7||||||||stopped");
    row("every member mistyped",
        R"({"deviceType":"1","deviceName":1,"processId":null,"usbVid":[],"usbPid":{},"usbVersion":2,"publicParams":"x",
            "privateParams":{"a":1},"createTime":0,"lastUpdateTime":false,"isRunning":"true"})",
        kEmpty);
    row("elements that are not strings become empty ones", R"({"publicParams":[1,"b",null,["c"],true]})",
        "0||0||||,b,,,|||"
        "|stopped");
    row("type with a fraction", R"({"deviceType":1.5})", kEmpty);
    row("date in another form", R"({"createTime":"01.02.2024 10:00"})", kEmpty);
    row("half-written", R"({"deviceType":1,"deviceName":"Cam","processId":"43)", kEmpty);
    row("empty file", "", kEmpty);
    row("array", R"([{"deviceType":1}])", kEmpty);
    row("not UTF-8", "{\"deviceName\":\"\xff\xfe\"}", kEmpty);
    row("nested too deeply", QByteArray(100000, '['), kEmpty);
}

void DeviceRecordTest::readsLeniently()
{
    QFETCH(QByteArray, json);
    QTEST(describe(parseDeviceRecord(json)), "fields");
}

void DeviceRecordTest::writesWhatDeviceProcessesRead()
{
    DeviceRecord record;
    record.deviceType = 7;
    record.deviceName = QStringLiteral("Mic");
    record.processId = 4312;
    record.publicParams = QStringList{QStringLiteral("a\"b"), QString()};
    record.createTime = QDateTime(QDate(2024, 2, 29), QTime(1, 2, 3));
    record.isRunning = true;
    const QByteArray expected = R"({
    "createTime": "2024-02-29T01:02:03",
    "deviceName": "Mic",
    "deviceType": 7,
    "isRunning": true,
    "lastUpdateTime": "",
    "privateParams": [
    ],
    "processId": "4312",
    "publicParams": [
        "a\"b",
        ""
    ],
    "usbPid": "",
    "usbVersion": "",
    "usbVid": ""
}
)";
    QCOMPARE(serializeDeviceRecord(record), expected);
    QCOMPARE(describe(parseDeviceRecord(serializeDeviceRecord(record))), describe(record));
    record.deviceName = QStringLiteral("%2 100%1");
    QCOMPARE(deviceRecordFileName(record), QStringLiteral("device_%2 100%1_4312.json"));
}

void DeviceRecordTest::labelsMicrophones_data()
{
    QTest::addColumn<QString>("params");
    QTest::addColumn<QString>("label");
    const auto row = [](const char* name, const char* params, const char* label) {
        QTest::newRow(name) << QString::fromLatin1(params) << QString::fromLatin1(label);
    };
    row("five elements", "3,v,p,n,0", "Microphone (UAC 1.0, Normal)");
    row("six elements", "3,v,p,n,0,2.0", "Microphone (UAC 2.0, Normal)");
    row("real time", "3,v,p,n,0,2.0,1", "Microphone (UAC 2.0, RT)");
    row("another mode", "3,v,p,n,0,1.0,true", "Microphone (UAC 1.0, Normal)");
    row("a place marker as version", "3,v,p,n,0,%2,1", "Microphone (UAC %2, RT)");
    row("an empty version is shown as it is", "3,v,p,n,0,,0", "Microphone (UAC , Normal)");
}

void DeviceRecordTest::labelsMicrophones()
{
    QFETCH(QString, params);
    QTEST(microphoneLabel(params.split(QLatin1Char(','))), "label");
}

PLUGBOARD_SUITE(DeviceRecordTest)
#include "device_record_test.moc"
