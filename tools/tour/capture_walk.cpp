// capture_walk.cpp: the tour's walk through packet capture, against the device process of a disk.
#include "app/main_window.h"
#include "app/script_commands.h"
#include "capture/decode/packet_columns.h"
#include "capture/decode/packet_decoder.h"
#include "capture/file/capture_reader.h"
#include "capture/view/capture_dialog.h"
#include "capture/view/details_view.h"
#include "capture/view/packet_details_dialog.h"
#include "devices/device_record_manager.h"
#include "tools/capture/capture_window.h"
#include "tools/tour/device_host.h"
#include "tools/tour/tour.h"
#include "tools/tour/walks.h"

#include <QHeaderView>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>

namespace {

constexpr int kReads = 40;                                    // commands to the disk
const QString kDevice = QStringLiteral("USB Storage Device"); // in its record

/// Nothing on this walk may open a box; the question where to save is answered.
class SavingPrompter final : public Prompter
{
public:
    QString fileToSave;

    void information(QWidget*, const QString&, const QString& text) override { Tour::require(false, text); }
    void warning(QWidget*, const QString&, const QString& text, const QString&) override { Tour::require(false, text); }
    bool question(QWidget*, const QString&, const QString&, const QString&) override { return false; }
    QString openFile(QWidget*, const QString&, const QString&, const QString&) override { return fileToSave; }
    QString saveFile(QWidget*, const QString&, const QString&, const QString&) override { return fileToSave; }
};

using Predicate = bool (*)(const UsbIPPacketInfo&);

bool isSetup(const UsbIPPacketInfo& packet)
{
    return packet.parsedDetails.contains(QLatin1String("USB_CONFIGURATION_DESCRIPTOR_TYPE"));
}

bool isReadCommand(const UsbIPPacketInfo& packet)
{
    return packet_decoder::isBulkOnly(packet.data) && packet.data.at(15) == 0x28;
}

class CaptureWalk
{
public:
    explicit CaptureWalk(Tour& tour) : m_tour(tour) {}

    void run();

private:
    void connectToDevice(MainWindow& window);
    void watchLive();
    void chooseFilter();
    void stop();
    void showDetails(const QString& name, Predicate wanted, const QString& expected);
    void showConfiguration();
    void exportCapture();
    void analyse();
    void endDevices();

    DeviceRecord record();
    UsbIPCaptureDialog& dialog() { return *m_dialog; }
    void click(const char* text);
    QString status() const { return m_dialog->findChild<QLabel*>()->text(); }
    void waitForStatus(const char* beginning);
    std::size_t packets() { return dialog().pane().packets().end() - dialog().pane().packets().first(); }
    static PacketItem* rowWith(PacketPane& packets, Predicate wanted);

