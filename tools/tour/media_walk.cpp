// media_walk.cpp: the tour's walk through playing a source: in a window, and in plugboard-media by its command server.
#include "tools/media/picture_window.h"
#include "tools/tour/tour.h"
#include "tools/tour/walks.h"

#include <QCoreApplication>
#include <QFile>
#include <QLabel>
#include <QLocalSocket>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>

namespace {

constexpr int kWidth = 960; // Pixels of the window, which is higher than the clip of 320 x 180 would need.
constexpr int kHeight = 600;
constexpr int kBelowOverlay = 110; // First row that the statistics never cover.
constexpr int kDarkest = 60;       // Grey of the clip's darkest colour is above, black is below.
constexpr int kPlayingRate = 200;  // Pictures a second: the queue before the window is short in time then.

/// Where the picture is, as far as it lies below the statistics.
QRect litArea(const QImage& image)
{
    QRect area;
    for (int row = kBelowOverlay; row < image.height(); ++row) {
        int first = 0;
        int last = image.width() - 1;
        while (first <= last && qGray(image.pixel(first, row)) < kDarkest)
            ++first;
        while (last >= first && qGray(image.pixel(last, row)) < kDarkest)
            --last;
        if (first <= last)
            area |= QRect(first, row, last - first + 1, 1);
    }
    return area;
}

QString words(const QRect& area)
{
    return QStringLiteral("%1x%2 at %3,%4").arg(area.width()).arg(area.height()).arg(area.x()).arg(area.y());
}

/// A client of a command server that keeps what it has received.
class Client
{
public:
    explicit Client(const QString& server)
    {
        QObject::connect(&m_socket, &QLocalSocket::readyRead, [this] { m_received += m_socket.readAll(); });
        Tour::waitUntil(
            [&] {
                if (m_socket.state() == QLocalSocket::UnconnectedState && m_received.isEmpty())
                    m_socket.connectToServer(server);
                return m_socket.state() == QLocalSocket::ConnectedState || !m_received.isEmpty();
            },
            QStringLiteral("a connection to ") + server);
    }

    /// Waits until just this has arrived.
    void receive(const QString& text)
    {
        const QByteArray bytes = text.toUtf8() + "\r\n";
        Tour::waitUntil([&] { return m_received.size() >= bytes.size(); }, text);
        Tour::require(m_received == bytes, QStringLiteral("received ") + QString::fromUtf8(m_received));
        m_received.clear();
    }

    void send(const QString& line)
    {
        m_socket.write(line.toUtf8() + "\r\n");
        m_socket.flush();
    }

private:
    QLocalSocket m_socket;
    QByteArray m_received;
};

class MediaWalk
{
public:
    explicit MediaWalk(Tour& tour) : m_tour(tour) {}

    void run();

private:
    void play();
    QString programWithServer();
    QString clip(const char* name) const;

    Tour& m_tour;
    QTemporaryDir m_folder;
    std::unique_ptr<PictureWindow> m_window;
};

void MediaWalk::run()
{
    av_log_set_level(AV_LOG_FATAL); // Hardware that is looked for and not there is no news.
    m_tour.step(QStringLiteral("media-playing"), [this] {
        play();
        return m_window->windowTitle();
    });
    m_window.reset();
    m_tour.step(QStringLiteral("media-program"), [this] { return programWithServer(); });
}

void MediaWalk::play()
{
    VideoFileSettings settings;
    settings.url = clip("film_320x180.mkv").toStdString();
    settings.selector = 0;
    settings.width = kWidth;
    settings.height = kHeight;
    settings.frameRate = kPlayingRate;
    settings.overflow = AVMediaSink::Overflow::Block;
    settings.scaling.appliesPlacement = true;
    m_window = std::make_unique<PictureWindow>(settings);
    m_window->show();
    const QRect played = QRect(0, 30, kWidth, 540) & QRect(0, kBelowOverlay, kWidth, kHeight - kBelowOverlay);
    Tour::waitUntil([&] { return litArea(m_window->picture()) == played; }, QStringLiteral("the picture"));
    m_tour.picture(*m_window);
}

/// The picture is placed by commands from this process; the last one shows it.
QString MediaWalk::programWithServer()
{
    const QString server = QStringLiteral("PlugboardTour_%1").arg(QCoreApplication::applicationPid());
    const QString snapshot = m_folder.filePath(QStringLiteral("snapshot.png"));
    QProcess program;
    program.setProcessChannelMode(QProcess::MergedChannels);
    program.start(
        QDir(QCoreApplication::applicationDirPath()).absoluteFilePath(QStringLiteral("../bin/plugboard-media")),
        {QStringLiteral("--server"), server, QStringLiteral("--size"), QStringLiteral("%1x%2").arg(kWidth).arg(kHeight),
         QStringLiteral("--seconds"), QStringLiteral("12"), QStringLiteral("--rate"), QString::number(kPlayingRate),
         QStringLiteral("--snapshot"), snapshot, clip("film_320x180.mkv")});
    Client client(server);
    client.receive(QStringLiteral("OK: Command server ready"));
    client.send(QStringLiteral("echo,0"));
    client.receive(QStringLiteral("echo,0\r\nOK: Echo disabled"));
    for (const char* line : {"imgm,2", "imgx,40", "imgy,300"})
        client.send(QString::fromLatin1(line));
    client.receive(QStringLiteral("OK: Scale mode set to PADDING\r\nOK: Image X position set to 40\r\n"
                                  "OK: Image Y position set to 300"));
    Tour::waitUntil([&] { return program.state() == QProcess::NotRunning; }, QStringLiteral("the program's end"));
    Tour::require(program.exitCode() == 0, QString::fromUtf8(program.readAll()));
    const QImage last(snapshot);
    const QRect area = litArea(last);
    Tour::require(area == QRect(40, 300, 320, 180), QStringLiteral("the picture is ") + words(area));
    QLabel label;
    label.setPixmap(QPixmap::fromImage(last));
    label.adjustSize();
    m_tour.picture(label);
    return QStringLiteral("its last picture is ") + words(area);
}

/// Path of a clip, which is put into a folder of its own first: media are read from files, not from resources.
QString MediaWalk::clip(const char* name) const
{
    const QString path = m_folder.filePath(QString::fromLatin1(name));
    if (!QFile::exists(path))
        Tour::require(QFile::copy(QStringLiteral(":/clips/") + QString::fromLatin1(name), path), path);
    return path;
}

} // namespace

void walkMedia(Tour& tour)
{
    MediaWalk(tour).run();
}
