// links: plugboard::emulation_securitykey
// key_sign_benchmark.cpp: an assertion that asks nobody, from the request's bytes to the answer's, against the
// signature and the file writes that it needs.
#include "benchmarks/report.h"
#include "emulation/securitykey/authenticator.h"
#include "emulation/securitykey/cbor.h"
#include "emulation/securitykey/crypto.h"
#include "emulation/securitykey/key_material.h"
#include "emulation/securitykey/key_pair.h"
#include "fido2/file/json_file.h"

#include <QCborArray>
#include <QCoreApplication>
#include <QLoggingCategory>
#include <QTemporaryDir>

namespace {

using namespace ctap;

class Nobody : public UserPresence
{
public:
    void ask(const QString&, const QJsonObject&, Answered answered) override { answered({Verdict::Denied, {}}); }
    void withdraw() override {}
};

constexpr int kCredentials = 20;

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    QLoggingCategory::setFilterRules(QStringLiteral("plugboard.*=false"));
    const QTemporaryDir folder;
    const KeyStore store({QStringLiteral("2"), {}, {}, {}, {}, QStringLiteral("S"), {}, QStringLiteral("1"), {}},
                         folder.path());
    if (!store.prepare().isEmpty())
        return 1;
    Credential credential;
    for (int i = 0; i < kCredentials; ++i) {
        credential = Credential();
        credential.rpId = QStringLiteral("shop.example");
        credential.rpIdHash = sha256("shop.example");
        credential.userId = QByteArray::number(i);
        credential.algorithm = int(Algorithm::Es256);
        if (!addCredential(store, credential, {}))
            return 1;
    }
    const Attestation attestation = *makeAttestation(store.authority());
    Nobody user;
    ClientPin pin(store, [] { return Milliseconds(0); });
    Authenticator authenticator(store, pin, user, attestation, [] { return Milliseconds(0); });
    const QCborMap descriptor{{QStringLiteral("id"), credential.id},
                              {QStringLiteral("type"), QStringLiteral("public-key")}};
    const QByteArray request = '\x02' + *encodeCbor(QCborMap{{1, QStringLiteral("shop.example")},
                                                             {2, QByteArray(32, 'h')},
                                                             {3, QCborArray{descriptor}},
                                                             {5, QCborMap{{QStringLiteral("up"), false}}}});

    constexpr int kTimes = 5;
    bool answered = true;
    const auto ours = [&] {
        return millisecondsOf([&] {
                   for (int i = 0; i < kTimes; ++i)
                       authenticator.execute(request, [&answered](const QByteArray& answer) {
                           answered = answered && answer[0] == '\0' && answer.size() > 100;
                       });
               }) /
               kTimes;
    };
    const QString path = folder.filePath(QStringLiteral("fido2/S_credentials.json"));
    const QString copy = folder.filePath(QStringLiteral("copy.json"));
    const QJsonObject root = readJsonFile(path).root;
    const openssl::Key key = makeKey(Algorithm::Es256);
    const auto peer = [&] {
        return millisecondsOf([&] {
                   for (int i = 0; i < kTimes; ++i) {
                       sign(key, QByteArray(69, 'd'));
                       writeJsonFile(copy, root);
                   }
               }) /
               kTimes;
    };
    const PairOfMedians medians = measureInTurn(101, ours, peer);
    if (!answered) {
        std::fputs("The key did not sign.\n", stderr);
        return 1;
    }
    report("key_sign", "ms", medians.ours, "ECDSA signature and the same file write", medians.peer, "2.0");
    return 0;
}
