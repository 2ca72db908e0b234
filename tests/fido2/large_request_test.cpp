// Requests and answers of a real device process that are larger than what a system hands over in one piece.
#include "devices/device_launcher.h"
#include "devices/device_record_manager.h"
#include "devices/process_table.h"
#include "fido2/channel/fido2_channels.h"
#include "tests/support/security_key.h"
#include "tests/support/suite_registry.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QProcess>
#include <QtTest>

namespace {

constexpr int kDeviceLimitMs = 30000;
const QString kRpId = QStringLiteral("many.example");

QJsonObject credential(int number)
{
    return {{QStringLiteral("id"), QString::number(number).repeated(32)},
            {QStringLiteral("rp"), QJsonObject{{QStringLiteral("id"), kRpId}}},
            {QStringLiteral("user"), QJsonObject{{QStringLiteral("name"), QStringLiteral("user %1").arg(number)}}},
            {QStringLiteral("description"), QStringLiteral("}").repeated(100)}};
}

} // namespace

class LargeRequestTest : public QObject
{
    Q_OBJECT

private slots:
    void arriveWhole_data()
    {
        QTest::addColumn<int>("credentials");
        QTest::addColumn<int>("leastBytes");  // of the request
        QTest::addColumn<int>("description"); // letters in the answer
        QTest::newRow("more than the first piece that Windows reads") << 20 << 4096 << 0;
        QTest::newRow("more than a pipe or a packet holds") << 300 << 64 * 1024 << 0;
        QTest::newRow("more than the buffer of a Linux socket") << 1200 << 256 * 1024 << 0;
        QTest::newRow("an answer of that kind") << 1 << 0 << 100000;
    }

    void arriveWhole()
    {
        QFETCH(int, credentials);
        QFETCH(int, leastBytes);
        QFETCH(int, description);
        start(credentials);
        QList<QJsonObject> asked;
        connect(&m_channels, &Fido2Channels::confirmationRequested, this,
                [&](qint64 processId, const QString&, const QJsonObject& data) {
                    asked << data;
                    m_channels.answer(processId, true,
                                      {{QStringLiteral("description"), QString(description, QLatin1Char('x'))}});
                });

        QProcess asking;
        asking.start(QCoreApplication::applicationDirPath() + QStringLiteral("/usb-daemon.exe"),
                     {QStringLiteral("--request"), QString::number(m_processId), QStringLiteral("get_assertion"),
                      QStringLiteral("--rp"), kRpId});
        QTRY_VERIFY_WITH_TIMEOUT(asking.state() == QProcess::NotRunning, kDeviceLimitMs);
        disconnect(&m_channels, nullptr, this, nullptr);

        QVERIFY(!asked.isEmpty());
        QVERIFY(QJsonDocument(asked.first()).toJson().size() >= leastBytes);
        const QJsonArray candidates = asked.first().value(QStringLiteral("availableCredentials")).toArray();
        QCOMPARE(candidates.size(), credentials);
        QCOMPARE(candidates.last().toObject().value(QStringLiteral("userName")).toString(),
                 QStringLiteral("user %1").arg(credentials - 1));
        const QJsonObject answer = QJsonDocument::fromJson(asking.readAllStandardOutput()).object();
        QCOMPARE(answer.value(QStringLiteral("data")).toObject().value(QStringLiteral("description")).toString().size(),
                 description);
    }

    void cleanup()
    {
        m_channels.drop(m_processId);
        QVERIFY(m_processId > 0);
        const KillCommand kill = killCommand(m_processId);
        QCOMPARE(QProcess::execute(kill.program, kill.arguments), 0);
        const DeviceRecordManager records;
        QTRY_VERIFY(!records.isProcessRunning(m_processId));
        const QDir folder(QCoreApplication::applicationDirPath());
        for (const QString& record : folder.entryList({QStringLiteral("device_*_%1.json").arg(m_processId)}))
            QFile::remove(folder.filePath(record));
        for (const QString& file :
             QDir(folder.filePath(QStringLiteral("fido2"))).entryList({m_serial + QLatin1Char('*')}))
            QFile::remove(folder.filePath(QStringLiteral("fido2/") + file));
        m_processId = 0;
    }

private:
    void start(int credentials);
    QString keyFile(const QString& suffix) const
    {
        return QCoreApplication::applicationDirPath() + QStringLiteral("/fido2/") + m_serial + suffix;
    }

    const QString m_serial = QStringLiteral("LARGE-%1").arg(QCoreApplication::applicationPid());
    Fido2Channels m_channels;
    qint64 m_processId = 0;
};

void LargeRequestTest::start(int credentials)
{
    QJsonArray all;
    for (int number = 0; number < credentials; ++number)
        all.append(credential(number));
    QVERIFY(QDir().mkpath(QFileInfo(keyFile(QString())).path()));
    QFile file(keyFile(QStringLiteral("_credentials.json")));
    QVERIFY(file.open(QIODevice::WriteOnly));
    QVERIFY(file.write(QJsonDocument(QJsonObject{{QStringLiteral("credentials"), all}}).toJson()) > 0);
    file.close();

    const auto processId = DeviceLauncher().launch(securityKeyParameters(m_serial));
    QVERIFY(processId);
    m_processId = *processId;
    m_channels.add(m_processId);
    QTRY_VERIFY_WITH_TIMEOUT(m_channels.clientOf(m_processId)->isConnected(), kDeviceLimitMs);
}

PLUGBOARD_SUITE(LargeRequestTest)
#include "large_request_test.moc"
