// fido2_message.h: the messages between the program and a security key's device process, each one JSON object.
#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QString>

#include <optional>

/// What a device process asks the user to confirm.
struct ConfirmationQuestion
{
    QString operation; ///< "make_credential", "get_assertion", "client_pin" or another
    QJsonObject data;
};

/// The question in one read's worth of bytes. Nothing for anything else: bytes that are not exactly one JSON object
/// (two messages, a part of one) and messages of other types. A question without data takes its known members from the
/// top level of the message, which is logged.
std::optional<ConfirmationQuestion> parseConfirmationQuestion(const QByteArray& bytes);

/// Times in milliseconds since the Unix epoch.
QJsonObject pingMessage(qint64 timestamp);
QJsonObject confirmationResponse(bool confirmed, const QJsonObject& result, qint64 timestamp);
