// early_input.h: keeps input that was meant for one window from answering the next.
#pragma once

class QDialog;

/// For `ms` after the dialog is first shown its buttons ignore mouse, touch and shortcuts, and keys neither press a
/// button nor close it; a double click or a repeating key of a moment ago answers nothing. Typing into its fields
/// works. Slots are not touched. To be called when the dialog has its buttons.
void ignoreEarlyInput(QDialog& dialog, int ms = 500);
