// key_under_test.h: a security key in the test's own process, its folder and its user.
#pragma once

#include "emulation/securitykey/security_key.h"

#include <QTemporaryDir>

#include <deque>
#include <memory>

/// A user who answers as the test said beforehand, at once. Without a word from the test everything is confirmed.
class ScriptedUser : public ctap::UserPresence
{
public:
    void ask(const QString& operation, const QJsonObject& data, Answered answered) override;
    void withdraw() override { m_waiting = nullptr; }

    /// Of the questions to come, in their order.
    std::deque<ctap::UserAnswer> answers;
    /// The next question stays open.
    bool isSlow = false;
    /// What was asked, the newest last.
    QStringList operations;
    QJsonObject lastQuestion;

private:
    Answered m_waiting;
};

class KeyUnderTest
{
public:
    /// `parameters`: the list that the process would get, but for serial number ("S1") and file.
    explicit KeyUnderTest(bool supportsPin = true);

    /// Plugged out and in again.
    void replug() { m_key->restart(); }
    /// Ends and starts the process.
    void restart();

    QString folder() const { return m_folder.filePath(QStringLiteral("fido2")); }
    QString file(const char* suffix) const { return folder() + QStringLiteral("/S1_") + QLatin1String(suffix); }
    ctap::KeyStore& store() { return m_store; }
    ctap::SecurityKey& key() { return *m_key; }

    ScriptedUser user;
    std::deque<QByteArray> reports; ///< for the host

private:
    QTemporaryDir m_folder;
    ctap::KeyStore m_store;
    std::unique_ptr<ctap::SecurityKey> m_key;
};
