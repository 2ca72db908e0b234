#include "app/window_place.h"

#include "runtime/user_folder.h"

#include <QSettings>
#include <QWidget>

namespace {

const QString kPlaceKey = QStringLiteral("mainWindow/place");

} // namespace

void restorePlace(QWidget& window)
{
    const QSettings kept(settingsFile(), QSettings::IniFormat);
    window.restoreGeometry(kept.value(kPlaceKey).toByteArray());
}

void rememberPlace(const QWidget& window)
{
    QSettings(settingsFile(), QSettings::IniFormat).setValue(kPlaceKey, window.saveGeometry());
}
