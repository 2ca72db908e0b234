// media_options.h: the command line of plugboard-media.
#pragma once

#include "media/ffmpeg_handles.h"

#include <QString>
#include <QStringList>

struct MediaOptions
{
    enum class Run
    {
        Window,
        Null,
        Wav,
        File,
        Command,
        Text
    };

    Run run = Run::Window;
    QString text; ///< Run::Text: to be printed, then the program ends with exitCode.
    int exitCode = 0;

    QString source;  ///< Path or URL.
    QString output;  ///< Path of the WAV or media file.
    QString command; ///< Name of the debug command.
    QString server;  ///< Name of the window's command server.
    QString snapshot;

    bool sound = false; ///< Measure the sound chain.
    bool json = false;  ///< What stages print goes to the standard error stream.
    AVCodecID codec = AV_CODEC_ID_NONE;
    int pixelFormat = -1;
    int width = 0; ///< 0: the source's own.
    int height = 0;
    int rate = 0; ///< Frames per second; 0: the source's own.
    int channels = 2;
    int sampleRate = 48000;
    int threads = 0; ///< 0: FFmpeg decides.
    int seconds = 0; ///< The window closes after; 0: never.
    bool verbose = false;
    QString logRules; ///< see logRules()
};

/// Frames per second that the options ask for, else the source's own (0/0: not known), else 30.
int playingRate(const MediaOptions& options, AVRational sourceRate);

/// Never ends the program: help, version and mistakes come back as text to print.
MediaOptions parseMediaOptions(const QStringList& arguments);
