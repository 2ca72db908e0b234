// links: plugboard::media
// live_join_benchmark.cpp: live streams are joined at random moments; the figure is the longest time until the first
// picture, which may be one interval between key pictures and a second.
#include "benchmarks/media_peer.h"
#include "media/video_file_source.h"

#include <QCoreApplication>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

#include <limits>
#include <random>

namespace {

constexpr double kNoPeer = std::numeric_limits<double>::quiet_NaN();
constexpr int kJoins = 20;
constexpr double kMostSeconds = 20;

/// Of 25 pictures a second, with 50 from one key picture to the next where there are any between.
struct Stream
{
    const char* name;
    const char* encoder; ///< ffmpeg's arguments, or for RTSP GStreamer's elements
    const char* format;  ///< of what goes over HTTP; null: RTSP
    const char* limit;
};

const Stream kStreams[] = {
    {"H.264, transport stream over HTTP", "-c:v libx264 -preset ultrafast -tune zerolatency -g 50", "mpegts", "3 s"},
    {"H.265, transport stream over HTTP", "-c:v libx265 -preset ultrafast -x265-params log-level=none:keyint=50",
     "mpegts", "3 s"},
    {"MJPEG over HTTP", "-c:v mjpeg -q:v 4 -pix_fmt yuvj420p", "mpjpeg", "1.04 s"},
    {"H.264 over RTSP", "x264enc tune=zerolatency speed-preset=ultrafast key-int-max=50 ! rtph264pay", nullptr, "3 s"},
    {"H.265 over RTSP", "x265enc tune=zerolatency speed-preset=ultrafast key-int-max=50 ! rtph265pay", nullptr, "3 s"},
    {"VP8 over RTSP", "vp8enc deadline=1 keyframe-max-dist=50 ! rtpvp8pay", nullptr, "3 s"},
    {"MJPEG over RTSP", "jpegenc ! rtpjpegpay", nullptr, "1.04 s"},
};

const char kPictures[] = "testsrc2=size=320x240:rate=25";

/// Ends with its owner.
struct Program
{
    Program(const QString& name, const QStringList& arguments) { process.start(name, arguments); }
    ~Program()
    {
        process.kill();
        process.waitForFinished();
    }
    QProcess process;
};

/// Gives what ffmpeg makes now to whoever has connected, from wherever it is.
class HttpStream
{
public:
    explicit HttpStream(const Stream& stream)
        : m_encoder(
              QStringLiteral("ffmpeg"),
              words(QStringLiteral("-nostdin -v error -re -f lavfi -i %1 -pix_fmt yuv420p %2 -f %3 -")
                        .arg(QLatin1String(kPictures), QLatin1String(stream.encoder), QLatin1String(stream.format))))
        , m_type(qstrcmp(stream.format, "mpjpeg") == 0 ? "multipart/x-mixed-replace;boundary=ffmpeg" : "video/mp2t")
    {
        m_server.listen(QHostAddress::LocalHost);
        QObject::connect(&m_server, &QTcpServer::newConnection, [this] { accept(); });
        QObject::connect(&m_encoder.process, &QProcess::readyReadStandardOutput,
                         [this] { send(m_encoder.process.readAllStandardOutput()); });
    }

    QString url() const { return QStringLiteral("http://127.0.0.1:%1/live").arg(m_server.serverPort()); }

private:
    void accept()
    {
        QTcpSocket* client = m_server.nextPendingConnection();
        QObject::connect(client, &QTcpSocket::disconnected, client, &QObject::deleteLater);
        client->write("HTTP/1.0 200 OK\r\nContent-Type: " + m_type + "\r\n\r\n");
        m_new << client;
    }

    /// A stream of several parts begins with a part, any other anywhere.
    void send(const QByteArray& bytes)
    {
        const int start = m_type.startsWith("multipart") ? bytes.indexOf("--ffmpeg\r\n") : 0;
        for (QTcpSocket* client : m_server.findChildren<QTcpSocket*>()) {
            if (!m_new.contains(client))
                client->write(bytes);
            else if (start >= 0 && m_new.removeOne(client))
                client->write(bytes.mid(start));
        }
    }

    QList<QTcpSocket*> m_new; ///< nothing was sent to them yet
    QTcpServer m_server;
    Program m_encoder;
    QByteArray m_type;
};

/// Runs the event loop meanwhile.
void wait(std::chrono::milliseconds time)
{
    QEventLoop loop;
    QTimer::singleShot(time, &loop, &QEventLoop::quit);
    loop.exec();
}

/// Seconds until the first picture.
double join(const QString& url)
{
    VideoFileSettings settings;
    settings.url = url.toStdString();
    settings.selector = kSelectVideo;
    settings.width = 0;
    settings.height = 0;
    settings.frameRate = 0;
    settings.scaling = withoutServer();
    VideoFileSource source(settings);
    QElapsedTimer time;
    time.start();
    source.start();
    while (!source.take() && time.elapsed() < kMostSeconds * 1000)
        wait(std::chrono::milliseconds(1));
    const double seconds = double(time.nsecsElapsed()) / 1e9;
    source.requestStop();
    while (!source.wait(0))
        wait(std::chrono::milliseconds(5));
    return seconds;
}

void measureJoins(const Stream& stream, const QString& url)
{
    const QuietOutput quiet;
    std::mt19937 random(20);
    double longest = 0;
    wait(std::chrono::seconds(4)); // for the server to come up
    for (int i = 0; i < kJoins; ++i) {
        wait(std::chrono::milliseconds(random() % 2000));
        longest = std::max(longest, join(url));
    }
    report((std::string("live_join ") + stream.name).c_str(), "s", longest, nullptr, kNoPeer, stream.limit);
}

void measureHttp(const Stream& stream)
{
    const HttpStream server(stream);
    measureJoins(stream, server.url());
}

/// Somebody watches all the time: the server encodes for its clients only.
void measureRtsp(const Stream& stream, const QString& program)
{
    Program server(
        QStringLiteral("/usr/bin/python3"),
        {program, QStringLiteral("( videotestsrc is-live=true ! "
                                 "video/x-raw,format=I420,width=320,height=240,framerate=25/1 ! %1 name=pay0 )")
                      .arg(QLatin1String(stream.encoder))});
    while (!server.process.canReadLine() && server.process.waitForReadyRead())
        ;
    const int port = server.process.readLine().trimmed().toInt();
    if (port == 0) {
        std::fprintf(stderr, "%s: no server: %s\n", stream.name, server.process.readAllStandardError().constData());
        std::exit(1);
    }
    const QString url = QStringLiteral("rtsp://127.0.0.1:%1/live").arg(port);
    const Program watcher(
        QStringLiteral("ffmpeg"),
        words(QStringLiteral("-nostdin -v quiet -rtsp_transport tcp -i %1 -c copy -f null -").arg(url)));
    measureJoins(stream, url);
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    av_log_set_level(AV_LOG_QUIET);
    const QString rtspServer = QStringLiteral(PLUGBOARD_RTSP_SERVER);
    for (const Stream& stream : kStreams) {
        if (stream.format)
            measureHttp(stream);
        else
            measureRtsp(stream, rtspServer);
    }
    return 0;
}
