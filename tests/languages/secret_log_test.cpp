#include "app/device_table.h"
#include "app/main_window.h"
#include "devices/device_record_manager.h"
#include "fido2/channel/fido2_channels.h"
#include "fido2/channel/fido2_message.h"
#include "fido2/dialogs/device_detail_dialog.h"
#include "fido2/file/credentials_file.h"
#include "fido2/file/pin.h"
#include "runtime/log_levels.h"
#include "runtime/log_session.h"
#include "tests/support/scripted_prompter.h"
#include "tests/support/suite_registry.h"
#include "tests/support/when_opens.h"

#include <QDir>
#include <QLineEdit>
#include <QProcess>
#include <QPushButton>
#include <QTemporaryDir>
#include <QtTest>

namespace {

const QString kPin = QStringLiteral("73519264");
const QString kSerial = QStringLiteral("SECRET-LOG-KEY");

QString keyFolder()
{
    return QCoreApplication::applicationDirPath() + QStringLiteral("/fido2/");
}

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void createKey(MainWindow& window, ScriptedPrompter& prompter)
{
    whenOpens({}, [](QDialog& dialog) {
        dialog.findChild<QLineEdit*>(QStringLiteral("serialNumber"))->setText(kSerial);
        dialog.findChild<QPushButton*>(QStringLiteral("save"))->click();
        dialog.findChild<QPushButton*>(QStringLiteral("create"))->click();
    });
    prompter.expectInformation(QStringLiteral("Success"), QStringLiteral("Credentials saved successfully"));
    window.onCreateFido2();
}

} // namespace

/// A security key's life with everything logged: none of its secrets may be in the log.
class SecretLogTest : public QObject
{
    Q_OBJECT

private slots:
    void nothingSecretIsLogged()
    {
        QDir(keyFolder()).removeRecursively();
        QDir().mkpath(keyFolder());
        const QTemporaryDir folder;
        const LogSession session(folder.path(), QStringLiteral("p"), logRules({QStringLiteral("debug")}).rules);

        ScriptedPrompter prompter;
        MainWindow window(nullptr, prompter);
        window.show();
        createKey(window, prompter);
        const auto process = window.deviceTable().identityAt(0);
        QVERIFY(process);
        const auto* channels = window.findChild<Fido2Channels*>();
        QTRY_VERIFY_WITH_TIMEOUT(channels->clientOf(process->processId.toLongLong()) &&
                                     channels->clientOf(process->processId.toLongLong())->isConnected(),
                                 60000);

        // A registration, which makes a key pair.
        whenOpens({}, [](QDialog& dialog) { dialog.findChild<QPushButton*>(QStringLiteral("confirm"))->click(); });
        QProcess request;
        request.start(QCoreApplication::applicationDirPath() + QStringLiteral("/usb-daemon.exe"),
                      {QStringLiteral("--request"), process->processId, QStringLiteral("make_credential"),
                       QStringLiteral("--rp"), QStringLiteral("shop.example"), QStringLiteral("--user"),
                       QStringLiteral("ann")});
        QTRY_COMPARE_WITH_TIMEOUT(request.state(), QProcess::NotRunning, 60000);
        QCOMPARE(request.exitCode(), 0);

        // The PIN, in the details.
        const QString path = keyFolder() + kSerial + QStringLiteral("_credentials.json");
        DeviceDetailDialog details(path, kSerial, &window, Fido2Environment::ofThisProgram(), prompter);
        for (const char* field : {"pin", "confirmPin"})
            details.findChild<QLineEdit*>(QLatin1String(field))->setText(kPin);
        prompter.expectInformation(QStringLiteral("Success"), QStringLiteral("PIN has been set successfully"));
        details.findChild<QPushButton*>(QStringLiteral("setPin"))->click();

        // A request with nothing but secrets in the wrong place, of which the whole message is logged.
        parseConfirmationQuestion(
            QStringLiteral(R"({"type":"user_confirmation_request","operation":"client_pin","pin":"%1",)"
                           R"("pinHash":"%2","rpId":"shop.example"})")
                .arg(kPin, pinHash(kPin))
                .toUtf8());

        const CredentialsFile saved = [&path] {
            CredentialsFile file(path);
            file.load();
            return file;
        }();
        const QJsonObject credential = saved.credentials().at(0).toObject();
        QVERIFY(!credential.isEmpty());
        const QByteArray privateKey = contentOf(credential.value(QStringLiteral("privateKeyFile")).toString());
        QVERIFY2(privateKey.contains("PRIVATE KEY"), privateKey.constData());

        const QByteArray log = contentOf(session.path());
        // It holds what helps.
        for (const char* part : {"plugboard.devices [", "debug plugboard.fido2 [", "Device process started, type fido2",
                                 "Message handed to process", "PIN set in", "asks for \"make_credential\"", "confirmed",
                                 "Original command:"})
            QVERIFY2(log.contains(part), part);
        QStringList secrets{kPin,
                            pinHash(kPin),
                            QStringLiteral("PRIVATE KEY"),
                            QStringLiteral("|END"),
                            QStringLiteral("\\nEND"),
                            credential.value(QStringLiteral("id")).toString()};
        for (const QByteArray& line : privateKey.split('\n')) {
            if (line.size() > 20 && !line.startsWith("-----"))
                secrets << QString::fromLatin1(line);
        }
        QVERIFY(secrets.size() > 6);
        for (const QString& secret : qAsConst(secrets)) {
            QVERIFY(!secret.isEmpty());
            QVERIFY2(!log.contains(secret.toUtf8()),
                     qPrintable(secret + QStringLiteral(" in\n") + QString::fromUtf8(log)));
        }

        prompter.expectQuestion(QStringLiteral("Confirm Deletion"),
                                QStringLiteral("Are you sure you want to delete device \"%1\"?\nThis will terminate "
                                               "process ID: %2")
                                    .arg(process->name, process->processId),
                                true);
        prompter.expectInformation(QStringLiteral("Success"),
                                   QStringLiteral("Device \"%1\" has been successfully deleted").arg(process->name));
        window.onTableItemDoubleClicked(window.deviceTable().item(0, 0));
        DeviceRecordManager().removeStaleRecords();
    }
};

PLUGBOARD_SUITE(SecretLogTest)
#include "secret_log_test.moc"
