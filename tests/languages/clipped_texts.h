// clipped_texts.h: which texts of a window do not fit into their places, and which texts it shows.
#pragma once

#include <QStringList>

class QWidget;

/// One sentence for each visible text of `window` that is wider or higher than its place, empty when all fit. Texts
/// that the user types, and cells of tables, are left out: they are as long as they are.
QStringList clippedTexts(const QWidget& window);

/// Every text that the window itself says: title, labels, buttons, groups, headers, placeholders, tool tips, actions.
QStringList ownTexts(const QWidget& window);
