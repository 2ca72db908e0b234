// plain_tool_tip.h: tool tips that show text from outside as it is typed, never as markup.
#pragma once

#include <QString>

/// `text` in a form that QToolTip shows letter by letter: Qt takes text that looks like markup for rich text, so such
/// text comes back escaped; other text comes back unchanged.
QString plainToolTip(const QString& text);
