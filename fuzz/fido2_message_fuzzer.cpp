// links: plugboard::fido2
// fido2_message_fuzzer.cpp: a message of a device process, from its bytes to the texts and the answers.
#include "fido2/channel/fido2_message.h"
#include "fido2/dialogs/confirmation_result.h"
#include "fido2/dialogs/confirmation_texts.h"
#include "fuzz/json_input.h"

#include <QJsonArray>
#include <QtGlobal>

#include <cstdint>
#include <cstdlib>

namespace {

void check(bool holds)
{
    if (!holds)
        std::abort();
}

/// No line of the details but the fixed ones may come from a value.
void checkLines(const QJsonObject& data)
{
    const QJsonArray algorithms = data.value(QStringLiteral("supportedAlgorithms")).toArray();
    const QJsonArray candidates = data.value(QStringLiteral("availableCredentials")).toArray();
    constexpr int kFixedLines = 12;
    const int feeds = data.value(QStringLiteral("algorithmInfo")).toString().count(QLatin1Char('\n'));
    for (const char* operation : {"make_credential", "get_assertion"}) {
        const QString details = confirmationDetails(QLatin1String(operation), data);
        check(details.count(QLatin1Char('\n')) <= kFixedLines + feeds + algorithms.size() + candidates.size());
    }
    for (const QJsonValue& candidate : candidates)
        check(!credentialChoice(candidate.toObject()).contains(QLatin1Char('\n')));
}

void checkAnswers(const QJsonObject& data)
{
    const QJsonArray candidates = data.value(QStringLiteral("availableCredentials")).toArray();
    for (const int index : {-1, 0, candidates.size(), candidates.size() - 1}) {
        ConfirmationInput input;
        input.description = QStringLiteral(" x ");
        input.selectedIndex = index;
        const QJsonObject result = confirmedResult(data, input, QStringLiteral("now"));
        check(result.contains(QStringLiteral("selectedCredential")) ==
              (isPasswordlessLogin(data) && index >= 0 && index < candidates.size()));
    }
    confirmedResult(data, {}, QStringLiteral("now"));
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const auto question =
        parseConfirmationQuestion(QByteArray(reinterpret_cast<const char*>(data), static_cast<int>(size)));
    if (!question)
        return 0;
    check(!confirmationHeading(question->operation).contains(QLatin1Char('\n')));
    check(completeRequestText(question->operation, question->data).endsWith(QLatin1Char('\n')));
    checkLines(question->data);
    checkAnswers(question->data);
    return 0;
}
