// row_icons.h: the icons of table rows and menu entries, each read once and shared.
#pragma once

#include <QHash>
#include <QIcon>
#include <QString>

class RowIcons
{
public:
    /// The icon of that path among the resources (":/icons/res/NAME.png"), drawn on a light plate while its row is
    /// selected or its entry chosen: the icons are about as blue as that. Null for an empty path.
    QIcon icon(const QString& path);

private:
    QHash<QString, QIcon> m_icons;
};
