// credential_texts.h: how credentials of a credentials file read in tables and summaries.
#pragma once

#include "fido2/file/credential_ids.h"

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

/// Under a table that shows `matching` of `total` credentials, or the first of them: what it leaves out. Empty for all.
QString restText(int matching, int total);

/// What is wrong with ids; empty for nothing.
QString idWarningText(const CredentialIdFaults& faults);

/// Whether `text` occurs in what a table shows of the credential, whatever the case of letters.
bool isFound(const QJsonObject& credential, const QString& text);

/// "Yes" or "No".
QString yesOrNo(bool value);

/// The string, made safe to show; "N/A" when the value is no string.
QString textOrNotAvailable(const QJsonValue& value);
