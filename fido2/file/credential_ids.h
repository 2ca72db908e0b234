// credential_ids.h: which credential ids a key cannot work with.
#pragma once

#include <QJsonArray>
#include <QSet>
#include <QString>

/// Blanks around it and the case of its digits do not count: what two equal ids come to.
QString comparableId(const QString& id);

/// An even number of hexadecimal digits, at least two. A key leaves a credential with another id out.
bool isHexadecimalId(const QString& id);

/// Positions in the list.
struct CredentialIdFaults
{
    QSet<int> repeated; ///< has the id of another one
    QSet<int> notHexadecimal;
};

CredentialIdFaults findIdFaults(const QJsonArray& credentials);
