// png.h: the drawings among the program's resources.
#pragma once

#include <QPixmap>

/// Empty where the file is none. Unlike QPixmap's own reading it loads no plugins of other formats, to ask them first.
QPixmap readPng(const QString& path);
