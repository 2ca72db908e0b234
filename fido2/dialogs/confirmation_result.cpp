#include "fido2/dialogs/confirmation_result.h"

#include <QJsonArray>

QJsonObject placeholderData(const QString& operation)
{
    return {{QStringLiteral("operation"), operation},
            {QStringLiteral("rpId"), QStringLiteral("Unknown")},
            {QStringLiteral("userName"), QStringLiteral("Unknown User")},
            {QStringLiteral("isPasswordlessLogin"), false}};
}

QJsonObject confirmedResult(const QJsonObject& data, const ConfirmationInput& input, const QString& timeText)
{
    QJsonObject result{{QStringLiteral("rememberChoice"), input.rememberChoice},
                       {QStringLiteral("userAction"), QStringLiteral("confirmed")}};
    if (input.description && data.value(QStringLiteral("allowDescriptionInput")).toBool()) {
        const QString description = input.description->trimmed();
        result.insert(QStringLiteral("description"), description.isEmpty() ? timeText : description);
    }
    const QJsonArray candidates = data.value(QStringLiteral("availableCredentials")).toArray();
    const bool picks = data.value(QStringLiteral("isPasswordlessLogin")).toBool();
    if (!picks || (!input.selectedIndex && candidates.isEmpty()))
        return result;
    const int index = input.selectedIndex.value_or(0);
    result.insert(QStringLiteral("selectedCredentialIndex"), index);
    result.insert(QStringLiteral("isPasswordlessLogin"), true);
    if (index >= 0 && index < candidates.size())
        result.insert(QStringLiteral("selectedCredential"), candidates.at(index));
    return result;
}

QJsonObject deniedResult(bool rememberChoice)
{
    return {{QStringLiteral("rememberChoice"), rememberChoice},
            {QStringLiteral("userAction"), QStringLiteral("denied")}};
}
