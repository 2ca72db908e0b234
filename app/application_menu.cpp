#include "app/application_menu.h"

#include "app/creation_slots.h"
#include "app/row_icons.h"

#include <array>

namespace {

struct Entry
{
    DeviceType type;
    const char* icon; ///< NAME of ":/icons/res/NAME.png"
    const char* text;
};

/// In the order of their keys, Ctrl+1 to Ctrl+8. Dots stand for a dialog that comes first.
constexpr std::array<Entry, 8> kEntries{{
    {DeviceType::Camera, "camera", QT_TRANSLATE_NOOP("ApplicationMenu", "New camera...")},
    {DeviceType::Microphone, "microphone", QT_TRANSLATE_NOOP("ApplicationMenu", "New microphone...")},
    {DeviceType::Speaker, "speaker", QT_TRANSLATE_NOOP("ApplicationMenu", "New speaker")},
    {DeviceType::Keyboard, "keyboard", QT_TRANSLATE_NOOP("ApplicationMenu", "New keyboard")},
    {DeviceType::Mouse, "mouse", QT_TRANSLATE_NOOP("ApplicationMenu", "New mouse")},
    {DeviceType::Storage, "storage", QT_TRANSLATE_NOOP("ApplicationMenu", "New mass storage")},
    {DeviceType::Fido2, "fido2", QT_TRANSLATE_NOOP("ApplicationMenu", "New security key...")},
    {DeviceType::UsbIp, "network", QT_TRANSLATE_NOOP("ApplicationMenu", "New USB/IP device")},
}};

} // namespace

ApplicationMenu::ApplicationMenu(RowIcons& icons, QWidget* window) : QMenu(window)
{
    int key = Qt::Key_1;
    for (const Entry& entry : kEntries) {
        QAction* action = addAction(tr(entry.text));
        action->setShortcut(Qt::CTRL + key++);
        connect(action, &QAction::triggered, window,
                [window, type = entry.type] { invokeCreationSlots(window, {{type}}); });
    }
    addSeparator();
    QAction* refresh = addAction(tr("Refresh List"));
    refresh->setShortcut(QKeySequence::Refresh);
    connect(refresh, &QAction::triggered, this, &ApplicationMenu::refreshRequested);
    window->addActions(actions());
    // The icons when they are first seen: most windows are opened and closed without the menu.
    connect(this, &QMenu::aboutToShow, this, [this, &icons] {
        for (std::size_t i = 0; i < kEntries.size(); ++i) {
            const QString path = QStringLiteral(":/icons/res/%1.png").arg(QLatin1String(kEntries[i].icon));
            actions()[static_cast<int>(i)]->setIcon(icons.icon(path));
        }
    });
}

void ApplicationMenu::openAt(const QPoint& place)
{
    popup(parentWidget()->mapToGlobal(place));
    setActiveAction(actions().constFirst());
}
