// confirmation_result.h: the answers to a confirmation request.
#pragma once

#include <QJsonObject>
#include <QString>

#include <optional>

/// What the user did in the dialog.
struct ConfirmationInput
{
    bool rememberChoice = false;
    std::optional<QString> description; ///< as typed; nothing when there was no field for it
    std::optional<int> selectedIndex;   ///< element of availableCredentials; nothing when there was no list
};

/// The data that a request without any is shown with.
QJsonObject placeholderData(const QString& operation);

/// `timeText` stands for an empty description.
QJsonObject confirmedResult(const QJsonObject& data, const ConfirmationInput& input, const QString& timeText);

/// Exactly two members.
QJsonObject deniedResult(bool rememberChoice);
