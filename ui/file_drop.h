// file_drop.h: files that are dragged from a file manager onto a dialog.
#pragma once

#include <QString>

#include <functional>

class QWidget;

/// Calls `take` with the path of a file that is dropped anywhere on `target`, on a field of it too, which would take
/// its URL for typed text otherwise. One local file at a time; of others nothing is taken. It comes from a call of the
/// event loop's, since the program that it was dragged from waits until the drop is done. To be called when `target`
/// has its fields.
void takeDroppedFile(QWidget& target, std::function<void(const QString& path)> take);
