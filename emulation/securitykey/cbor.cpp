#include "emulation/securitykey/cbor.h"

#include <QCborArray>
#include <QCborStreamReader>
#include <QCborStreamWriter>

#include <algorithm>
#include <limits>
#include <vector>

namespace ctap {

namespace {

constexpr int kMostLevels = 4;

/// A key before another: by major type, then by length, then by its bytes.
bool precedes(const QByteArray& left, const QByteArray& right)
{
    const auto majorType = [](const QByteArray& encoded) { return std::uint8_t(encoded[0]) >> 5; };
    if (majorType(left) != majorType(right))
        return majorType(left) < majorType(right);
    return left.size() != right.size() ? left.size() < right.size() : left < right;
}

/// Head of a map or an array.
QByteArray containerHead(bool isMap, qsizetype count)
{
    QByteArray bytes;
    QCborStreamWriter writer(&bytes);
    if (isMap)
        writer.startMap(quint64(count));
    else
        writer.startArray(quint64(count));
    return bytes;
}

std::optional<QByteArray> encode(const QCborValue& value, int levels);

std::optional<QByteArray> encodeArray(const QCborArray& array, int levels)
{
    QByteArray bytes = containerHead(false, array.size());
    for (const QCborValue element : array) {
        const auto encoded = encode(element, levels - 1);
        if (!encoded)
            return {};
        bytes += *encoded;
    }
    return bytes;
}

std::optional<QByteArray> encodeMap(const QCborMap& map, int levels)
{
    std::vector<std::pair<QByteArray, QByteArray>> entries;
    for (const auto& [key, value] : map) {
        const auto encodedKey = encode(key, 0);
        const auto encodedValue = encode(value, levels - 1);
        if (!encodedKey || !encodedValue)
            return {};
        entries.emplace_back(*encodedKey, *encodedValue);
    }
    std::sort(entries.begin(), entries.end(),
              [](const auto& left, const auto& right) { return precedes(left.first, right.first); });
    QByteArray bytes = containerHead(true, map.size());
    for (std::size_t i = 0; i < entries.size(); ++i) {
        if (i > 0 && entries[i].first == entries[i - 1].first)
            return {};
        bytes += entries[i].first + entries[i].second;
    }
    return bytes;
}

/// `levels`: of containers that there may be.
std::optional<QByteArray> encode(const QCborValue& value, int levels)
{
    switch (value.type()) {
    case QCborValue::Integer:
    case QCborValue::ByteArray:
    case QCborValue::String:
    case QCborValue::False:
    case QCborValue::True:
        return QCborValue(value).toCbor(); // which is not const
    case QCborValue::Array:
        return levels > 0 ? encodeArray(value.toArray(), levels) : std::nullopt;
    case QCborValue::Map:
        return levels > 0 ? encodeMap(value.toMap(), levels) : std::nullopt;
    default:
        return {};
    }
}

/// Reads values of at most `room` bytes: what claims to be longer is not even allocated.
class Reader
{
public:
    explicit Reader(const QByteArray& bytes) : m_stream(bytes), m_room(quint64(bytes.size())) {}

    /// Nothing for a fault and for what no request has; the stream is then of no use.
    std::optional<QCborValue> value(int levels)
    {
        switch (m_stream.type()) {
        case QCborStreamReader::UnsignedInteger:
        case QCborStreamReader::NegativeInteger:
            return integer();
        case QCborStreamReader::SimpleType:
            return m_stream.isBool() ? next(m_stream.toBool()) : std::nullopt;
        case QCborStreamReader::ByteArray:
            return isBounded() ? string(&QCborStreamReader::readByteArray) : std::nullopt;
        case QCborStreamReader::String:
            return isBounded() ? string(&QCborStreamReader::readString) : std::nullopt;
        case QCborStreamReader::Array:
            return isBounded() && levels > 0 ? array(levels) : std::nullopt;
        case QCborStreamReader::Map:
            return isBounded() && levels > 0 ? map(levels) : std::nullopt;
        default:
            return {};
        }
    }

private:
    bool isBounded() const { return m_stream.isLengthKnown() && m_stream.length() <= m_room; }

    std::optional<QCborValue> next(const QCborValue& value)
    {
        return m_stream.next() ? std::optional(value) : std::nullopt;
    }

    /// Nothing beyond 64 bits with a sign, where the library's own conversion overflows.
    std::optional<QCborValue> integer()
    {
        constexpr quint64 kMost = std::numeric_limits<qint64>::max();
        if (m_stream.isUnsignedInteger()) {
            const quint64 value = m_stream.toUnsignedInteger();
            return value <= kMost ? next(qint64(value)) : std::nullopt;
        }
        const quint64 below = quint64(m_stream.toNegativeInteger()) - 1; // of -1
        return below <= kMost ? next(-1 - qint64(below)) : std::nullopt;
    }

    template<typename Read>
    std::optional<QCborValue> string(Read read)
    {
        const auto text = (m_stream.*read)();
        const bool isWhole = text.status == QCborStreamReader::Ok &&
                             (m_stream.*read)().status == QCborStreamReader::EndOfString; // there is one piece
        return isWhole ? std::optional(QCborValue(text.data)) : std::nullopt;
    }

    std::optional<QCborValue> array(int levels)
    {
        QCborArray array;
        for (m_stream.enterContainer(); m_stream.hasNext();) {
            const auto element = value(levels - 1);
            if (!element)
                return {};
            array.append(*element);
        }
        return m_stream.leaveContainer() ? std::optional(QCborValue(array)) : std::nullopt;
    }

    std::optional<QCborValue> map(int levels)
    {
        QCborMap map;
        for (m_stream.enterContainer(); m_stream.hasNext();) {
            const auto key = value(0);
            const auto member = key ? value(levels - 1) : std::nullopt;
            if (!member)
                return {};
            map.insert(*key, *member);
        }
        return m_stream.leaveContainer() ? std::optional(QCborValue(map)) : std::nullopt;
    }

    QCborStreamReader m_stream;
    quint64 m_room;
};

} // namespace

std::optional<QByteArray> encodeCbor(const QCborValue& value)
{
    return encode(value, kMostLevels);
}

std::optional<QCborValue> decodeCbor(const QByteArray& bytes)
{
    // The library reads leniently; what it read is canonical when it is written as it came.
    const auto value = Reader(bytes).value(kMostLevels);
    const auto written = value ? encodeCbor(*value) : std::nullopt;
    return written && *written == bytes ? value : std::nullopt;
}

} // namespace ctap
