#include "devices/device_commands.h"
#include "tests/emulation/end_request.h"
#include "tests/support/suite_registry.h"
#include "tests/support/test_key.h"
#include "tests/support/usbip_host.h"

#include <QLocalSocket>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>

namespace {

const char* const kKeyboard = "7\n1d6b\n0002\nKeyboard Device\n0200\n104\nUSB HID\nEND";
constexpr int kPatience = 20000; // ms; a busy machine starts a process slowly

QString recordPath(const QString& name, qint64 processId)
{
    return QStringLiteral("%1/device_%2_%3.json").arg(QCoreApplication::applicationDirPath(), name).arg(processId);
}

QStringList recordsOf(qint64 processId)
{
    const QStringList names{QStringLiteral("device_*_%1.json*").arg(processId)};
    return QDir(QCoreApplication::applicationDirPath()).entryList(names, QDir::Files);
}

QString mouseRecord()
{
    return QStringLiteral("{\"createTime\":\"TIME\",\"deviceName\":\"Mouse Device\",\"deviceType\":3,"
                          "\"host\":{\"attached\":false,\"configured\":false,\"way\":\"none\"},\"isRunning\":true,"
                          "\"lastUpdateTime\":\"TIME\",\"privateParams\":[],\"processId\":\"ID\",\"publicParams\":[],"
                          "\"usbPid\":\"0002\",\"usbVersion\":\"0200\",\"usbVid\":\"1d6b\"}");
}

} // namespace

