#include "ui/png.h"

#include <QImageReader>

QPixmap readPng(const QString& path)
{
    QImageReader reader(path, "PNG");
    reader.setAutoDetectImageFormat(false);
    return QPixmap::fromImageReader(&reader);
}
