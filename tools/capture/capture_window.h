// capture_window.h: the capture window with what people who analyse traffic want beside it.
#pragma once

#include "capture/capture_dialog.h"
#include "tools/capture/loss_counter.h"

#include <QMainWindow>

class QLineEdit;

/// Holds the capture window as it is and adds around it: captures as pcapng files, a text filter over the one-line
/// decodings, copying, a switch for following the newest packet, a jump between a request and its reply, and a count of
/// packets that were cut or dropped.
class CaptureWindow : public QMainWindow
{
    Q_OBJECT

public:
    CaptureWindow(qint64 processId, uint32_t deviceId, Prompter& prompter = systemPrompter());

    UsbIPCaptureDialog& dialog() { return *m_dialog; }

    /// Empty, or why it failed; what could be read is shown all the same.
    QString openCapture(const QString& path);

    void setTextFilter(const QString& text);
    void copyRow();
    /// Selects the packet that answers, or is answered by, the selected one; false when it is not there.
    bool jumpToCounterpart();
    QString lossText() const;

private:
    void makeMenus();
    void makeToolBar();
    void watchLosses();
    void askAndOpen();
    void equipDetails(PacketDetailsDialog* details);
    PacketItem* currentRow() const;

    Prompter& m_prompter;
    UsbIPCaptureDialog* m_dialog;
    QLineEdit* m_filter = nullptr;
    QAction* m_follow = nullptr;
    QAction* m_jump = nullptr;
    QLabel* m_lossLabel = nullptr;
    QTimer m_lossTimer;
    LossCounter m_losses;
};
