#include "runtime/log_file.h"
#include "tests/support/suite_registry.h"

#include <QDir>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>
#include <vector>

namespace {

QList<QByteArray> linesOf(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QList<QByteArray> lines = file.readAll().split('\n');
    lines.removeLast(); // what follows the last line feed
    return lines;
}

} // namespace

class LogFileTest : public QObject
{
    Q_OBJECT

private slots:
    void keepsTheNewestLinesWithinItsBound()
    {
        constexpr int kMostBytes = 1000;
        const QTemporaryDir folder;
        {
            LogFile log(folder.path(), QStringLiteral("p"), kMostBytes);
            for (int number = 0; number < 1000; ++number)
                QVERIFY(log.write(QByteArray::number(number).rightJustified(9, '0') + '\n'));
        }
        const QFileInfoList files = QDir(folder.path()).entryInfoList({QStringLiteral("*.log")}, QDir::Files);
        QCOMPARE(files.size(), LogFile::kMostFiles);
        for (const QFileInfo& file : files)
            QVERIFY2(file.size() <= kMostBytes + 10, qPrintable(file.fileName()));
        // Oldest file first, all lines follow each other up to the last.
        QList<QByteArray> lines;
        for (const char* name : {"p.4.log", "p.3.log", "p.2.log", "p.1.log", "p.log"})
            lines += linesOf(folder.filePath(QLatin1String(name)));
        QVERIFY(lines.size() > 4 * kMostBytes / 10);
        for (int index = 0; index < lines.size(); ++index)
            QCOMPARE(lines[index].toInt(), 1000 - lines.size() + index);
    }

    void goesOnAfterItsFolderWasMissing()
    {
        const QTemporaryDir folder;
        const QString below = folder.filePath(QStringLiteral("below"));
        LogFile log(below, QStringLiteral("p"));
        QVERIFY(!log.write("lost\n"));
        QVERIFY(QDir().mkpath(below));
        QVERIFY(log.write("kept\n"));
        QCOMPARE(linesOf(log.path()), QList<QByteArray>{"kept"});
    }

    void severalProcessesShareOneLog()
    {
        const QTemporaryDir folder;
        const QString program = QCoreApplication::applicationDirPath() + QStringLiteral("/runtime_test_child");
        constexpr int kMostBytes = 64 * 1024;
        constexpr int kLines = 3000;
        std::vector<std::unique_ptr<QProcess>> writers;
        for (const char* letter : {"a", "b", "c"}) {
            writers.push_back(std::make_unique<QProcess>());
            writers.back()->start(program, {QStringLiteral("write"), folder.path(), QString::number(kMostBytes),
                                            QString::number(kLines), QLatin1String(letter)});
        }
        for (const auto& writer : writers) {
            QVERIFY(writer->waitForFinished(120000));
            QCOMPARE(writer->exitCode(), 0);
        }
        int lines = 0;
        const QFileInfoList files = QDir(folder.path()).entryInfoList({QStringLiteral("*.log")}, QDir::Files);
        QVERIFY2(files.size() >= 3, qPrintable(QString::number(files.size())));
        QVERIFY(files.size() <= LogFile::kMostFiles);
        for (const QFileInfo& file : files) {
            QVERIFY2(file.size() <= 2 * kMostBytes, qPrintable(file.fileName()));
            for (const QByteArray& line : linesOf(file.filePath())) {
                QVERIFY2(line.size() == 63 && line == QByteArray(63, line[0]), line.constData());
                ++lines;
            }
        }
        // 9000 lines of 64 bytes are nine files: the newest five are there, almost full.
        QVERIFY2(lines > 4 * kMostBytes / 64, qPrintable(QString::number(lines)));
    }
};

PLUGBOARD_SUITE(LogFileTest)
#include "log_file_test.moc"
