#include "runtime/log_session.h"

#include "runtime/secrets.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QLoggingCategory>

#include <cstdlib>

namespace {

/// Qt's message handler is a plain function: it finds the session here.
struct Current
{
    std::recursive_mutex mutex; ///< a message may come up while another one is written
    LogSession* session = nullptr;
};

Current& current()
{
    static auto* const s_current = new Current; // messages come until the very end of the process
    return *s_current;
}

const char* levelName(QtMsgType type)
{
    switch (type) {
    case QtDebugMsg:
        return "debug";
    case QtInfoMsg:
        return "info";
    case QtWarningMsg:
        return "warning";
    case QtCriticalMsg:
        return "critical";
    case QtFatalMsg:
        break;
    }
    return "fatal";
}

/// On one line, whatever a device process or a file put into it.
QString oneLine(const QString& text)
{
    constexpr int kLongest = 4000;
    QString line;
    line.reserve(text.size());
    for (const QChar character : text.left(kLongest)) {
        if (character == QLatin1Char('\n'))
            line += QStringLiteral("\\n");
        else if (character.category() == QChar::Other_Control || character == QChar::LineSeparator ||
                 character == QChar::ParagraphSeparator)
            line += QStringLiteral("\\u%1").arg(character.unicode(), 4, 16, QLatin1Char('0'));
        else
            line += character;
    }
    return text.size() > kLongest ? line + QStringLiteral("...") : line;
}

} // namespace

LogSession::LogSession(const QString& folder, const QString& program, const QString& rules) : m_file(folder, program)
{
    QLoggingCategory::setFilterRules(rules);
    const std::lock_guard lock(current().mutex);
    current().session = this;
    m_before = qInstallMessageHandler(&LogSession::handle);
}

LogSession::~LogSession()
{
    const std::lock_guard lock(current().mutex);
    tellLeftOut();
    qInstallMessageHandler(m_before);
    current().session = nullptr;
    QLoggingCategory::setFilterRules(QString());
}

void LogSession::handle(QtMsgType type, const QMessageLogContext& context, const QString& text)
{
    const QString kept = withoutSecrets(text);
    QtMessageHandler before = nullptr;
    {
        const std::lock_guard lock(current().mutex);
        if (!current().session)
            return;
        if (current().session->take(type, context.category, kept))
            before = current().session->m_before;
    }
    if (type != QtDebugMsg && type != QtInfoMsg && before)
        before(type, context, kept);
    if (type == QtFatalMsg)
        std::abort(); // Qt would end the process now, on Windows without a trace
}

bool LogSession::take(QtMsgType type, const char* category, const QString& text)
{
    constexpr int kPeriod = 10000; // ms
    if (!m_since.isValid() || m_since.hasExpired(kPeriod)) {
        tellLeftOut();
        m_since.start();
        m_lines = 0;
    }
    if (++m_lines > kMostLines && type != QtFatalMsg) {
        ++m_leftOut;
        return false;
    }
    write(type, category, text);
    return true;
}

void LogSession::tellLeftOut()
{
    if (m_leftOut > 0)
        write(QtWarningMsg, "default", QStringLiteral("%1 more lines were left out").arg(m_leftOut));
    m_leftOut = 0;
}

void LogSession::write(QtMsgType type, const char* category, const QString& text)
{
    const QString line = QStringLiteral("%1 %2 %3 [%4] %5\n")
                             .arg(QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd hh:mm:ss.zzz")),
                                  QLatin1String(levelName(type)), QLatin1String(category ? category : "default"),
                                  QString::number(QCoreApplication::applicationPid()), oneLine(text));
    m_file.write(line.toUtf8());
}
