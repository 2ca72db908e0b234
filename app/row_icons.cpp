#include "app/row_icons.h"

#include "ui/png.h"

#include <QFile>
#include <QPainter>
#include <QPixmap>

namespace {

constexpr int kRowIconSize = 16;
constexpr int kDensities = 2; ///< a row's icon is there in single and in double density

/// The drawing for rows beside the large one, "NAME_16.png".
QString rowDrawing(const QString& path)
{
    const QString small = QString(path).replace(QStringLiteral(".png"), QStringLiteral("_16.png"));
    return QFile::exists(small) ? small : path;
}

QPixmap onPlate(const QPixmap& drawing)
{
    constexpr qreal kCorner = 0.2; // of its side
    QPixmap plate(drawing.size());
    plate.fill(Qt::transparent);
    QPainter painter(&plate);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(Qt::white);
    painter.drawRoundedRect(plate.rect(), kCorner * plate.width(), kCorner * plate.height());
    painter.drawPixmap(plate.rect(), drawing);
    return plate;
}

QIcon read(const QString& path)
{
    const QIcon drawing(readPng(rowDrawing(path)));
    QIcon icon = drawing;
    for (int density = 1; density <= kDensities && !drawing.isNull(); ++density) {
        const QPixmap plate = onPlate(drawing.pixmap(kRowIconSize * density));
        icon.addPixmap(plate, QIcon::Selected); // rows
        icon.addPixmap(plate, QIcon::Active);   // menu entries
    }
    return icon;
}

} // namespace

QIcon RowIcons::icon(const QString& path)
{
    if (path.isEmpty())
        return {};
    const auto known = m_icons.constFind(path);
    return known != m_icons.constEnd() ? *known : *m_icons.insert(path, read(path));
}
