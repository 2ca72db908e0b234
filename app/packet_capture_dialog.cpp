#include "app/packet_capture.h"

#include "capture/view/capture_dialog.h"

#include <QCoreApplication>

namespace {

UsbIPCaptureDialog* openedFor(const QWidget& window, qint64 processId)
{
    const auto dialogs = window.findChildren<UsbIPCaptureDialog*>(QString(), Qt::FindDirectChildrenOnly);
    for (UsbIPCaptureDialog* dialog : dialogs) {
        if (dialog->processId() == processId && dialog->isVisible()) // a closed one only waits for its deletion
            return dialog;
    }
    return nullptr;
}

} // namespace

void openPacketCapture(QWidget& window, const QString& processId, Prompter& prompter)
{
    const qint64 id = processId.toLongLong();
    if (id <= 0) {
        prompter.warning(&window, QCoreApplication::translate("MainWindow", "Warning"),
                         QCoreApplication::translate("MainWindow", "Invalid process ID"));
        return;
    }
    UsbIPCaptureDialog* dialog = openedFor(window, id);
    if (!dialog) {
        dialog = new UsbIPCaptureDialog(id, 0, &window, prompter);
        dialog->setAttribute(Qt::WA_DeleteOnClose);
    }
    dialog->show();
    dialog->raise();
    dialog->activateWindow();
}
