// plugboard-capture: the capture window for one device process, or its packets as lines of text.
#include "runtime/program_run.h"
#include "runtime/stop_request.h"
#include "tools/capture/capture_options.h"
#include "tools/capture/capture_window.h"
#include "tools/capture/headless_capture.h"
#include "ui/chinese_font.h"
#include "ui/screen_setup.h"

#include <QApplication>
#include <QFile>

#include <cstdio>

namespace {

const QString kProgram = QStringLiteral("plugboard-capture");
const QString kVersion = QStringLiteral(PLUGBOARD_VERSION);

int runHeadless(int argc, char** argv, const CaptureOptions& options)
{
    QCoreApplication application(argc, argv);
    const ProgramRun running(kProgram, kVersion, options.start.logRules);
    QFile output;
    if (!output.open(stdout, QIODevice::WriteOnly))
        return 1;
    if (!options.filePath.isEmpty()) {
        const QString error = printFile(options.filePath, options.print, output);
        if (!error.isEmpty())
            std::fprintf(stderr, "plugboard-capture: %s\n", qUtf8Printable(error));
        return error.isEmpty() ? 0 : 1;
    }
    StopRequest stopRequest; // Ctrl+C is no reason to leave the device process capturing
    HeadlessCapture capture({options.processId, options.seconds, options.print}, output);
    QObject::connect(&stopRequest, &StopRequest::stopRequested, &capture, &HeadlessCapture::stop);
    QObject::connect(&capture, &HeadlessCapture::finished, &application, [](const QString& error) {
        if (!error.isEmpty())
            std::fprintf(stderr, "plugboard-capture: %s\n", qUtf8Printable(error));
        QCoreApplication::exit(error.isEmpty() ? 0 : 1);
    });
    return QCoreApplication::exec();
}

int runWindow(int argc, char** argv, const CaptureOptions& options)
{
    scaleWithScreens();
    paintWithoutOpenGl();
    QApplication application(argc, argv);
    const ProgramRun running(kProgram, kVersion, options.start.logRules);
    if (speakAsAsked(options.start.language, application) == Language::SimplifiedChinese)
        preferSimplifiedChinese();
    CaptureWindow window({options.processId, options.print.deviceId});
    window.setFilterText(options.print.filter);
    if (!options.filePath.isEmpty())
        window.openCapture(options.filePath);
    window.show();
    return QApplication::exec();
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication::setApplicationName(kProgram);
    QCoreApplication::setApplicationVersion(kVersion);
    // Which kind of application it will be depends on the arguments: only a window needs a display.
    const CaptureOptions options = [&] {
        const QCoreApplication reader(argc, argv);
        return parseCaptureOptions(QCoreApplication::arguments());
    }();
    if (options.run == CaptureOptions::Run::Text) {
        std::fputs(qUtf8Printable(options.text), options.exitCode == 0 ? stdout : stderr);
        return options.exitCode;
    }
    return options.run == CaptureOptions::Run::Headless ? runHeadless(argc, argv, options)
                                                        : runWindow(argc, argv, options);
}
