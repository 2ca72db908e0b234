// detail_row.h: a tree of names and values, as the detail view of a packet shows it.
#pragma once

#include <QMetaType>
#include <QString>

#include <vector>

/// Bytes of a packet.
struct ByteSpan
{
    enum class Part
    {
        None,
        Setup,
        Data,
        Header, ///< of USB/IP
    };

    Part part = Part::None;
    int offset = 0; ///< bytes from the part's beginning
    int size = 0;   ///< bytes

    bool contains(Part otherPart, int place) const
    {
        return part == otherPart && place >= offset && place < offset + size;
    }
};

Q_DECLARE_METATYPE(ByteSpan)

struct DetailRow
{
    QString name;
    QString value;
    std::vector<DetailRow> children;
    ByteSpan bytes = {}; ///< that the row was read from; none for what is said about the packet

    /// Appends a child and returns it; the reference lives until the next child is added here.
    DetailRow& add(const QString& childName, const QString& childValue = {}, const ByteSpan& childBytes = {})
    {
        children.push_back({childName, childValue, {}, childBytes});
        return children.back();
    }
};
