// main.cpp: plugboard-tour DIR [--language LANGUAGE]: walks every feature and leaves pictures and report.json in DIR.
#include "tools/tour/tour.h"
#include "tools/tour/walks.h"
#include "ui/chinese_font.h"
#include "ui/png.h"
#include "ui/screen_setup.h"

#include <QApplication>
#include <QIcon>
#include <QLoggingCategory>
#include <QTemporaryDir>

#include <cstdio>

int main(int argc, char** argv)
{
    scaleWithScreens();
    paintWithoutOpenGl();
    QApplication application(argc, argv);
    // What the walks choose is not what this user last used.
    const QTemporaryDir userData;
    qputenv("PLUGBOARD_USER_DATA", QFile::encodeName(userData.path()));
    const QStringList arguments = QCoreApplication::arguments();
    const bool chooses = arguments.size() == 4 && arguments[2] == QLatin1String("--language");
    const auto language = chooses ? languageFromWord(arguments[3]) : Language::English;
    const bool namesFolder = (arguments.size() == 2 || chooses) && !arguments[1].startsWith(QLatin1Char('-'));
    if (!namesFolder || !language || !speak(*language, application)) {
        std::fprintf(stderr, "usage: plugboard-tour DIR [--language en|zh_CN]\n");
        return 2;
    }
    if (*language == Language::SimplifiedChinese)
        preferSimplifiedChinese();
    const QString folder = QDir(arguments[1]).absolutePath();
    QDir::setCurrent(QCoreApplication::applicationDirPath());
    QApplication::setWindowIcon(readPng(QStringLiteral(":/icons/res/logo.png")));

    try {
        QLoggingCategory::setFilterRules(QStringLiteral("plugboard.*.info=false")); // the report says what is done
        Tour tour(folder, *language);
        walkFirstStart(tour);
        walkDevices(tour);
        walkSecurityKey(tour);
        walkSettings(tour);
        walkMedia(tour);
        walkPacketCapture(tour);
        const int failed = tour.finish();
        std::printf("%d steps failed; report in %s\n", failed, qPrintable(folder));
        return failed == 0 ? 0 : 1;
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "%s\n", failure.what());
        return 1;
    }
}
