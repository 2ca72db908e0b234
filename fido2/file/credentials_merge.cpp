#include "fido2/file/credentials_merge.h"

#include <QHash>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStringList>

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

/// Members that others changed or removed and the user did not; of objects in objects too.
QJsonValue joined(const QJsonValue& before, const QJsonValue& mine, const QJsonValue& theirs)
{
    if (mine == before)
        return theirs;
    if (!before.isObject() || !mine.isObject() || !theirs.isObject())
        return mine;
    const QJsonObject old = before.toObject();
    const QJsonObject other = theirs.toObject();
    QJsonObject result = mine.toObject();
    QStringList keys = old.keys() + other.keys();
    keys.removeDuplicates();
    for (const QString& key : qAsConst(keys)) {
        const QJsonValue value = joined(old.value(key), result.value(key), other.value(key));
        if (value.isUndefined())
            result.remove(key);
        else
            result.insert(key, value);
    }
    return result;
}

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
        const QJsonValue value = mine.at(index);
        if (others.has(key))
            merged.append(joined(before.value(key), value, others.value(key)));
        else if (value != before.value(key))
            merged.append(value);
    }
    for (int index = 0; index < theirs.size(); ++index) {
        const QByteArray& key = others.keys().at(index);
        if (!before.has(key) && !user.has(key))
            merged.append(theirs.at(index));
    }
    return merged;
}
