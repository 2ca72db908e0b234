#include "emulation/channels/record_keeper.h"
#include "tests/support/suite_registry.h"

#include <QTemporaryDir>
#include <QtTest>

using namespace std::chrono_literals;

class RecordKeeperTest : public QObject
{
    Q_OBJECT

private slots:
    void keepsWritingUntilTheEnd()
    {
        const QTemporaryDir folder;
        const QString path = folder.filePath(QStringLiteral("device_Mouse Device_4312.json"));
        {
            RecordKeeper keeper({mouseDescription(), 4312, folder.path()}, 1ms);
            QCOMPARE(keeper.start(), QString());
            QVERIFY(QFile::remove(path));
            QTRY_VERIFY(QFile::exists(path));
        }
        QCOMPARE(QDir(folder.path()).entryList(QDir::Files), QStringList());
    }
};

PLUGBOARD_SUITE(RecordKeeperTest)
#include "record_keeper_test.moc"
