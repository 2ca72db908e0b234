#include "emulation/securitykey/key_pair.h"
#include "emulation/securitykey/make_credential.h"
#include "fido2/file/credentials_file.h"
#include "tests/securitykey/key_under_test.h"
#include "tests/support/suite_registry.h"

#include <QRandomGenerator>
#include <QtTest>

#include <csignal>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>

namespace {

constexpr int kIdSize = 32;

/// Ids of the credentials that were answered, in memory that both processes see.
struct Answered
{
    std::atomic<int> count;
    std::atomic<bool> isOver; ///< A registration failed.
    char ids[4096][kIdSize];
};

ctap::Credential wanted()
{
    ctap::Credential credential;
    credential.rpId = QStringLiteral("shop.example");
    credential.rpIdHash = QByteArray(32, 'h');
    credential.userId = QByteArray("u");
    credential.algorithm = int(ctap::Algorithm::Es256);
    return credential;
}

[[noreturn]] void registerUntilKilled(const ctap::KeyStore& store, Answered& answered)
{
    for (;;) {
        ctap::Credential credential = wanted();
        if (!ctap::addCredential(store, credential, {})) {
            answered.isOver = true;
            _exit(1);
        }
        const int number = answered.count;
        std::copy_n(credential.id.constData(), kIdSize, answered.ids[number]);
        answered.count = number + 1;
    }
}

} // namespace

/// What is answered is on the disk, whatever becomes of the process, and whoever else writes the file.
class KilledKeyTest : public QObject
{
    Q_OBJECT

private slots:
    void aKilledKeyHasWhatItAnswered()
    {
        constexpr int kRounds = 200;
        KeyUnderTest key;
        auto* answered = static_cast<Answered*>(
            mmap(nullptr, sizeof(Answered), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
        QVERIFY(answered != MAP_FAILED);
        QElapsedTimer clock;
        clock.start();
        ctap::Credential first = wanted();
        QVERIFY(ctap::addCredential(key.store(), first, {}));
        const auto oneRegistration = int(clock.nsecsElapsed() / 1000) + 1; // microseconds
        int lost = 0;
        int total = 0;
        for (int round = 0; round < kRounds; ++round) {
            answered->count = 0;
            const pid_t child = fork();
            if (child == 0)
                registerUntilKilled(key.store(), *answered);
            const int registrations = QRandomGenerator::global()->bounded(3);
            while (answered->count < registrations && !answered->isOver)
                usleep(100);
            usleep(useconds_t(QRandomGenerator::global()->bounded(oneRegistration)));
            kill(child, SIGKILL);
            int status = 0;
            waitpid(child, &status, 0);
            QVERIFY2(WIFSIGNALED(status), "the key could not register");

            const std::vector<ctap::Credential> kept = key.store().credentials();
            for (int i = 0; i < answered->count; ++i) {
                const QByteArray id(answered->ids[i], kIdSize);
                const auto found =
                    std::find_if(kept.begin(), kept.end(), [&id](const auto& one) { return one.id == id; });
                lost += found == kept.end() || !ctap::algorithmOf(key.store().privateKey(*found)) ? 1 : 0;
            }
            for (const ctap::Credential& credential : kept)
                QVERIFY(ctap::algorithmOf(key.store().privateKey(credential)).has_value());
            total += answered->count;
            QVERIFY(key.store().reset());
        }
        qInfo("killed %d times, %d registrations answered, %d lost", kRounds, total, lost);
        QVERIFY(total > kRounds / 2); // it was killed at work
        QCOMPARE(lost, 0);
        munmap(answered, sizeof(Answered));
    }

    void programAndKeyLoseNothingOfEachOther()
    {
        constexpr int kTimes = 60;
        KeyUnderTest key;
        const QString path = key.file("credentials.json");
        // The program, in a process of its own, sets PINs while the key registers and counts.
        const pid_t program = fork();
        if (program == 0) {
            for (int i = 0; i < kTimes; ++i) {
                if (CredentialsFile(path).setPin(QString::number(1000 + i), QStringLiteral("S1")) !=
                    CredentialsFile::PinResult::Set)
                    _exit(1);
            }
            _exit(0);
        }
        ctap::Credential credential = wanted();
        for (int i = 0; i < kTimes; ++i) {
            credential = wanted();
            QVERIFY(ctap::addCredential(key.store(), credential, {}));
            QVERIFY(key.store().countSignature(credential.id));
        }
        int status = 0;
        waitpid(program, &status, 0);
        QVERIFY(WIFEXITED(status) && WEXITSTATUS(status) == 0);
        QCOMPARE(int(key.store().credentials().size()), kTimes);
        QVERIFY(key.store().pin().isSet);
        for (const ctap::Credential& one : key.store().credentials())
            QCOMPARE(one.signatureCount, 1u);
    }
};

PLUGBOARD_SUITE(KilledKeyTest)
#include "killed_key_linux_test.moc"
