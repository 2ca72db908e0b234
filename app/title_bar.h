// title_bar.h: the main window's own title bar: logo, build date, minimise and close.
#pragma once

#include <QWidget>

class TitleBar : public QWidget
{
    Q_OBJECT

public:
    explicit TitleBar(QWidget* parent = nullptr);

signals:
    void minimizeRequested();
    void closeRequested();
};
