#include "fido2/file/credentials_merge.h"

#include <QHash>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

QByteArray bytesOf(const QJsonValue& value)
{
    return QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact);
}

/// A list by what tells its elements apart.
class Keyed
{
public:
    explicit Keyed(const QJsonArray& list)
    {
        QHash<QString, int> occurrences;
        for (const QJsonValue& element : list)
            ++occurrences[idOf(element)];
        for (const QJsonValue& element : list) {
            const QString id = idOf(element);
            const QByteArray key = !id.isEmpty() && occurrences.value(id) == 1 ? "id " + id.toUtf8() : bytesOf(element);
            m_keys << key;
            m_values.insert(key, element);
        }
    }

    /// In the list's order; equal elements have equal keys.
    const QList<QByteArray>& keys() const { return m_keys; }
    bool has(const QByteArray& key) const { return m_values.contains(key); }
    /// Undefined when there is none.
    QJsonValue value(const QByteArray& key) const { return m_values.value(key, QJsonValue(QJsonValue::Undefined)); }

private:
    static QString idOf(const QJsonValue& element) { return element.toObject().value(QStringLiteral("id")).toString(); }

    QList<QByteArray> m_keys;
    QHash<QByteArray, QJsonValue> m_values;
};

} // namespace

QJsonArray mergedCredentials(const QJsonArray& base, const QJsonArray& mine, const QJsonArray& theirs)
{
    if (theirs == base)
        return mine;
    const Keyed before(base);
    const Keyed user(mine);
    const Keyed others(theirs);
    QJsonArray merged;
    for (int index = 0; index < mine.size(); ++index) {
        const QByteArray& key = user.keys().at(index);
        const bool untouched = mine.at(index) == before.value(key);
        if (!untouched)
            merged.append(mine.at(index));
        else if (others.has(key))
            merged.append(others.value(key));
    }
    for (int index = 0; index < theirs.size(); ++index) {
        const QByteArray& key = others.keys().at(index);
        if (!before.has(key) && !user.has(key))
            merged.append(theirs.at(index));
    }
    return merged;
}
