// cbor_fields.h: members of a request's map, each checked for its type as it is read.
#pragma once

#include "emulation/securitykey/ctap_status.h"

#include <QCborArray>
#include <QCborMap>
#include <QCborValue>

#include <optional>

namespace ctap {

/// Reads members one after the other; the first fault is kept, and the caller asks for it once, at the end. What is
/// missing or of another type is read as empty.
class CborFields
{
public:
    explicit CborFields(QCborMap map) : m_map(std::move(map)) {}

    enum class Need
    {
        Required,
        Optional
    };

    bool has(const QCborValue& key) const { return m_map.contains(key); }
    QByteArray bytes(const QCborValue& key, Need need);
    QString text(const QCborValue& key, Need need);
    qint64 integer(const QCborValue& key, Need need);
    std::optional<bool> boolean(const QCborValue& key); ///< never required
    QCborMap map(const QCborValue& key, Need need);
    QCborArray array(const QCborValue& key, Need need);

    Status status() const { return m_status; }
    /// Keeps `status` unless there is an earlier fault.
    void fail(Status status);

private:
    QCborValue member(const QCborValue& key, QCborValue::Type type, Need need);

    QCborMap m_map;
    Status m_status = Status::Ok;
};

} // namespace ctap
