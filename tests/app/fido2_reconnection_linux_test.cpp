// The channel to a real device process that is stopped, ended and started again; stopping one takes Linux signals.
#include "devices/device_launcher.h"
#include "fido2/channel/fido2_channels.h"
#include "tests/support/security_key.h"
#include "tests/support/suite_registry.h"

#include <QDir>
#include <QProcess>
#include <QtTest>

#include <memory>

namespace {

constexpr int kDeviceLimitMs = 30000;

} // namespace

class Fido2ReconnectionLinuxTest : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_asked.clear();
        m_channels = std::make_unique<Fido2Channels>();
        connect(m_channels.get(), &Fido2Channels::confirmationRequested, this, [this](qint64 processId) {
            m_asked << processId;
            m_channels->answer(processId, true, {});
        });
        start();
        QTRY_VERIFY_WITH_TIMEOUT(isConnected(), kDeviceLimitMs);
    }

    void cleanup()
    {
        m_channels.reset();
        const QDir folder(QCoreApplication::applicationDirPath());
        if (m_processId > 0)
            signal("-KILL");
        for (const qint64 processId : qAsConst(m_started)) {
            for (const QString& record : folder.entryList({QStringLiteral("device_*_%1.json").arg(processId)}))
                QFile::remove(folder.filePath(record));
        }
        m_started.clear();
        for (const QString& file :
             QDir(folder.filePath(QStringLiteral("fido2"))).entryList({m_serial + QLatin1Char('*')}))
            QFile::remove(folder.filePath(QStringLiteral("fido2/") + file));
    }

    void aStoppedDeviceIsServedWhenItGoesOn()
    {
        signal("-STOP");
        QProcess asking;
        request(asking);
        m_channels->add(m_processId); // a refresh; the system takes the connection in the device's place
        QVERIFY(isConnected());
        signal("-CONT");
        QVERIFY(answerTo(asking).contains("\"confirmed\":true"));
        QVERIFY(isConnected());
    }

    void aDeviceThatIsStartedAgainHasAChannelOfItsOwn()
    {
        const qint64 ended = m_processId;
        QSignalSpy lost(m_channels.get(), &Fido2Channels::deviceDisconnected);
        signal("-KILL");
        m_processId = 0;
        QTRY_COMPARE(lost, QList<QVariantList>{{ended}});
        QVERIFY(!m_channels->clientOf(ended)->isConnected());
        QTest::ignoreMessage(
            QtWarningMsg,
            qPrintable(QStringLiteral("FIDO2 client for process %1 not available or not connected").arg(ended)));
        m_channels->answer(ended, true, {});

        start();
        QTRY_VERIFY_WITH_TIMEOUT(isConnected(), kDeviceLimitMs);
        QProcess asking;
        request(asking);
        QVERIFY(answerTo(asking).contains("\"confirmed\":true"));
        QCOMPARE(m_asked, QList<qint64>{m_processId});
        QVERIFY(!m_channels->clientOf(ended)->isConnected());
    }

private:
    void start()
    {
        const auto processId = DeviceLauncher().launch(securityKeyParameters(m_serial));
        QVERIFY(processId);
        m_processId = *processId;
        m_started << m_processId;
        m_channels->add(m_processId);
    }

    void signal(const char* name) const;
    bool isConnected() const { return m_channels->clientOf(m_processId)->isConnected(); }
    void request(QProcess& process) const;
    QByteArray answerTo(QProcess& process) const;

    QString m_serial = QStringLiteral("RECONNECTION-%1").arg(QCoreApplication::applicationPid());
    std::unique_ptr<Fido2Channels> m_channels;
    QList<qint64> m_started;
    QList<qint64> m_asked; ///< process ids of the requests that arrived, all of which are confirmed
    qint64 m_processId = 0;
};

void Fido2ReconnectionLinuxTest::signal(const char* name) const
{
    QCOMPARE(QProcess::execute(QStringLiteral("kill"), {QLatin1String(name), QString::number(m_processId)}), 0);
}

void Fido2ReconnectionLinuxTest::request(QProcess& process) const
{
    process.start(QCoreApplication::applicationDirPath() + QStringLiteral("/usb-daemon.exe"),
                  {QStringLiteral("--request"), QString::number(m_processId), QStringLiteral("client_pin")});
}

QByteArray Fido2ReconnectionLinuxTest::answerTo(QProcess& process) const
{
    const bool ended = QTest::qWaitFor([&process] { return process.state() == QProcess::NotRunning; }, kDeviceLimitMs);
    return ended ? process.readAllStandardOutput() : QByteArray("no answer");
}

PLUGBOARD_SUITE(Fido2ReconnectionLinuxTest)
#include "fido2_reconnection_linux_test.moc"
