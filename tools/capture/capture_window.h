// capture_window.h: a capture with what people who analyse traffic want beside it.
#pragma once

#include "capture/view/capture_pane.h"
#include "tools/capture/filter_edit.h"
#include "tools/capture/loss_counter.h"
#include "tools/capture/packet_search.h"

#include <QMainWindow>

class DetailsView;
class QDockWidget;

/// What the window is to show when it opens.
struct CaptureTarget
{
    qint64 processId = 0;  ///< 0: no device process, only a file
    uint32_t deviceId = 0; ///< 0: packets of all devices, otherwise of this one only
};

/// Holds the pane of the capture window and adds around it: files, a filter, a search, copying, a switch for following
/// the newest packet, a jump between a request and its reply, the details of the chosen packet in a dock, and a count
/// of packets that were cut or dropped.
class CaptureWindow : public QMainWindow
{
    Q_OBJECT

public:
    explicit CaptureWindow(const CaptureTarget& target, Prompter& prompter = systemPrompter());

    CapturePane& pane() { return *m_pane; }
    PacketTable& table() { return m_pane->packets().table(); }

    /// Starts opening the file, once the user has agreed to leave packets that were not saved.
    void openCapture(const QString& path);
    /// See PacketFilter.
    void setFilterText(const QString& text);
    /// The packet that is sought is selected once it is found.
    void find(const QString& text, PacketSearch::Direction direction);
    /// "12 of 345 packets".
    QString countText() const;
    void copyRow();
    /// Selects the packet that answers, or is answered by, the selected one; false when it is not there.
    bool jumpToCounterpart();
    QString lossText() const;

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void makeMenus();
    void makeToolBar();
    void makeDetails();
    void watchLosses();
    void askAndOpen();
    void showContent();
    void countFileLosses();
    void applyFilter();
    void findAgain(PacketSearch::Direction direction);
    void select(std::size_t number);
    PacketItem* currentRow() const;

    Prompter& m_prompter;
    const CaptureTarget m_target;
    CapturePane* m_pane;
    DetailsView* m_details = nullptr;
    QDockWidget* m_detailsDock = nullptr;
    FilterEdit* m_filter = nullptr;
    PacketFilter m_wanted; // by the filter
    FilterEdit* m_find = nullptr;
    PacketFilter m_sought;
    PacketSearch m_search;
    QLabel* m_countLabel = nullptr;
    QAction* m_follow = nullptr;
    QAction* m_jump = nullptr;
    QAction* m_live = nullptr;
    QLabel* m_lossLabel = nullptr;
    QTimer m_lossTimer;
    LossCounter m_losses;
    LossCounter m_fileLosses;
    std::size_t m_fileCounted = 0; // packets of the file
};
