// path_edit.h: a line for the path of a file.
#pragma once

#include <QLineEdit>

/// Asks for the width of most paths, whatever the language beside it, and can be made as narrow as any line.
class PathEdit : public QLineEdit
{
    Q_OBJECT

public:
    using QLineEdit::QLineEdit;

    QSize sizeHint() const override;
};
