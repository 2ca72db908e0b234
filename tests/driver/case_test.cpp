#include "driver/engine.h"
#include "driver/options.h"
#include "driver/platform/simulated_platform.h"
#include "tests/driver/captured_output.h"
#include "tests/driver/standard_system.h"
#include "tests/support/suite_registry.h"

#include <QDir>
#include <QTemporaryDir>
#include <QtTest>

namespace {

// With a drive where the system has them, as paths that programs print have one.
const QString kData = QDir(QStringLiteral(PLUGBOARD_TEST_DATA)).absolutePath();
const QString kSample = QDir(QStringLiteral(PLUGBOARD_SAMPLE_DRIVER)).absolutePath();

/// Words between spaces, those in quotes as they are.
QStringList wordsOf(const QString& line)
{
    QStringList words;
    static const QRegularExpression word(QStringLiteral("\"([^\"]*)\"|(\\S+)"));
    for (auto matches = word.globalMatch(line); matches.hasNext();) {
        const auto match = matches.next();
        words << (match.captured(2).isEmpty() ? match.captured(1) : match.captured(2));
    }
    return words;
}

QString filledIn(QString text)
{
    return text.replace(QStringLiteral("{data}"), kData)
        .replace(QStringLiteral("{sample}"), kSample)
        .replace(QStringLiteral("{long}"), kData + QStringLiteral("/") + QString(260, QLatin1Char('l')))
        .replace(QStringLiteral("{257}"), QString(257, QLatin1Char('i')));
}

/// The folders of this machine as the case files name them, with slashes.
QString withoutFolders(const QString& text)
{
    QStringList lines = text.split(QLatin1Char('\n'));
    for (QString& line : lines)
        for (const auto& [folder, name] : {std::pair(kData, "{data}"), std::pair(kSample, "{sample}")}) {
            for (const QString& form : {folder, QDir::toNativeSeparators(folder)})
                if (line.contains(form))
                    line = line.replace(form, QLatin1String(name))
                               .replace(QLatin1String("\\inf\\"), QLatin1String("/inf/"))
                               .replace(QLatin1String("}\\"), QLatin1String("}/"));
        }
    // Wine shows the root folder of the system below it as a drive.
    return lines.join(QLatin1Char('\n')).replace(QLatin1String("Z:{"), QLatin1String("{"));
}

QString runLine(driver::DevicePlatform& platform, const QString& line)
{
    CapturedOutput output;
    std::vector<std::wstring> arguments{L"C:\\tools\\plugboard-driver"};
    for (const QString& word : wordsOf(line))
        arguments.push_back(filledIn(word).toStdWString());
    const driver::Extras extras = driver::takeExtras(arguments);
    const driver::ResultCode result = driver::DriverEngine(platform, output, extras).run(arguments);
    return withoutFolders(QString::fromStdString(output.take())) + QStringLiteral("= %1\n").arg(result);
}

} // namespace

/// Each file of cases/ is a session: a tree, then commands ("$ ...") with what they print ("! " for the error stream)
/// and their result ("= N"), one after the other on the same tree. Commands without anything between them each answer
/// so.
class CaseTest : public QObject
{
    Q_OBJECT

private slots:
    void sessions_data()
    {
        QTest::addColumn<QString>("file");
        for (const QString& name : QDir(kData + QStringLiteral("/cases")).entryList({QStringLiteral("*.txt")}))
            QTest::newRow(qPrintable(name)) << kData + QStringLiteral("/cases/") + name;
    }

    void sessions()
    {
        QFETCH(QString, file);
        QFile expected(file);
        QVERIFY(expected.open(QIODevice::ReadOnly));
        const QString text = QString::fromUtf8(expected.readAll()).remove(QLatin1Char('\r'));
        QTemporaryDir folder;
        const QString tree = folder.filePath(QStringLiteral("tree.json"));

        QString actual;
        QString answer; // of the commands that actual ends with
        for (const QString& line : text.split(QLatin1Char('\n'))) {
            if (line.startsWith(QStringLiteral("tree: ")))
                QFile::copy(kData + QStringLiteral("/trees/") + line.mid(6) + QStringLiteral(".json"), tree);
            if (line.startsWith(QLatin1Char('#')) || line.startsWith(QStringLiteral("tree: ")))
                actual += std::exchange(answer, {}) + line + QLatin1Char('\n');
            if (!line.startsWith(QLatin1Char('$')))
                continue;
            // A new platform each time: what a command changed must be in the file.
            driver::SimulatedPlatform platform(tree.toStdU16String());
            const QString own = runLine(platform, line.mid(1));
            actual += (own == answer ? QString() : answer) + line + QLatin1Char('\n');
            answer = own;
            QCOMPARE(platform.openObjects(), 0);
        }
        const QString difference =
            differenceFrom(file, actual + answer); // whole texts are cut in a comparison's message
        QVERIFY2(difference.isEmpty(), qPrintable(difference));
    }
};

PLUGBOARD_SUITE(CaseTest)
#include "case_test.moc"
