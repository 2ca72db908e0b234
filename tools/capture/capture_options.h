// capture_options.h: the command line of plugboard-capture.
#pragma once

#include "runtime/start_options.h"
#include "tools/capture/capture_printer.h"

#include <QStringList>

#include <cstdint>

struct CaptureOptions
{
    enum class Run
    {
        Window,
        Headless,
        Text
    };

    Run run = Run::Window;
    QString text; ///< Run::Text: to be printed, then the program ends with exitCode
    int exitCode = 0;

    qint64 processId = 0; ///< 0: a file
    QString filePath;
    double seconds = 0; ///< of Run::Headless
    PrintOptions print; ///< of Run::Headless; its device and filter of Run::Window too
    StartOptions start;
};

/// Reads the arguments, of which the first is the program's name. Never ends the program: help, version and mistakes
/// come back as text to print.
CaptureOptions parseCaptureOptions(const QStringList& arguments);
