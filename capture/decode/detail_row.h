// detail_row.h: a tree of names and values, as the detail view of a packet shows it.
#pragma once

#include <QString>

#include <vector>

struct DetailRow
{
    QString name;
    QString value;
    std::vector<DetailRow> children;

    /// Appends a child and returns it; the reference lives until the next child is added here.
    DetailRow& add(const QString& childName, const QString& childValue = {})
    {
        children.push_back({childName, childValue, {}});
        return children.back();
    }
};
