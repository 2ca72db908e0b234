// links: plugboard::media_tool
#include "benchmarks/media_peer.h"
#include "tools/media/picture_window.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QLocalSocket>

#include <chrono>
#include <cstdlib>
#include <limits>
#include <memory>
#include <string>
#include <thread>

namespace {

constexpr double kNoPeer = std::numeric_limits<double>::quiet_NaN();
constexpr int kReactions = 20;
constexpr double kRateSeconds = 60; // A rate within 0.1 % is one of a minute.

struct Rate
{
    const char* name;
    const char* rate;
    double perSecond;
};

std::unique_ptr<PictureWindow> showClip(const QString& path, const QString& server)
{
    VideoFileSettings settings;
    settings.url = path.toStdString();
    settings.selector = kSelectVideo;
    settings.width = 0;
    settings.height = 0;
    settings.frameRate = 0;
    settings.scaling.serverName = server;
    settings.scaling.appliesPlacement = true;
    auto window = std::make_unique<PictureWindow>(settings);
    window->show();
    return window;
}

template<typename Condition>
double millisecondsUntil(Condition condition)
{
    QElapsedTimer time;
    time.start();
    while (!condition()) {
        QCoreApplication::processEvents();
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return double(time.nsecsElapsed()) / 1e6;
}

QString makeClip(const QTemporaryDir& folder, const char* size, const char* rate, int seconds)
{
    const QString path = folder.filePath(QStringLiteral("clip.mp4"));
    runFfmpeg(words(QStringLiteral("-f lavfi -i testsrc2=size=%1:rate=%2:duration=%3 -c:v libx264 -preset ultrafast "
                                   "-bf 0 -pix_fmt yuv420p %4")
                        .arg(QString::fromLatin1(size), QString::fromLatin1(rate))
                        .arg(seconds)
                        .arg(path)));
    return path;
}

void measureRate(const QString& path, const std::string& name, double nominal, double seconds)
{
    const auto window = showClip(path, {});
    // The first second finds out how long things take.
    millisecondsUntil([&] { return double(window->shownPictures()) >= nominal; });
    const std::int64_t first = window->shownPictures();
    const std::int64_t late = window->latePictures();
    const auto last = first + std::int64_t(seconds * nominal);
    const double milliseconds = millisecondsUntil([&] { return window->shownPictures() >= last; });
    const double pictures = double(window->shownPictures() - first);
    report(("picture_window " + name).c_str(), "pictures/s", 1000 * pictures / milliseconds, "the clip's own rate",
           nominal, "ratio within 0.001 of 1");
    report(("picture_window " + name + ", late").c_str(), "pictures of a hundred",
           100 * double(window->latePictures() - late) / pictures, "", kNoPeer, "0");
}

/// From a command's reply to the picture that shows its effect.
void measureReaction(const QString& path)
{
    const QString server = QStringLiteral("PictureWindowBenchmark_%1").arg(QCoreApplication::applicationPid());
    const auto window = showClip(path, server);
    QLocalSocket client;
    millisecondsUntil([&] {
        if (client.state() == QLocalSocket::UnconnectedState)
            client.connectToServer(server);
        return client.bytesAvailable() > 0 && window->shownPictures() > 0;
    });
    std::vector<double> reactions;
    for (int round = 0; round < kReactions; ++round) {
        const bool isOut = round % 2 == 0;
        client.readAll();
        client.write(isOut ? "imgy,1000\n" : "imgy,0\n");
        client.flush();
        millisecondsUntil([&] { return client.peek(1000).contains("OK: Image Y"); });
        reactions.push_back(millisecondsUntil([&] {
            const QImage picture = window->picture();
            return (qGray(picture.pixel(picture.width() - 2, picture.height() - 2)) < 3) == isOut;
        }));
    }
    report("picture_window, reaction to a command (worst)", "ms", *std::max_element(reactions.begin(), reactions.end()),
           "", kNoPeer, "100");
}

} // namespace

/// The first argument is the time in seconds for which a rate is measured, else it is a minute.
int main(int argc, char** argv)
{
    av_log_set_level(AV_LOG_QUIET);
    QApplication application(argc, argv);
    const double seconds = argc > 1 ? std::atof(argv[1]) : kRateSeconds;
    const QuietOutput quiet;
    const QTemporaryDir folder;
    for (const Rate& rate : {Rate{"24", "24", 24}, Rate{"59.94", "60000/1001", 60000.0 / 1001}, Rate{"60", "60", 60},
                             Rate{"144", "144", 144}})
        measureRate(makeClip(folder, "320x240", rate.rate, 5), rate.name, rate.perSecond, seconds);
    measureRate(makeClip(folder, "3840x2160", "60", 2), "4K at 60", 60, seconds);
    measureReaction(makeClip(folder, "320x240", "24", 5));
    return 0;
}
