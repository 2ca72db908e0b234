#include "emulation/securitykey/cbor_fields.h"

namespace ctap {

QCborValue CborFields::member(const QCborValue& key, QCborValue::Type type, Need need)
{
    const QCborValue value = m_map.value(key);
    if (value.isUndefined() && need == Need::Required)
        fail(Status::MissingParameter);
    else if (!value.isUndefined() && value.type() != type)
        fail(Status::UnexpectedType);
    return value;
}

QByteArray CborFields::bytes(const QCborValue& key, Need need)
{
    return member(key, QCborValue::ByteArray, need).toByteArray();
}

QString CborFields::text(const QCborValue& key, Need need)
{
    return member(key, QCborValue::String, need).toString();
}

qint64 CborFields::integer(const QCborValue& key, Need need)
{
    return member(key, QCborValue::Integer, need).toInteger();
}

std::optional<bool> CborFields::boolean(const QCborValue& key)
{
    const QCborValue value = m_map.value(key);
    if (value.isUndefined())
        return {};
    if (!value.isBool())
        fail(Status::UnexpectedType);
    return value.isTrue();
}

QCborMap CborFields::map(const QCborValue& key, Need need)
{
    return member(key, QCborValue::Map, need).toMap();
}

QCborArray CborFields::array(const QCborValue& key, Need need)
{
    return member(key, QCborValue::Array, need).toArray();
}

void CborFields::fail(Status status)
{
    if (m_status == Status::Ok)
        m_status = status;
}

} // namespace ctap
