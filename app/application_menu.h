// application_menu.h: the menu on F10: each device type's creation, and the refresh, with their keys.
#pragma once

#include <QMenu>

class RowIcons;

/// Owned by its window, which has the slots of creation_slots.h. The keys of its entries work in the whole window, also
/// while the menu is closed.
class ApplicationMenu : public QMenu
{
    Q_OBJECT

public:
    /// The icons outlive it.
    ApplicationMenu(RowIcons& icons, QWidget* window);

    /// Opens at a place of the window, its first entry chosen.
    void openAt(const QPoint& place);

signals:
    void refreshRequested();
};
