#include "app/device_table.h"
#include "app/main_window.h"
#include "devices/device_record_manager.h"
#include "devices/device_type.h"
#include "fido2/channel/fido2_channels.h"
#include "tests/support/log_lines.h"
#include "tests/support/scripted_prompter.h"
#include "tests/support/suite_registry.h"
#include "tests/support/when_opens.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QLocalServer>
#include <QProcess>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTextEdit>
#include <QtTest>

#include <memory>

namespace {

const qint64 kProcessId = QCoreApplication::applicationPid(); // who serves its channel is checked

void click(const QDialog& dialog, const char* name)
{
    dialog.findChild<QPushButton*>(QLatin1String(name))->click();
}

const QString kConfirmation = QStringLiteral("FIDO2 User Confirmation");

QByteArray question(const char* rpId)
{
    return QByteArray(R"({"type":"user_confirmation_request","operation":"make_credential","data":{"rpId":"%"}})")
        .replace("%", rpId);
}

void send(QLocalSocket* socket, const QByteArray& bytes)
{
    socket->write(bytes);
    socket->flush();
}

/// The next answer, empty when none comes.
QJsonObject response(QLocalSocket* socket)
{
    QJsonObject message;
    const bool came = QTest::qWaitFor([&] {
        if (socket->bytesAvailable() > 0)
            message = QJsonDocument::fromJson(socket->readAll()).object();
        return message.value(QStringLiteral("type")) == QStringLiteral("user_confirmation_response");
    });
    return came ? message : QJsonObject();
}

QByteArray notConnected()
{
    return QByteArray("FIDO2 client for process ") + QByteArray::number(kProcessId) + " not available or not connected";
}

struct Device
{
    Device()
    {
        const QString name = QStringLiteral("Fido2Server_%1").arg(kProcessId);
        QLocalServer::removeServer(name);
        server.listen(name);
    }

    /// After its ping was read.
    QLocalSocket* accept()
    {
        if (!QTest::qWaitFor([this] { return server.hasPendingConnections(); }))
            return nullptr;
        QLocalSocket* socket = server.nextPendingConnection();
        if (QTest::qWaitFor([socket] { return socket->bytesAvailable() > 0; }))
            socket->readAll();
        return socket;
    }

    QLocalServer server;
};

} // namespace

class Fido2DeskTest : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        m_prompter = ScriptedPrompter();
    }

    void detailsAreRefusedInOrder_data()
    {
        QTest::addColumn<QStringList>("cells");
        QTest::addColumn<bool>("record");
        QTest::addColumn<QString>("serial");
        QTest::addColumn<QString>("box");
        const QString key = QStringLiteral("Key");
        const QString pid = QString::number(kProcessId);
        const auto row = [&](const QString& type) { return QStringList{key, pid, {}, {}, {}, type}; };
        QTest::newRow("an empty row") << QStringList() << false << QString()
                                      << "warn|Error|No device found at selected row";
        QTest::newRow("another type") << row(QStringLiteral("Camera")) << true << QStringLiteral("S1")
                                      << "info|Info|Device details are only available for FIDO2 devices";
        QTest::newRow("no record") << row(QStringLiteral("FIDO2")) << false << QString()
                                   << "warn|Error|Could not load FIDO2 device record";
        QTest::newRow("no serial number in the record")
            << row(QStringLiteral("FIDO2")) << true << QString()
            << "warn|Error|Could not extract device serial number from device record";
        QTest::newRow("no credentials file") << row(QStringLiteral("FIDO2")) << true << QStringLiteral("S1")
                                             << "warn|Error|Credentials file not found: %1/fido2/S1_credentials.json";
    }

    void detailsAreRefusedInOrder()
    {
        QFETCH(QStringList, cells);
        QFETCH(bool, record);
        QFETCH(QString, serial);
        QFETCH(QString, box);
        MainWindow window(nullptr, m_prompter, services());
        if (record)
            saveRecord(QStringLiteral("Key"), serial);
        window.deviceTable().addDevice(cells);
        const QStringList parts = box.replace(QStringLiteral("%1"), m_folder->path()).split(QLatin1Char('|'));
        if (parts.at(0) == QStringLiteral("info"))
            m_prompter.expectInformation(parts.at(1), parts.at(2));
        else
            m_prompter.expectWarning(parts.at(1), parts.at(2));
        window.showDeviceDetails(0);
        QCOMPARE(m_prompter.verify(), QString());
    }

    void aKeyHasDetails_data()
    {
        QTest::addColumn<QString>("type");
        QTest::addColumn<QString>("recordName");
        QTest::newRow("restored, its record named after the type") << "FIDO2"
                                                                   << "FIDO2";
        QTest::newRow("launched, its record named after the device") << "fido2"
                                                                     << "Key";
        QTest::newRow("found by process id alone") << "fido2"
                                                   << "another name";
    }

    void aKeyHasDetails()
    {
        QFETCH(QString, type);
        QFETCH(QString, recordName);
        MainWindow window(nullptr, m_prompter, services());
        saveRecord(recordName, QStringLiteral("S1"));
        QDir(m_folder->path()).mkdir(QStringLiteral("fido2"));
        QFile file(path(QStringLiteral("fido2/S1_credentials.json")));
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write("{}") == 2);
        file.close();
        window.deviceTable().addDevice({QStringLiteral("Key"), QString::number(kProcessId), {}, {}, {}, type});
        bool seen = false;
        whenOpens(QStringLiteral("Device Details - S1"), [&](QDialog& dialog) {
            seen = true;
            dialog.reject();
        });
        window.showDeviceDetails(0);
        QVERIFY(seen);

        // Of a process without a record no other's is read, which could cost gigabytes: reading this one leaves a line.
