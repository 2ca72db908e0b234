#include "runtime/log_levels.h"
#include "tests/support/suite_registry.h"

#include <QLoggingCategory>
#include <QtTest>

namespace {

/// The least level of a category that is kept, "off" when none is.
QString leastOf(const char* name)
{
    const QLoggingCategory category(name);
    if (category.isDebugEnabled())
        return QStringLiteral("debug");
    if (category.isInfoEnabled())
        return QStringLiteral("info");
    if (category.isWarningEnabled())
        return QStringLiteral("warning");
    return category.isCriticalEnabled() ? QStringLiteral("critical") : QStringLiteral("off");
}

} // namespace

class LogLevelsTest : public QObject
{
    Q_OBJECT

private slots:
    void whatIsKept_data()
    {
        QTest::addColumn<QStringList>("levels");
        QTest::addColumn<QString>("media");
        QTest::addColumn<QString>("mediaPart");
        QTest::addColumn<QString>("fido2");
        const auto row = [](const char* name, const QStringList& levels, const char* media, const char* part,
                            const char* fido2) {
            QTest::newRow(name) << levels << QString::fromLatin1(media) << QString::fromLatin1(part)
                                << QString::fromLatin1(fido2);
        };
        const QString debug = QStringLiteral("debug");
        row("without a word", {}, "info", "info", "info");
        row("one level for all", {debug}, "debug", "debug", "debug");
        row("one category and what is below it", {QStringLiteral("plugboard.media=debug")}, "debug", "debug", "info");
        row("a category after all", {QStringLiteral("critical,plugboard.media=warning")}, "warning", "warning",
            "critical");
        row("the later one wins", {QStringLiteral("plugboard.media=debug"), QStringLiteral("warning")}, "warning",
            "warning", "warning");
        row("blanks", {QStringLiteral(" plugboard.fido2 = debug ")}, "info", "info", "debug");
    }

    void whatIsKept()
    {
        QFETCH(QStringList, levels);
        const LogRules made = logRules(levels);
        QCOMPARE(made.error, QString());
        QLoggingCategory::setFilterRules(made.rules);
        const QStringList seen{leastOf("plugboard.media"), leastOf("plugboard.media.part"), leastOf("plugboard.fido2"),
                               leastOf("qt.other")};
        QLoggingCategory::setFilterRules({});
        QTEST(seen[0], "media");
        QTEST(seen[1], "mediaPart");
        QTEST(seen[2], "fido2");
        QCOMPARE(seen[3], leastOf("qt.other")); // not ours: as it is anyway
    }

    void mistakesAreNamed_data()
    {
        QTest::addColumn<QString>("level");
        QTest::addColumn<QString>("error");
        QTest::newRow("no level") << QStringLiteral("loud")
                                  << QStringLiteral(
                                         "'loud' is no log level; there are debug, info, warning, critical.");
        QTest::newRow("nothing") << QString()
                                 << QStringLiteral("'' is no log level; there are debug, info, warning, critical.");
        QTest::newRow("no category") << QStringLiteral("media=debug")
                                     << QStringLiteral("Unknown log category 'media'; there are plugboard.app, "
                                                       "plugboard.capture, plugboard.devices, plugboard.driver, "
                                                       "plugboard.fido2, plugboard.media.");
    }

    void mistakesAreNamed()
    {
        QFETCH(QString, level);
        QTEST(logRules({level}).error, "error");
    }
};

PLUGBOARD_SUITE(LogLevelsTest)
#include "log_levels_test.moc"
