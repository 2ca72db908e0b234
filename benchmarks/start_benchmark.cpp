// links: plugboard::app plugboard::resources plugboard::translations
// start_benchmark.cpp: program start to the main window painted, against a program with an empty Qt window. This
// program starts itself as either of the two and takes the time until that process has painted and ended.
#include "app/main_window.h"
#include "benchmarks/report.h"
#include "ui/png.h"
#include "ui/screen_setup.h"

#include <QApplication>
#include <QDir>
#include <QProcess>
#include <QTimer>

namespace {

/// Ends the program once the widget has been painted.
class EndAfterPaint final : public QObject
{
public:
    bool eventFilter(QObject*, QEvent* event) override
    {
        if (event->type() == QEvent::Paint)
            QTimer::singleShot(0, qApp, [] { std::_Exit(0); });
        return false;
    }
};

int showAndEnd(QWidget& window)
{
    EndAfterPaint filter;
    window.installEventFilter(&filter);
    window.show();
    return QApplication::exec();
}

double startAs(const QString& role)
{
    return millisecondsOf([&role] { QProcess::execute(QCoreApplication::applicationFilePath(), {role}); });
}

} // namespace

int main(int argc, char** argv)
{
    scaleWithScreens();
    if (argc > 1 && qstrcmp(argv[1], "ours") == 0)
        paintWithoutOpenGl(); // as the program does; the other is what Qt gives without it
    QApplication application(argc, argv);
    const QString role = QCoreApplication::arguments().value(1);
    if (role == QLatin1String("ours")) {
        QDir::setCurrent(QCoreApplication::applicationDirPath());
        QApplication::setWindowIcon(readPng(QStringLiteral(":/icons/res/logo.png")));
        MainWindow window;
        return showAndEnd(window);
    }
    if (role == QLatin1String("peer")) {
        QWidget window;
        window.resize(720, 500);
        return showAndEnd(window);
    }
    const PairOfMedians medians = measureInTurn(
        21, [] { return startAs(QStringLiteral("ours")); }, [] { return startAs(QStringLiteral("peer")); });
    report("start", "ms", medians.ours, "empty Qt window", medians.peer, "1.2 times");
    return 0;
}