#ifndef Q_OS_WIN
        QVERIFY(QFile::link(QStringLiteral("/dev/null"), path(QStringLiteral("device_other_77.json"))));
        QCOMPARE(DeviceRecordManager(m_folder->path(), nullptr).listRecords().size(), 2);
#endif
        const LogLines logged(LogLines::Least::Warning);
        window.deviceTable().addDevice({QStringLiteral("Key"), QString::number(kProcessId + 1), {}, {}, {}, type});
        m_prompter.expectWarning(QStringLiteral("Error"), QStringLiteral("Could not load FIDO2 device record"));
        window.showDeviceDetails(1);
        QCOMPARE(m_prompter.verify(), QString());
        QVERIFY2(!logged.text().contains(QStringLiteral("Failed to load")), qPrintable(logged.text()));
    }

    void giveUpStartsNothing()
    {
        MainWindow window(nullptr, m_prompter, services());
        whenOpens(QStringLiteral("FIDO2 Device Configuration"), [](QDialog& dialog) { dialog.reject(); });
        window.onCreateFido2();
        QVERIFY(!QDir(m_folder->path()).exists(QStringLiteral("fido2")));
        QVERIFY(!window.deviceTable().identityAt(0));
        QCOMPARE(m_prompter.verify(), QString());
    }

    void requestsAreAskedAndAnsweredInTurn()
    {
        Device device;
        saveRecord(QStringLiteral("Key"), QStringLiteral("S1"));
        MainWindow window(nullptr, m_prompter, services());
        window.show();
        const std::unique_ptr<QLocalSocket> socket(device.accept());
        QVERIFY(socket);
        bool answeredBoth = false;
        const auto asksFor = [](QDialog& dialog, const char* rpId) {
            return dialog.findChild<QTextEdit*>()->toPlainText().contains(QLatin1String(rpId));
        };
        whenOpens(kConfirmation, [&](QDialog& first) {
            QVERIFY(asksFor(first, "first.example"));
            QCOMPARE(first.findChild<QLabel*>(QStringLiteral("asker"))->text(),
                     QStringLiteral("Asked by the key Key (S1), process %1").arg(kProcessId));
            QSignalSpy arrived(window.findChild<Fido2Client*>(), &Fido2Client::userConfirmationRequestReceived);
            send(socket.get(), question("second.example")); // while the first dialog is open
            QTRY_COMPARE(arrived.size(), 1);
            QCOMPARE(QApplication::activeModalWidget(), &first);
            click(first, "confirm");
            whenOpens(kConfirmation, [&](QDialog& second) {
                QCOMPARE(response(socket.get()).value(QStringLiteral("confirmed")), QJsonValue(true));
                QVERIFY(asksFor(second, "second.example"));
                second.close();
                QCOMPARE(response(socket.get()).value(QStringLiteral("confirmed")), QJsonValue(false));
                answeredBoth = true;
            });
        });
        send(socket.get(), question("first.example"));
        QTRY_VERIFY(answeredBoth);
        QTRY_VERIFY(!QApplication::activeModalWidget());
    }

    /// Connecting may hold up the window for 5 s, at its start before there is one. With many keys of which none
    /// answers, neither the table nor the list of processes is worth a look for each.
    void saysWhichKeyIsWaitedFor()
    {
        saveRecord(QStringLiteral("Key"), QStringLiteral("S1"));
        struct Painted : QObject
        {
            bool eventFilter(QObject* watched, QEvent* event) override
            {
                if (event->type() != QEvent::Paint)
                    return false;
                if (watched->objectName() == QStringLiteral("waitNotice"))
                    texts << static_cast<QLabel*>(watched)->text();
                tables += watched->parent() && watched->parent()->inherits("DeviceTable") ? 1 : 0;
                return false;
            }
            QStringList texts;
            int tables = 0;
        } painted;
        qApp->installEventFilter(&painted);
        const QString text = QStringLiteral("Connecting to the security key Key (S1), process %1 ...").arg(kProcessId);
        MainWindowServices counting = services();
        int snapshots = 0;
        counting.takeSnapshot = [&snapshots, take = counting.takeSnapshot] {
            ++snapshots;
            return take();
        };
        MainWindow window(nullptr, m_prompter, counting);
        QVERIFY(painted.texts.contains(text));
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        for (int i = 0; i < 20; ++i)
            saveRecord(QStringLiteral("Key%1").arg(i), QStringLiteral("S1"));
        painted.texts.clear();
        painted.tables = 0;
        window.refreshDevices();
        QVERIFY(painted.texts.contains(text));
        QCOMPARE(painted.texts.size(), 21);
        QVERIFY2(painted.tables < 10, qPrintable(QString::number(painted.tables)));
        snapshots = 0;
        QTest::qWait(1200); // a lost channel's process is looked for after a second
        QVERIFY2(snapshots < 5, qPrintable(QString::number(snapshots)));
        QVERIFY(!window.findChild<QLabel*>(QStringLiteral("waitNotice")));
    }

    /// The second click of a double click comes when the first dialog is closed, and lands where the next one opens.
    void aDoubleClickAnswersOneRequest()
    {
        Device device;
        saveRecord(QStringLiteral("Key"), QStringLiteral("S1"));
        MainWindow window(nullptr, m_prompter, services());
        window.show();
        const std::unique_ptr<QLocalSocket> socket(device.accept());
        QVERIFY(socket);
        int opened = 0;
        const auto clickConfirm = [](QDialog& dialog) {
            QTest::mouseClick(dialog.findChild<QPushButton*>(QStringLiteral("confirm")), Qt::LeftButton);
        };
        QElapsedTimer sinceAnswer;
        whenOpens(kConfirmation, [&](QDialog& first) {
            ++opened;
            clickConfirm(first);
            QVERIFY(first.isVisible()); // a click that was meant for what lay here before
            QTest::keyClick(&first, Qt::Key_Escape);
            QVERIFY(first.isVisible());
            QTRY_VERIFY((clickConfirm(first), !first.isVisible()));
            sinceAnswer.start();
            whenOpens(kConfirmation, [&](QDialog& second) {
                ++opened;
                QVERIFY(sinceAnswer.elapsed() > QApplication::doubleClickInterval());
                clickConfirm(second);
                QVERIFY(second.isVisible());
                click(second, "deny");
            });
        });
        send(socket.get(), question("first.example"));
        QTRY_COMPARE(opened, 1);
        send(socket.get(), question("second.example"));
        QTRY_COMPARE(opened, 2);
        QTRY_VERIFY(!QApplication::activeModalWidget());
    }

    void aDeviceMayVanishWhileItsDialogIsOpen()
    {
        auto device = std::make_unique<Device>();
        saveRecord(QStringLiteral("Key"), QStringLiteral("S1"));
        MainWindow window(nullptr, m_prompter, services());
        bool answered = false;
        whenOpens(kConfirmation, [&](QDialog& dialog) {
            device.reset();
            auto* client = window.findChild<Fido2Client*>();
            QTRY_VERIFY(!client->isConnected());
            QTest::ignoreMessage(QtWarningMsg, notConnected().constData());
            click(dialog, "confirm");
            answered = true;
        });
        send(device->accept(), question("a.example"));
        QTRY_VERIFY(answered);
        QTRY_VERIFY(!QApplication::activeModalWidget());
    }

    void requestsOfAnEndedProcessAreForgotten()
    {
        auto device = std::make_unique<Device>();
        saveRecord(QStringLiteral("Key"), QStringLiteral("S1"));
        bool runs = true;
        MainWindowServices services = this->services();
        services.takeSnapshot = [&] {
            return runs ? ProcessSnapshot({std::uint32_t(kProcessId)}) : ProcessSnapshot(std::vector<std::uint32_t>());
        };
        MainWindow window(nullptr, m_prompter, services);
        int opened = 0;
        whenOpens(kConfirmation, [&](QDialog& dialog) {
            ++opened;
            QSignalSpy arrived(window.findChild<Fido2Client*>(), &Fido2Client::userConfirmationRequestReceived);
            send(device->server.findChild<QLocalSocket*>(), question("waiting.example"));
            QTRY_COMPARE(arrived.size(), 1);
            runs = false;
            device.reset();
            const auto* confirm = dialog.findChild<QPushButton*>(QStringLiteral("confirm"));
            QTRY_VERIFY(!confirm->isEnabled());
            QVERIFY(dialog.findChild<QLabel*>(QStringLiteral("asker"))->text().contains(QStringLiteral("has ended")));
            QTest::ignoreMessage(QtWarningMsg, notConnected().constData());
            click(dialog, "deny");
        });
        send(device->accept(), question("a.example"));
        QTRY_COMPARE(opened, 1);
        whenOpens(kConfirmation, [&](QDialog&) { ++opened; });
        QTest::qWait(2 * QApplication::doubleClickInterval());
        QCOMPARE(opened, 1);
    }

    void anUnknownSenderIsAnsweredByNoOne()
    {
        MainWindow window(nullptr, m_prompter, services());
        bool answered = false;
        whenOpens(kConfirmation, [&](QDialog& dialog) {
            QTest::ignoreMessage(QtWarningMsg, "No FIDO2 client found for process 0");
            click(dialog, "deny");
            answered = true;
        });
        QVERIFY(QMetaObject::invokeMethod(&window, "showFido2UserConfirmationDialog",
                                          Q_ARG(QString, QStringLiteral("reset")),
                                          Q_ARG(QJsonObject, (QJsonObject{{QStringLiteral("rpId"), 1}}))));
        QTRY_VERIFY(answered);
    }

private:
    MainWindowServices services() const;
    void saveRecord(const QString& name, const QString& serial) const;
    QString path(const QString& name) const
    {
        return m_folder->path() + QLatin1Char('/') + name;
    }

    std::unique_ptr<QTemporaryDir> m_folder;
    ScriptedPrompter m_prompter;
};

MainWindowServices Fido2DeskTest::services() const
{
    MainWindowServices made;
    made.launcher = DeviceLauncher(m_folder->path());
    made.recordsFolder = m_folder->path();
    made.takeSnapshot = [] { return ProcessSnapshot({std::uint32_t(kProcessId)}); };
    return made;
}

void Fido2DeskTest::saveRecord(const QString& name, const QString& serial) const
{
    DeviceRecord record;
    record.deviceType = int(DeviceType::Fido2);
    record.deviceName = name;
    record.processId = kProcessId;
    record.publicParams = QStringList{QStringLiteral("2"), {}, {}, name, {}, serial, {}, {}, {}};
    record.isRunning = true;
    DeviceRecordManager(m_folder->path(), nullptr).saveRecord(record);
}

PLUGBOARD_SUITE(Fido2DeskTest)
#include "fido2_desk_test.moc"