/// Real processes, whose records appear beside this program.
class UsbDaemonTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QFile file(m_folder.filePath(QStringLiteral("key.pem")));
        QVERIFY(file.open(QIODevice::WriteOnly));
        QVERIFY(file.write(m_key.privatePem) > 0);
    }

    void cleanup()
    {
        for (const auto& device : m_devices) {
            device->kill();
            device->waitForFinished();
        }
        // All of them, also of those that ended by themselves: systems give process ids again, and soon.
        QDir folder(QCoreApplication::applicationDirPath());
        const QStringList records = folder.entryList({QStringLiteral("device_*.json*")}, QDir::Files);
        for (const QString& name : records)
            QVERIFY2(folder.remove(name), qPrintable(name));
        m_devices.clear();
    }

    void writesTheRecordOfItsDevice()
    {
        QProcess* const device = startDevice();
        QVERIFY(device);
        device->write(message("3\n1D6B\n2\nMic é\n1\n2.0\n1\nhttp://127.0.0.1:1/audio.aac\n2\n48000\n0\nEND"));
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(recordPath(QStringLiteral("Mic é"), device->processId())), kPatience);
        QTRY_COMPARE(
            recordText(*device),
            QStringLiteral("{\"createTime\":\"TIME\",\"deviceName\":\"Mic é\",\"deviceType\":7,"
                           "\"host\":{\"attached\":false,\"configured\":false,\"way\":\"none\"},\"isRunning\":true,"
                           "\"lastUpdateTime\":\"TIME\",\"privateParams\":[],\"processId\":\"ID\",\"publicParams\":"
                           "[\"3\",\"1D6B\",\"2\",\"Mic é\",\"1\",\"2.0\",\"1\",\"http://127.0.0.1:1/audio.aac\","
                           "\"2\",\"48000\",\"0\",\"END\"],\"usbPid\":\"0002\",\"usbVersion\":\"0300\","
                           "\"usbVid\":\"1d6b\"}"));
    }

    void readsWithTheCompiledInKey()
    {
        QFile file(QStringLiteral(PLUGBOARD_DEVELOPMENT_KEY));
        if (!file.open(QIODevice::ReadOnly))
            QSKIP("this build has a public key of its own and no development pair");
        QProcess* const device = startDevice(KeyFile::CompiledIn);
        QVERIFY(device);
        device->write(TestKey(file.readAll()).encrypt(kKeyboard).toBase64() + '\n');
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(recordPath(QStringLiteral("Keyboard Device"), device->processId())),
                                 kPatience);
    }

    void outlivesItsInput()
    {
        QProcess* const device = startDevice();
        QVERIFY(device);
        device->write(message(kKeyboard));
        device->closeWriteChannel();
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(recordPath(QStringLiteral("Keyboard Device"), device->processId())),
                                 kPatience);
        QVERIFY(!device->waitForFinished(300));
    }

    /// Only a process that failed has something to say; it must reach its own exit code.
    void outlivesTheReaderOfItsOutput()
    {
        QProcess reader;
        QProcess device;
        const QString program = QCoreApplication::applicationDirPath() + QStringLiteral("/usb-daemon.exe");
        device.setProcessChannelMode(QProcess::MergedChannels);
        device.setStandardOutputProcess(&reader);
        device.start(program, localMode());
        reader.start(program, {QStringLiteral("--wrong")});
        QVERIFY(reader.waitForFinished(kPatience));
        device.write("\n");
        QVERIFY(device.waitForFinished(kPatience));
        QCOMPARE(device.exitStatus(), QProcess::NormalExit);
        QCOMPARE(device.exitCode(), 1);
    }

    void becomesTheMouseWithoutAMessage_data()
    {
        QTest::addColumn<QByteArray>("input");
        QTest::addColumn<bool>("closed");
        QTest::newRow("input stays open and silent") << QByteArray() << false;
        QTest::newRow("input ends at once") << QByteArray() << true;
        QTest::newRow("input ends within the line") << message(kKeyboard).chopped(1) << true;
        QTest::newRow("line is never finished") << message(kKeyboard).chopped(1) << false;
    }

    void becomesTheMouseWithoutAMessage()
    {
        QFETCH(QByteArray, input);
        QFETCH(bool, closed);
        QProcess* const device = startDevice();
        QVERIFY(device);
        device->write(input);
        if (closed)
            device->closeWriteChannel();
        QTRY_COMPARE_WITH_TIMEOUT(recordText(*device), mouseRecord(), kPatience);
        device->write("\n");
        const bool ended = device->waitForFinished(100); // what comes too late changes nothing
        QVERIFY2(!ended, qPrintable(QStringLiteral("exit code %1").arg(device->exitCode())));
        QCOMPARE(recordText(*device), mouseRecord());
    }

    /// As on a busy machine, where the message is there in time and the process is not.
    void takesWhatCameWhileItDidNotRun()
    {
        QProcess* const device = startDevice();
        QVERIFY(device);
        QTest::qWait(500); // its time has begun, or this shows nothing
        QVERIFY(holdUp(*device));
        device->write(message(kKeyboard));
        QTest::qWait(2000);
        QVERIFY(letGoOn(*device));
        QTRY_COMPARE_WITH_TIMEOUT(recordsOf(device->processId()).size(), 1, kPatience);
        QVERIFY(QFile::exists(recordPath(QStringLiteral("Keyboard Device"), device->processId())));
    }

    void removesItsRecordWhenAsked()
    {
        EndRequest request;
        QProcess* const device = startDevice();
        QVERIFY(device);
        const qint64 processId = device->processId();
        device->write(message(kKeyboard));
        QTRY_VERIFY_WITH_TIMEOUT(!recordsOf(processId).isEmpty(), kPatience);
        QVERIFY(request.send(*device));
        QVERIFY(device->waitForFinished(kPatience));
        QCOMPARE(device->exitStatus(), QProcess::NormalExit);
        QCOMPARE(device->exitCode(), 0);
        QCOMPARE(recordsOf(processId), QStringList());
    }

    void takesCommands()
    {
        QProcess* const device = startDevice();
        QVERIFY(device);
        const qint64 processId = device->processId();
        QVERIFY(!sendDeviceCommand(processId, QStringLiteral("status")).done); // there is no device yet
        device->write(message("5\n1d6b\n0002\nSpeaker\n0200\n2\n44100\nEND"));
        QTRY_VERIFY_WITH_TIMEOUT(!recordsOf(processId).isEmpty(), kPatience);
        const CommandOutcome status = sendDeviceCommand(processId, QStringLiteral("status"));
        QVERIFY2(status.line.startsWith(QStringLiteral("OK: speaker: ")), qPrintable(status.line));
        QVERIFY(status.done);
        const CommandOutcome unknown = sendDeviceCommand(processId, QStringLiteral("dance"));
        QCOMPARE(unknown.line, QStringLiteral("ERROR: A speaker knows: record FILE, stop, status."));
        QVERIFY(!unknown.done);

        // Lines one after the other, and one without an end.
        QLocalSocket socket;
        socket.connectToServer(deviceCommandServer(processId));
        QVERIFY(socket.waitForConnected(kPatience));
        socket.write("status\n\n status \n");
        QTRY_COMPARE_WITH_TIMEOUT(socket.bytesAvailable() > 0 && socket.peek(1000).count('\n') == 3, true, kPatience);
        QCOMPARE(socket.readAll().replace(status.line.toUtf8(), "status"),
                 QByteArray("status\nERROR: no command\nstatus\n"));
        socket.write(QByteArray(200'000, 'x'));
        QTRY_COMPARE_WITH_TIMEOUT(socket.state(), QLocalSocket::UnconnectedState, kPatience);
    }

    /// The way of a USB/IP client: what the record says leads to the device.
    void offersItsDeviceToHosts()
    {
        QProcess* const device = startDevice(KeyFile::Own, localMode(), "server");
        QVERIFY(device);
        const qint64 processId = device->processId();
        device->write(message(kKeyboard));
        QTRY_VERIFY_WITH_TIMEOUT(!recordsOf(processId).isEmpty(), kPatience);
        const auto host = [this, device] {
            return QJsonDocument::fromJson(recordText(*device).toUtf8())[QLatin1String("host")].toObject();
        };
        QCOMPARE(host().value(QLatin1String("way")).toString(), QStringLiteral("server"));
        QCOMPARE(host().value(QLatin1String("address")).toString(), QStringLiteral("127.0.0.1"));
        tests::UsbIpHost first(quint16(host().value(QLatin1String("port")).toInt()));
        QCOMPARE(first.import(host().value(QLatin1String("busId")).toString()), usbip::OperationStatus::Ok);
        QCOMPARE(first.control("8006000100001200").data.size(), 18);
        QCOMPARE(first.control("0009010000000000").status, 0);
        QTRY_VERIFY_WITH_TIMEOUT(host().value(QLatin1String("configured")).toBool(), kPatience);

        QVERIFY(sendDeviceCommand(processId, QStringLiteral("detach")).done);
        QVERIFY(first.isEnded());
        QTRY_COMPARE_WITH_TIMEOUT(host().value(QLatin1String("way")).toString(), QStringLiteral("none"), kPatience);
        QVERIFY(sendDeviceCommand(processId, QStringLiteral("attach"))
                    .line.startsWith(QLatin1String("OK: server 127.0.0.1:")));
        QTRY_COMPARE_WITH_TIMEOUT(host().value(QLatin1String("way")).toString(), QStringLiteral("server"), kPatience);
        tests::UsbIpHost second(quint16(host().value(QLatin1String("port")).toInt()));
        QCOMPARE(second.import(QStringLiteral("1-1")), usbip::OperationStatus::Ok);
    }

    void explainsWhyItEnds_data()
    {
        QTest::addColumn<QByteArray>("input");
        QTest::addColumn<int>("keyFile");
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QString>("sentence");
        const auto addRow = [](const char* name, const QByteArray& input, KeyFile keyFile, const char* sentence) {
            QTest::newRow(name) << input << int(keyFile) << localMode() << 1 << QString::fromUtf8(sentence);
        };
        addRow("lone line feed", "\n", KeyFile::Own, "usb-daemon: The message is empty.");
        addRow("not base64", "hello\n", KeyFile::Own, "usb-daemon: The message is not base64 text.");
        addRow("line without an end", QByteArray(1024 * 1024 + 1, 'A'), KeyFile::Own,
               "usb-daemon: The message is longer than 1048576 bytes.");
        addRow("name that leads out of the folder",
               message(QByteArray(kKeyboard).replace("Keyboard Device", "x/../../y")), KeyFile::Own,
               "usb-daemon: The device name \"x/../../y\" cannot be part of a file name.");
        addRow("name that is too long for a file",
               message(QByteArray(kKeyboard).replace("Keyboard Device", QByteArray(300, 'x'))), KeyFile::Own,
               "cannot be written: ");
        addRow(
            "camera whose pictures the bus cannot carry",
            message("1\n1d6b\n0104\nCamera\n0\n\n0\n23\n1920\n1080\n30\n0x0100\n0\nEND"), KeyFile::Own,
            "usb-daemon: USB 2.0 cannot carry NV12 pictures of 1920x1080 30 times a second; it carries at most 17, or "
            "1450x814 at 30.");
        addRow("key file missing", message(kKeyboard), KeyFile::Missing, "cannot be read: ");

        const auto addUsageRow = [](const char* name, const char* arguments) {
            QTest::newRow(name) << QByteArray() << int(KeyFile::Own)
                                << QString::fromUtf8(arguments).split(QLatin1Char(' '), Qt::SkipEmptyParts) << 2
                                << QStringLiteral("usage: usb-daemon.exe --mode Local");
        };
        addUsageRow("no arguments", "");
        addUsageRow("mode unknown", "--mode Remote");
        addUsageRow("mode in other letters", "--mode local");
        addUsageRow("argument too many", "--mode Local --verbose");
    }

    void explainsWhyItEnds()
    {
        QFETCH(QByteArray, input);
        QFETCH(int, keyFile);
        QFETCH(QStringList, arguments);
        QFETCH(int, exitCode);
        QFETCH(QString, sentence);
        QProcess* const device = startDevice(KeyFile(keyFile), arguments);
        QVERIFY(device);
        const qint64 processId = device->processId();
        device->write(input);
        QVERIFY(device->waitForFinished(kPatience));
        const QString said = QString::fromUtf8(device->readAllStandardError());
        QVERIFY2(said.contains(sentence), qPrintable(said));
        QCOMPARE(device->exitStatus(), QProcess::NormalExit);
        QCOMPARE(device->exitCode(), exitCode);
        QCOMPARE(recordsOf(processId), QStringList());
    }

    void namesEachWrongField_data()
    {
        QTest::addColumn<QString>("list");   // fields between "|", a right one each
        QTest::addColumn<QString>("wrong");  // a wrong one for each
        QTest::addColumn<QString>("faults"); // what is said to be expected at each
        const QString code = QStringLiteral("\"1\", \"2\", \"3\", \"5\", \"6\" or \"7\"");
        const QString id = QStringLiteral("one to four hexadecimal digits");
        const QString name = QStringLiteral("text without control characters");
        const QString identity = QStringLiteral("%1|%2|%2|%3|").arg(code, id, name);
        const QString version = QStringLiteral("\"0\" for USB 2.0 or \"1\" for USB 3.0|");
        const QString bcd = QStringLiteral("\"0200\"|");
        const QString end = QStringLiteral("|\"END\"");
        const auto addRow = [](const char* device, const char* list, const char* wrong, const QString& faults) {
            QTest::newRow(device) << QString::fromUtf8(list) << QString::fromUtf8(wrong) << faults;
        };
        addRow("camera", "1|0x1234|0x5678|UVC Camera|0|/v.mp4|7|-1|1280|720|30|0x0100|0|END",
               "9|x|12345|a\tb|2|a\tb|-1|-2|0|16385|0|0x0110|yes|end",
               identity + version +
                   QStringLiteral("a file path or URL|a number from 0 to 999999|a number from -1 to 9999|"
                                  "a number from 1 to 16384|a number from 1 to 16384|a number from 1 to 1000|"
                                  "\"0x0100\" or \"0x0150\"|\"0\" or \"1\"") +
                   end);
        addRow("security key", "2|0x1234|0x5678|FIDO2 Security Key|1|FIDO2_20260102030405_1234|/f/k.json|1|END",
               "4||0x|a\tb|0200|a\\b|a\tb|2|",
               identity + version + QStringLiteral("text that can be part of a file name|a file path|\"0\" or \"1\"") +
                   end);
        addRow("USB/IP device", "3|1d6b|0002|USBIP Device|0200|127.0.0.1:3240|1-1|END",
               "03|1d6g|-1|a\tb|0300|::1:3240|1-1.|END ",
               identity + bcd + QStringLiteral("an IPv4 address, \":\" and a port|a bus id such as \"1-1\"") + end);
        addRow("microphone", "3|1d6b|0002|USB Microphone|1|2.0|0|test_audio.wav|2|48000|1|END",
               "33|1 d|00002|a\tb|3|3.0|on|a\tb|9|7999|true|E",
               identity + version +
                   QStringLiteral("\"1.0\" or \"2.0\"|\"0\" or \"1\"|a file path or URL|a number from 1 to 8|"
                                  "a number from 8000 to 192000|\"0\" or \"1\"") +
                   end);
        addRow("speaker", "5|1d6b|0002|Speaker Device|0200|2|44100|END", "0x5|.|,|a\tb|200|0|192001|END.",
               identity + bcd + QStringLiteral("a number from 1 to 8|a number from 8000 to 192000") + end);
        addRow("storage", "6|1d6b|0002|USB Storage Device|0200|1024|FAT32|END", "|1d6b2|2h|a\tb|0201|0|fat32|end",
               identity + bcd + QStringLiteral("a number from 1 to 1048576|\"FAT32\"") + end);
        addRow("keyboard", "7|1d6b|0002|Keyboard Device|0200|104|USB HID|END", "8|0xx|0x12345|a\tb|2|105|USB|EN",
               identity + bcd + QStringLiteral("\"104\"|\"USB HID\"") + end);
    }

    /// One process for each field, all at once: each ends with one sentence about that field, and leaves nothing.
    void namesEachWrongField()
    {
        QFETCH(QString, list);
        QFETCH(QString, wrong);
        QFETCH(QString, faults);
        const QChar bar = QLatin1Char('|');
        const QStringList fields = list.split(bar), wrongTexts = wrong.split(bar), expected = faults.split(bar);
        QCOMPARE(wrongTexts.size(), fields.size());
        QCOMPARE(expected.size(), fields.size());
        std::vector<QProcess*> devices;
        for (int i = 0; i < fields.size(); ++i) {
            QStringList changed = fields;
            changed[i] = wrongTexts[i];
            devices.push_back(startDevice());
            QVERIFY(devices.back());
            devices.back()->write(message(changed.join(QLatin1Char('\n')).toUtf8()));
        }
        for (int i = 0; i < fields.size(); ++i) {
            QProcess& device = *devices[std::size_t(i)];
            const qint64 processId = device.processId();
            QVERIFY(device.state() == QProcess::NotRunning || device.waitForFinished(kPatience));
            const QString said = QString::fromUtf8(device.readAllStandardError()).trimmed();
            const QString shown = QString(wrongTexts[i]).replace(QLatin1Char('\t'), QLatin1Char('?'));
            const QRegularExpression sentence(
                QStringLiteral("^usb-daemon: Field %1 \\([A-Za-z0-9 -]+\\) is \"%2\"; expected %3\\.$")
                    .arg(QString::number(i), QRegularExpression::escape(shown),
                         QRegularExpression::escape(expected[i])));
            QVERIFY2(sentence.match(said).hasMatch(), qPrintable(said));
            QCOMPARE(device.exitStatus(), QProcess::NormalExit);
            QCOMPARE(device.exitCode(), 1);
            QCOMPARE(recordsOf(processId), QStringList());
        }
    }

private:
    enum class KeyFile
    {
        Own,
        CompiledIn,
        Missing
    };

    QProcess* startDevice(KeyFile keyFile = KeyFile::Own, const QStringList& arguments = localMode(),
                          const char* host = "none");
    QString recordText(const QProcess& device) const;
    QByteArray message(const QByteArray& list) const { return m_key.encrypt(list).toBase64() + '\n'; }
    static QStringList localMode() { return {QStringLiteral("--mode"), QStringLiteral("Local")}; }

    TestKey m_key;
    QTemporaryDir m_folder;
    std::vector<std::unique_ptr<QProcess>> m_devices;
};

QProcess* UsbDaemonTest::startDevice(KeyFile keyFile, const QStringList& arguments, const char* host)
{
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.remove(QStringLiteral("PLUGBOARD_DEVICE_KEY"));
    environment.insert(QStringLiteral("PLUGBOARD_HOST"), QLatin1String(host)); // this machine's kernel is no test's
    if (keyFile != KeyFile::CompiledIn)
        environment.insert(
            QStringLiteral("PLUGBOARD_DEVICE_KEY"),
            m_folder.filePath(keyFile == KeyFile::Own ? QStringLiteral("key.pem") : QStringLiteral("none")));
    m_devices.push_back(std::make_unique<QProcess>());
    QProcess* const device = m_devices.back().get();
    device->setProcessEnvironment(environment);
    device->start(QCoreApplication::applicationDirPath() + QStringLiteral("/usb-daemon.exe"), arguments);
    return device->waitForStarted(kPatience) ? device : nullptr;
}

/// The record of a device as one line with its id and its times replaced; empty while there is none.
QString UsbDaemonTest::recordText(const QProcess& device) const
{
    const QStringList names = recordsOf(device.processId());
    QFile file(QCoreApplication::applicationDirPath() + QLatin1Char('/') + names.value(0));
    if (names.size() != 1 || !file.open(QIODevice::ReadOnly))
        return {};
    QString text = QString::fromUtf8(QJsonDocument::fromJson(file.readAll()).toJson(QJsonDocument::Compact));
    text.replace(QString::number(device.processId()), QStringLiteral("ID"));
    static const QRegularExpression time(QStringLiteral("\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d"));
    return text.replace(time, QStringLiteral("TIME"));
}

PLUGBOARD_SUITE(UsbDaemonTest)
#include "usb_daemon_test.moc"
