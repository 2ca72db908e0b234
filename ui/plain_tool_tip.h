// plain_tool_tip.h: tool tips that show text from outside as it is typed, never as markup.
#pragma once

#include <QString>

/// `text` in a form that QToolTip shows letter by letter and whole: Qt takes text that looks like markup for rich text,
/// and wraps only rich text, so text that looks so or is longer than a line comes back as rich text that says it; other
/// text comes back unchanged.
QString plainToolTip(const QString& text);

class QWidget;

/// Shows the tool tip of `widget` without the style sheets of its parents, which would reach it otherwise.
void showToolTipUnstyled(QWidget* widget);
