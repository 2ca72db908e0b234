#include "fido2/file/credentials_file.h"
#include "tests/fido2/fido2_test_support.h"
#include "tests/support/log_lines.h"
#include "tests/support/suite_registry.h"

#include <QJsonDocument>
#include <QRandomGenerator>

#include <csignal>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

const KeyIdentity kForm{QStringLiteral("S1"),     QStringLiteral("Key"), QStringLiteral("0x1234"),
                        QStringLiteral("0x5678"), QStringLiteral("2.0"), true};

QJsonArray manyCredentials(int count)
{
    QJsonArray credentials;
    for (int number = 0; number < count; ++number)
        credentials.append(QJsonObject{{QStringLiteral("id"), QString(500, QLatin1Char('a'))}});
    return credentials;
}

/// Runs `work` in a child process, which is killed at its `calls`-th entry or exit of a system call. True when the
/// child came to its end before that.
template<typename Work>
bool runUntilCall(int calls, Work work)
{
    const pid_t child = fork();
    if (child == 0) {
        ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
        raise(SIGSTOP);
        _exit(work() ? 0 : 1);
    }
    int status = 0;
    waitpid(child, &status, 0);
    for (int seen = 0; WIFSTOPPED(status) && seen < calls; ++seen) {
        ptrace(PTRACE_SYSCALL, child, nullptr, nullptr);
        waitpid(child, &status, 0);
    }
    if (!WIFSTOPPED(status))
        return WIFEXITED(status) && WEXITSTATUS(status) == 0;
    kill(child, SIGKILL);
    waitpid(child, &status, 0);
    return false;
}

} // namespace

class InterruptedSaveTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        m_path = m_folder.keyPath(QStringLiteral("S1_credentials.json"));
        QVERIFY(CredentialsFile(m_path).save(kForm, manyCredentials(100)));
        m_new = fileBytes(m_path);
        QVERIFY(CredentialsFile(m_path).save(kForm, manyCredentials(60)));
        m_old = fileBytes(m_path);
        QVERIFY(m_old != m_new);
    }

    void aKilledWriterLeavesTheOldOrTheNewFile()
    {
        constexpr int kMostCalls = 2000;
        int killed = 0;
        int leftNew = 0;
        for (;; ++killed) {
            QVERIFY(killed < kMostCalls);
            restoreOldFile();
            const bool finished =
                runUntilCall(killed, [this] { return CredentialsFile(m_path).save(kForm, manyCredentials(100)); });
            const QByteArray left = fileBytes(m_path);
            QVERIFY2(left == m_old || left == m_new, qPrintable(QStringLiteral("killed at call %1").arg(killed)));
            leftNew += left == m_new ? 1 : 0;
            if (finished)
                break;
        }
        QVERIFY(killed > 20); // it really was interrupted on the way
        QVERIFY(leftNew >= 1);
        qInfo("killed at %d places, %d of them after the replacement", killed, leftNew - 1);
    }

    /// Not only between two calls of the system: in the middle of one, and of what the process computes.
    void killsAtAnyMomentDamageNothing()
    {
        constexpr int kKills = 200;
        constexpr int kLongestLife = 20000; // microseconds, some saves
        QRandomGenerator random(QRandomGenerator::securelySeeded());
        restoreOldFile();
        int changed = 0;
        for (int kill = 0; kill < kKills; ++kill) {
            const QByteArray before = fileBytes(m_path);
            const pid_t child = fork();
            if (child == 0) {
                for (int save = 0;; ++save)
                    CredentialsFile(m_path).save(kForm, manyCredentials(save % 2 == 0 ? 100 : 60));
            }
            usleep(random.bounded(kLongestLife));
            ::kill(child, SIGKILL);
            waitpid(child, nullptr, 0);
            const QByteArray left = fileBytes(m_path);
            QVERIFY2(left == m_old || left == m_new, qPrintable(QStringLiteral("after kill %1").arg(kill)));
            changed += left == before ? 0 : 1;
        }
        QVERIFY(changed > 0);
        // A lock that died with its holder holds nobody up.
        const LogLines logged(LogLines::Least::Warning);
        QVERIFY(CredentialsFile(m_path).save(kForm, {}));
        QCOMPARE(logged.text().trimmed(), QString());
        qInfo("%d kills, %d of them left the other file", kKills, changed);
    }

    void aFullDiskLeavesTheOldFile()
    {
        for (int room = 0; room < m_new.size(); room += 997) {
            restoreOldFile();
            const bool refused = runUntilCall(1000000, [this, room] {
                const rlimit limit{rlim_t(room), rlim_t(room)};
                std::signal(SIGXFSZ, SIG_IGN);
                setrlimit(RLIMIT_FSIZE, &limit);
                return !CredentialsFile(m_path).save(kForm, manyCredentials(100));
            });
            QVERIFY2(refused, qPrintable(QStringLiteral("reported as saved with room for %1 bytes").arg(room)));
            QCOMPARE(fileBytes(m_path), m_old);
        }
    }

private:
    void restoreOldFile() { m_folder.write(m_path, m_old); }

    KeyFolder m_folder;
    QString m_path;
    QByteArray m_old;
    QByteArray m_new;
};

PLUGBOARD_SUITE(InterruptedSaveTest)
#include "interrupted_save_test.moc"
