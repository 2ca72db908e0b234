#include "emulation/player/source_function.h"

#include "emulation/player/make_player.h"

#include <QDir>
#include <QFileInfo>

namespace {

constexpr double kLongestSeconds = 1e6;
constexpr std::chrono::seconds kTryInterval(1);

QString secondsText(std::chrono::milliseconds time)
{
    return QString::number(double(time.count()) / 1000, 'f', 1);
}

bool isUrl(const QString& source)
{
    return source.contains(QLatin1String("://"));
}

} // namespace

SourceFunction::SourceFunction(QString source) : m_source(std::move(source))
{
    m_nextTry.setSingleShot(true);
    QObject::connect(&m_nextTry, &QTimer::timeout, &m_nextTry, [this] { startSource(); });
}

SourceFunction::~SourceFunction() = default;

bool SourceFunction::isLive(const QString& source)
{
    return isUrl(source) && !source.startsWith(QLatin1String("file://"));
}

bool SourceFunction::isThere(const QString& source)
{
    return isUrl(source) || (!source.isEmpty() && QFileInfo::exists(source));
}

void SourceFunction::startSource()
{
    m_isUsed = true;
    if (m_player || m_source.isEmpty())
        return;
    if (!isThere(m_source))
        return m_nextTry.start(kTryInterval);
    m_player = makePlayer(playerSettings(m_source));
    if (m_player)
        m_player->start();
    sourceChanged();
}

void SourceFunction::stopSource()
{
    m_isUsed = false;
    m_nextTry.stop();
    if (!m_player)
        return;
    m_player.reset();
    sourceChanged();
}

QString SourceFunction::run(const QString& command)
{
    const QString verb = command.section(QLatin1Char(' '), 0, 0);
    const QString rest = command.mid(verb.size()).trimmed();
    if (verb == QLatin1String("source"))
        return changeSource(rest);
    if (verb == QLatin1String("seek"))
        return seek(rest);
    if (command == QLatin1String("pause") || command == QLatin1String("play"))
        return pause(verb == QLatin1String("pause"));
    return runOther(command);
}

QString SourceFunction::changeSource(const QString& source)
{
    if (!isUrl(source)) {
        if (source.isEmpty() || QDir::isRelativePath(source))
            return commandFailed(QStringLiteral("source takes the whole path of a file, or a URL."));
        if (!QFileInfo(source).isFile())
            return commandFailed(QStringLiteral("There is no file %1.").arg(source));
    }
    m_source = source;
    if (m_isUsed) {
        stopSource();
        startSource();
    }
    return commandDone(QStringLiteral("source ") + source);
}

QString SourceFunction::pause(bool isPaused)
{
    if (m_isPaused != isPaused) {
        m_isPaused = isPaused;
        pauseChanged();
    }
    return commandDone(isPaused ? QStringLiteral("paused") : QStringLiteral("playing"));
}

QString SourceFunction::seek(const QString& seconds)
{
    bool isNumber = false;
    const double wanted = seconds.toDouble(&isNumber);
    if (!isNumber || !(wanted >= 0) || wanted > kLongestSeconds)
        return commandFailed(QStringLiteral("seek takes seconds from the beginning, 0 or more."));
    if (!m_player)
        return commandFailed(QStringLiteral("The source is not being played."));
    const auto position = std::chrono::milliseconds(std::int64_t(wanted * 1000));
    const std::chrono::milliseconds duration = m_player->duration();
    if (duration.count() == 0)
        return commandFailed(QStringLiteral("The source has no places to go to."));
    if (position > duration)
        return commandFailed(QStringLiteral("The source ends at %1 s.").arg(secondsText(duration)));
    m_player->seek(position);
    sourceChanged();
    return commandDone(QStringLiteral("at %1 s").arg(secondsText(position)));
}

QString SourceFunction::status() const
{
    return sourceStatus() + QStringLiteral("; ") + deviceStatus();
}

QString SourceFunction::sourceStatus() const
{
    const QString paused = m_isPaused ? QStringLiteral(", paused") : QString();
    if (m_source.isEmpty())
        return QStringLiteral("no source") + paused;
    if (!m_player)
        return (m_isUsed ? QStringLiteral("source lost (%1)")
                               .arg(isThere(m_source) ? QStringLiteral("it cannot be played here")
                                                      : QStringLiteral("there is no such file"))
                         : QStringLiteral("source at rest")) +
               paused;
    const SourceStatus status = m_player->status();
    QString text = QStringLiteral("source ") + QLatin1String(stateName(status.state));
    if (!status.reason.empty())
        text += QStringLiteral(" (%1)").arg(QString::fromStdString(status.reason));
    text += QStringLiteral(" at %1").arg(secondsText(m_player->position()));
    if (m_player->duration().count() > 0)
        text += QStringLiteral(" of %1").arg(secondsText(m_player->duration()));
    return text + QStringLiteral(" s") + paused;
}
