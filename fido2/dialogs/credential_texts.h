// credential_texts.h: how credentials of a credentials file read in tables and summaries.
#pragma once

#include <QJsonArray>
#include <QJsonObject>
#include <QStringList>

/// Columns of the credentials table, in its order.
enum class CredentialColumn
{
    Id,
    RpId,
    RpName,
    UserName,
    UserId,
    Description,
    CreatedAt,
    ResidentKey,
    SignatureCount,
    KeyFiles
};

/// Header texts in the order of CredentialColumn.
QStringList credentialColumnTitles();

/// One text per column. A member that is missing or of the wrong type reads "N/A"; key files stand on lines of their
/// own.
QStringList credentialRow(const QJsonObject& credential);

/// The numbered listing of all credentials, with their number and the file's path on top.
QString credentialSummary(const QString& path, const QJsonArray& credentials);

/// Says that `total` items are more than what is shown; empty when they are not.
QString notShownText(int total);

/// "Yes" or "No".
QString yesOrNo(bool value);

/// The string, made safe to show; "N/A" when the value is no string.
QString textOrNotAvailable(const QJsonValue& value);
