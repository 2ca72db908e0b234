#include "tests/support/suite_registry.h"
#include "tools/usb_daemon/record_keeper.h"

#include <QTemporaryDir>
#include <QtTest>

using namespace std::chrono_literals;

class RecordKeeperTest : public QObject
{
    Q_OBJECT

private slots:
    void keepsWritingUntilTheEnd();
    void refusesNamesThatAreNoFileNames_data();
    void refusesNamesThatAreNoFileNames();
};

namespace {

DeviceContext contextOf(const QTemporaryDir& folder, const QString& name)
{
    DeviceContext context{mouseDescription(), 4312, folder.path()};
    context.device.name = name;
    return context;
}

} // namespace

void RecordKeeperTest::keepsWritingUntilTheEnd()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("device_Mouse_4312.json"));
    {
        RecordKeeper keeper(contextOf(folder, QStringLiteral("Mouse")), 1ms);
        QCOMPARE(keeper.start(), QString());
        QVERIFY(QFile::remove(path));
        QTRY_VERIFY(QFile::exists(path));
    }
    QCOMPARE(QDir(folder.path()).entryList(QDir::Files), QStringList());
}

void RecordKeeperTest::refusesNamesThatAreNoFileNames_data()
{
    QTest::addColumn<QString>("name");
    for (const QChar c : QStringLiteral("<>:\"/\\|?*\t"))
        QTest::addRow("character %d", c.unicode()) << QStringLiteral("a%1b").arg(c);
    QTest::newRow("longer than a file name") << QString(300, QLatin1Char('x'));
}

void RecordKeeperTest::refusesNamesThatAreNoFileNames()
{
    QFETCH(QString, name);
    const QTemporaryDir folder;
    {
        RecordKeeper keeper(contextOf(folder, name));
        QVERIFY2(keeper.start().contains(name), qPrintable(keeper.start()));
        QCOMPARE(QDir(folder.path()).entryList(QDir::Files), QStringList());
    }
}

PLUGBOARD_SUITE(RecordKeeperTest)
#include "record_keeper_test.moc"
