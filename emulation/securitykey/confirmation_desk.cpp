#include "emulation/securitykey/confirmation_desk.h"

#include "emulation/securitykey/log.h"

#include <QJsonArray>
#include <QJsonDocument>

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

/// What questions have in common that one remembered choice answers; empty for those that are asked each time.
QByteArray kindOf(const QString& operation, const QJsonObject& data)
{
    const QString rpId = data.value(QLatin1String("rpId")).toString();
    const bool isRegistration = operation == QLatin1String("make_credential");
    if (rpId.isEmpty() || (!isRegistration && operation != QLatin1String("get_assertion")))
        return {};
    QJsonArray kind{operation, rpId};
    if (isRegistration)
        kind.append(data.value(QLatin1String("userId")));
    for (const QJsonValue& candidate : data.value(QLatin1String("availableCredentials")).toArray())
        kind.append(candidate.toObject().value(QLatin1String("id")));
    return QJsonDocument(kind).toJson(QJsonDocument::Compact);
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
    const QByteArray kind = kindOf(operation, data);
    if (answerUnasked(kind))
        return;
    const auto take = [this, kind](bool confirmed, const QJsonObject& result) {
        const UserAnswer answer{confirmed ? Verdict::Confirmed : Verdict::Denied, result};
        if (!kind.isEmpty() && result.value(QLatin1String("rememberChoice")).toBool())
            m_remembered.insert_or_assign(kind, answer);
        finish(answer);
    };
    const bool asked = m_channel.isConnected() && m_channel.ask(operation, data, take);
    if (asked)
        return m_end.start(m_patience);
    qCWarning(securityKeyLog) << "Nobody can be asked for" << operation;
    finish({Verdict::Denied, {}});
}

bool ConfirmationDesk::answerUnasked(const QByteArray& kind)
{
    UserAnswer answer{Verdict::Confirmed, {}};
    if (!m_prepared.empty()) {
        answer.verdict = m_prepared.front();
        m_prepared.pop_front();
    } else if (const auto found = m_remembered.find(kind); !m_approvesAll && found != m_remembered.end()) {
        answer = found->second;
        qCInfo(securityKeyLog) << "Nobody is asked: the choice was to be remembered";
    } else if (!m_approvesAll) {
        return false;
    }
    finish(answer);
    return true;
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
    if (!m_remembered.empty())
        parts << QStringLiteral("%1 choices remembered").arg(m_remembered.size());
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
