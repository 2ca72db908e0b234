#include "fido2/file/credential_ids.h"

#include <QHash>
#include <QJsonObject>

#include <algorithm>

namespace {

bool isDigit(QChar character)
{
    const char digit = character.toLatin1();
    return (digit >= '0' && digit <= '9') || (digit >= 'a' && digit <= 'f') || (digit >= 'A' && digit <= 'F');
}

} // namespace

QString comparableId(const QString& id)
{
    return id.trimmed().toLower();
}

bool isHexadecimalId(const QString& id)
{
    const QString digits = id.trimmed();
    return !digits.isEmpty() && digits.size() % 2 == 0 && std::all_of(digits.begin(), digits.end(), isDigit);
}

CredentialIdFaults findIdFaults(const QJsonArray& credentials)
{
    CredentialIdFaults faults;
    QHash<QString, int> first;
    for (int index = 0; index < credentials.size(); ++index) {
        const QString id = credentials.at(index).toObject().value(QStringLiteral("id")).toString();
        if (!isHexadecimalId(id))
            faults.notHexadecimal.insert(index);
        const QString key = comparableId(id);
        if (key.isEmpty())
            continue;
        if (const auto earlier = first.constFind(key); earlier != first.constEnd())
            faults.repeated << *earlier << index;
        else
            first.insert(key, index);
    }
    return faults;
}
