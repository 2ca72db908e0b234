// form_labels.h: one column of fields through several forms.
#pragma once

class QWidget;

/// Gives the labels of all forms in `window` the width of the widest, so that the fields of its groups line up.
void alignFormLabels(const QWidget& window);
