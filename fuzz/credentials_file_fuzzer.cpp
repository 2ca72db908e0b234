// links: plugboard::fido2
// credentials_file_fuzzer.cpp: a credentials file that is read, shown, merged with a form and given a PIN.
#include "fido2/dialogs/credential_texts.h"
#include "fido2/file/credentials_file.h"
#include "fuzz/json_input.h"

#include <QJsonDocument>

#include <cstdint>
#include <cstdlib>

namespace {

void check(bool holds)
{
    if (!holds)
        std::abort();
}

/// Members of `before` stand in `after` with their values.
void checkKept(const QJsonValue& before, const QJsonValue& after)
{
    const QJsonObject old = before.toObject();
    const QJsonObject merged = after.toObject();
    for (auto member = old.constBegin(); member != old.constEnd(); ++member)
        check(merged.value(member.key()) == member.value());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const JsonFileContent content =
        parseJsonFile(QByteArray(reinterpret_cast<const char*>(data), static_cast<int>(size)));
    check((content.state == JsonFileContent::State::Object) || content.root.isEmpty());

    const QJsonArray credentials = content.root.value(QStringLiteral("credentials")).toArray();
    for (const QJsonValue& credential : credentials)
        check(credentialRow(credential.toObject()).size() == credentialColumnTitles().size());
    credentialSummary(QStringLiteral("/x"), credentials);
    summarizeCredentials(content.root);

    const KeyIdentity form{QStringLiteral("S"),   QStringLiteral("n"),   QStringLiteral("0x1"),
                           QStringLiteral("0x2"), QStringLiteral("2.0"), true};
    const QJsonObject merged = mergedCredentialsRoot(content.root, form, credentials);
    check(merged.size() == 4);
    check(merged.value(QStringLiteral("credentials")).toArray() == credentials);
    for (const char* name : {"deviceInfo", "caInfo", "pinInfo"})
        checkKept(content.root.value(QLatin1String(name)), merged.value(QLatin1String(name)));
    check(mergedCredentialsRoot(merged, form, credentials) == merged);

    const QJsonObject withPin = rootWithPin(merged, QStringLiteral("1234"), QStringLiteral("S"));
    const QByteArray written = QJsonDocument(withPin).toJson();
    check(parseJsonFile(written).state == JsonFileContent::State::Object);
    check(withPin.value(QStringLiteral("credentials")) == merged.value(QStringLiteral("credentials")));
    return 0;
}