    Tour& m_tour;
    DeviceRecordManager m_records;
    SavingPrompter m_prompter;
    QTemporaryDir m_folder;
    std::unique_ptr<UsbIPCaptureDialog> m_dialog;
};

void CaptureWalk::run()
{
    endDevices(); // an earlier tour may have been cut off
    MainWindow window;
    m_tour.step(QStringLiteral("capture-connected"), [&] { return connectToDevice(window), status(); });
    m_tour.step(QStringLiteral("capture-live"), [this] { return watchLive(), status(); });
    m_tour.step(QStringLiteral("capture-filter"), [this] { return chooseFilter(), status(); });
    m_tour.step(QStringLiteral("capture-stop"), [this] { return stop(), status(); });
    showDetails(QStringLiteral("capture-setup-details"), &isSetup, QStringLiteral("CONFIGURATION"));
    showDetails(QStringLiteral("capture-command-details"), &isReadCommand, QStringLiteral("READ (10)"));
    showConfiguration();
    m_tour.step(QStringLiteral("capture-export"), [this] {
        exportCapture();
        return QStringLiteral("%1 packets saved and read back").arg(packets());
    });
    analyse();
    m_dialog.reset();
    endDevices();
}

DeviceRecord CaptureWalk::record()
{
    const auto devices = m_records.restoreDevices();
    for (const auto& device : devices) {
        if (device.record.deviceName == kDevice)
            return device.record;
    }
    return {};
}

void CaptureWalk::click(const char* text)
{
    for (auto* button : dialog().findChildren<QPushButton*>()) {
        if (button->text() == m_tour.said(text))
            return QTest::mouseClick(button, Qt::LeftButton);
    }
    throw StepFailure(std::string("no button ") + text);
}

void CaptureWalk::waitForStatus(const char* beginning)
{
    Tour::waitUntil([&] { return status().startsWith(m_tour.said(beginning)); }, m_tour.said(beginning));
}

PacketItem* CaptureWalk::rowWith(PacketPane& packets, Predicate wanted)
{
    for (std::size_t number = packets.first(); number < packets.end(); ++number) {
        if (wanted(packets.store()->at(number)))
            return packets.rowOf(number);
    }
    throw StepFailure("no such packet");
}

void CaptureWalk::connectToDevice(MainWindow& window)
{
    QMetaObject::invokeMethod(&window, "onCreateUsbStorage");
    Tour::waitUntil([&] { return record().processId > 0; }, QStringLiteral("its record"));
    m_dialog = std::make_unique<UsbIPCaptureDialog>(record().processId, 0, nullptr, m_prompter);
    dialog().show();
    Tour::waitUntil([&] { return dialog().client().isConnected(); }, QStringLiteral("the connection"));
    m_tour.picture(dialog());
}

/// The sectors that are read follow from their number, so that nothing here depends on time.
void CaptureWalk::watchLive()
{
    click("Start Capture");
    Tour::waitUntil(
        [&] {
            return status() == m_tour.said("Capture started successfully") ||
                   status().startsWith(m_tour.said("Capturing... Total: "));
        },
        QStringLiteral("the start of the capture"));
    DeviceHost host(record());
    host.enumerate();
    host.readDisk(kReads);
    Tour::waitUntil([&] { return packets() >= 6 * kReads; }, QStringLiteral("packets"));
    waitForStatus("Capturing... Total: ");
    Tour::require(dialog().table().topLevelItemCount() == int(packets()), QStringLiteral("rows lack"));
    m_tour.picture(dialog());
}

void CaptureWalk::chooseFilter()
{
    m_tour.whenWindowOpens(QStringLiteral("capture-filter-menu"), [this](QWidget& window) {
        auto* menu = qobject_cast<QMenu*>(&window);
        Tour::require(menu, QStringLiteral("no menu opened"));
        m_tour.picture(window);
        menu->setActiveAction(menu->actions().at(BulkTransfer));
        QTest::keyClick(menu, Qt::Key_Return);
        // Said at once: the next packet that arrives takes the line for its count.
        const QString said = m_tour.said("Filtering by: CTL, ISO, INT");
        Tour::require(status() == said, QStringLiteral("not said: ") + said);
        return QStringLiteral("Bulk (BLK) is taken out");
    });
    QHeaderView* header = dialog().table().header();
    QTest::mouseClick(header->viewport(), Qt::LeftButton, {},
                      QPoint(header->sectionViewportPosition(TransferTypeColumn) + 10, header->height() / 2));
    const QTreeWidget& table = dialog().table();
    const QString bulk = QStringLiteral("BLK");
    Tour::waitUntil([&] { return table.findItems(bulk, Qt::MatchExactly, TransferTypeColumn).isEmpty(); },
                    QStringLiteral("a table without bulk packets"));
    m_tour.picture(dialog());
    dialog().onHeaderSectionClicked(TransferTypeColumn);
    auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    menu->actions().at(BulkTransfer)->trigger();
    menu->close();
}

void CaptureWalk::stop()
{
    click("Stop Capture");
    waitForStatus("Ready. Total: ");
    m_tour.picture(dialog());
}

void CaptureWalk::showDetails(const QString& name, Predicate wanted, const QString& expected)
{
    m_tour.step(name, [&] {
        PacketItem* row = rowWith(dialog().pane().packets(), wanted);
        Tour::require(row, QStringLiteral("the packet has no row"));
        dialog().table().setCurrentItem(row); // brings it into sight
        QTest::mouseClick(dialog().table().viewport(), Qt::LeftButton, {},
                          dialog().table().visualItemRect(row).center());
        auto* details = dialog().findChild<PacketDetailsDialog*>();
        Tour::require(details && details->isVisible(), QStringLiteral("no details opened"));
        Tour::require(!details->view().tree()->findItems(expected, Qt::MatchExactly | Qt::MatchRecursive, 1).isEmpty(),
                      QStringLiteral("the details lack ") + expected);
        m_tour.picture(*details);
        details->close();
        return expected;
    });
}

void CaptureWalk::showConfiguration()
{
    m_tour.step(QStringLiteral("capture-configuration"), [this] {
        click("Device Configuration");
        waitForStatus("Device configuration displayed");
        for (auto* viewer : dialog().findChildren<QDialog*>()) {
            if (!viewer->windowTitle().startsWith(m_tour.said("Device Configuration - ")))
                continue;
            m_tour.picture(*viewer);
            viewer->close();
            return viewer->windowTitle();
        }
        throw StepFailure("no viewer opened");
    });
}

void CaptureWalk::exportCapture()
{
    m_prompter.fileToSave = m_folder.filePath(QStringLiteral("capture.pcapng"));
    click("Save Capture...");
    waitForStatus("Capture saved");
    QFile file(m_prompter.fileToSave);
    Tour::require(file.open(QIODevice::ReadOnly), file.errorString());
    PacketStore saved;
    JobProgress progress;
    const QString error = readCapture(file, saved, progress);
    Tour::require(error.isEmpty(), error);
    Tour::require(saved.size() == packets(), QStringLiteral("packets are missing"));
}

void CaptureWalk::analyse()
{
    m_tour.step(QStringLiteral("capture-program"), [this] {
        CaptureWindow window({record().processId, 0}, m_prompter);
        window.show();
        window.openCapture(m_prompter.fileToSave);
        Tour::waitUntil([&] { return window.pane().showsFile(); }, QStringLiteral("the opened file"));
        window.setFilterText(QStringLiteral("string"));
        const int filtered = window.table().topLevelItemCount();
        Tour::require(filtered > 0, QStringLiteral("the text filter shows nothing"));
        window.setFilterText({});
        PacketItem* row = rowWith(window.pane().packets(), &isReadCommand);
        window.table().setCurrentItem(row);
        Tour::require(window.jumpToCounterpart(), QStringLiteral("the command's completion is not there"));
        m_tour.picture(window);
        return QStringLiteral("saved capture opened, %1 rows with \"string\", jumped to a reply").arg(filtered);
    });
}

void CaptureWalk::endDevices()
{
    const auto devices = m_records.restoreDevices();
    for (const auto& device : devices)
        deleteDevice(m_records, device.record.processId);
}

} // namespace

void walkPacketCapture(Tour& tour)
{
    CaptureWalk(tour).run();
}
