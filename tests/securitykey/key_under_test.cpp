#include "tests/securitykey/key_under_test.h"

#include <utility>

namespace {

QStringList parameters(bool supportsPin)
{
    return {QStringLiteral("2"),
            QStringLiteral("0x1234"),
            QStringLiteral("0x5678"),
            QStringLiteral("Key"),
            QStringLiteral("0"),
            QStringLiteral("S1"),
            QString(),
            supportsPin ? QStringLiteral("1") : QStringLiteral("0"),
            QStringLiteral("END")};
}

} // namespace

void ScriptedUser::ask(const QString& operation, const QJsonObject& data, Answered answered)
{
    operations << operation;
    lastQuestion = data;
    if (std::exchange(isSlow, false)) {
        m_waiting = std::move(answered);
        return;
    }
    ctap::UserAnswer answer{ctap::Verdict::Confirmed, {}};
    if (!answers.empty()) {
        answer = answers.front();
        answers.pop_front();
    }
    answered(answer);
}

KeyUnderTest::KeyUnderTest(bool supportsPin) : m_store(parameters(supportsPin), m_folder.path())
{
    const QString fault = m_store.prepare();
    if (!fault.isEmpty())
        qFatal("%s", qPrintable(fault));
    restart();
}

void KeyUnderTest::restart()
{
    reports.clear();
    m_key = std::make_unique<ctap::SecurityKey>(m_store, user, *ctap::makeAttestation(m_store.authority()),
                                                [this](const QByteArray& report) { reports.push_back(report); });
}
