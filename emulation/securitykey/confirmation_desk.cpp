#include "emulation/securitykey/confirmation_desk.h"

#include "emulation/securitykey/log.h"

#include <utility>

namespace ctap {

namespace {

const char* nameOf(Verdict verdict)
{
    switch (verdict) {
    case Verdict::Confirmed:
        return "confirmed";
    case Verdict::Denied:
        return "denied";
    case Verdict::TimedOut:
        return "not answered in time";
    }
    return "";
}

} // namespace

ConfirmationDesk::ConfirmationDesk(Fido2Server& channel, std::chrono::milliseconds patience)
    : m_channel(channel)
    , m_patience(patience)
{
    m_end.setSingleShot(true);
    connect(&m_end, &QTimer::timeout, this, [this] {
        m_channel.withdraw();
        finish({Verdict::TimedOut, {}});
    });
}

void ConfirmationDesk::ask(const QString& operation, const QJsonObject& data, Answered answered)
{
    m_operation = operation;
    m_answered = std::move(answered);
    if (!m_prepared.empty()) {
        const Verdict verdict = m_prepared.front();
        m_prepared.pop_front();
        return finish({verdict, {}});
    }
    if (m_approvesAll)
        return finish({Verdict::Confirmed, {}});
    const bool asked =
        m_channel.isConnected() && m_channel.ask(operation, data, [this](bool confirmed, const QJsonObject& result) {
            finish({confirmed ? Verdict::Confirmed : Verdict::Denied, result});
        });
    if (asked)
        return m_end.start(m_patience);
    qCWarning(securityKeyLog) << "Nobody can be asked for" << operation;
    finish({Verdict::Denied, {}});
}

void ConfirmationDesk::withdraw()
{
    if (!m_answered)
        return;
    m_end.stop();
    m_channel.withdraw();
    m_answered = nullptr;
    qCInfo(securityKeyLog) << "Question withdrawn:" << m_operation;
}

void ConfirmationDesk::answerNext(Verdict verdict)
{
    if (!m_answered)
        return m_prepared.push_back(verdict);
    m_channel.withdraw();
    finish({verdict, {}});
}

void ConfirmationDesk::approveAll(bool on)
{
    m_approvesAll = on;
    if (on)
        qCWarning(securityKeyLog) << "Every question is confirmed from now on, without anybody being asked";
    if (on && m_answered)
        answerNext(Verdict::Confirmed);
}

QString ConfirmationDesk::status() const
{
    QStringList parts;
    if (m_answered)
        parts << QStringLiteral("waits for the answer to \"%1\"").arg(m_operation);
    if (!m_prepared.empty())
        parts << QStringLiteral("%1 answers prepared").arg(m_prepared.size());
    if (m_approvesAll)
        parts << QStringLiteral("approves everything");
    return parts.join(QStringLiteral(", "));
}

void ConfirmationDesk::finish(const UserAnswer& answer)
{
    m_end.stop();
    qCInfo(securityKeyLog) << m_operation << nameOf(answer.verdict);
    if (const Answered answered = std::exchange(m_answered, nullptr))
        answered(answer);
}

} // namespace ctap
