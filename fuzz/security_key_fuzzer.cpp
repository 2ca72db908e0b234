// links: plugboard::emulation_securitykey
// security_key_fuzzer.cpp: a host's request, CTAP 2 or U2F, to a key with credentials whose user refuses.
#include "emulation/securitykey/cbor.h"
#include "emulation/securitykey/crypto.h"
#include "emulation/securitykey/key_pair.h"
#include "emulation/securitykey/make_credential.h"
#include "emulation/securitykey/security_key.h"

#include <QLoggingCategory>
#include <QTemporaryDir>

#include <cstdint>
#include <cstdlib>

namespace {

using namespace ctap;

void check(bool holds)
{
    if (!holds)
        std::abort();
}

class Refusal : public UserPresence
{
public:
    void ask(const QString&, const QJsonObject&, Answered answered) override { answered({Verdict::Denied, {}}); }
    void withdraw() override {}
};

/// One for all runs: it keeps nothing of a request that its user refused.
struct Key
{
    Key()
    {
        QLoggingCategory::setFilterRules(QStringLiteral("plugboard.*=false"));
        check(store.prepare().isEmpty());
        Credential credential;
        credential.rpId = QStringLiteral("a");
        credential.rpIdHash = sha256("a");
        credential.userId = "u";
        credential.algorithm = int(Algorithm::Es256);
        credential.isDiscoverable = true;
        check(addCredential(store, credential, {}) != nullptr);
        attestation = *makeAttestation(store.authority());
    }

    QTemporaryDir folder;
    KeyStore store{{QStringLiteral("2"), {}, {}, {}, {}, QStringLiteral("S"), {}, QStringLiteral("1"), {}},
                   folder.path()};
    Refusal user;
    Attestation attestation;
    ClientPin pin{store, [] { return Milliseconds(0); }};
    Authenticator authenticator{store, pin, user, attestation, [] { return Milliseconds(0); }};
    U2f u2f{{store, pin, user, attestation}, [] { return Milliseconds(0); }};
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static Key key;
    const QByteArray message(reinterpret_cast<const char*>(data), int(size));
    if (size == 0 || size > std::size_t(CtapHid::kLongestMessage))
        return 0;
    if (const auto value = decodeCbor(message.mid(1)))
        check(encodeCbor(*value) == message.mid(1));
    int answers = 0;
    key.authenticator.execute(message, [&answers](const QByteArray& answer) {
        ++answers;
        check(!answer.isEmpty() && answer.size() <= CtapHid::kLongestMessage);
        check(answer.size() == 1 || (answer[0] == '\0' && decodeCbor(answer.mid(1))));
    });
    check(answers == 1);
    check(key.u2f.execute(message).size() >= 2);
    return 0;
}
