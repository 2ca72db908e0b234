// packet_capture.h: what the context menu's "USB Packet Capture" does; the build setting CAPTURE_WINDOW says which.
#pragma once

#include "ui/prompter.h"

/// For the device process with this id, as its row shows it. Either a notice that this build has no capture window, or
/// the capture window, not modal, owned by `window`: one for each device process, brought to the front when it is open
/// already and deleted when it is closed.
void openPacketCapture(QWidget& window, const QString& processId, Prompter& prompter);
