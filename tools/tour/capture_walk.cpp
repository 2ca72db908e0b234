// capture_walk.cpp: the tour's walk through packet capture, against real device processes.
#include "app/main_window.h"
#include "app/script_commands.h"
#include "capture/decode/packet_columns.h"
#include "capture/decode/packet_decoder.h"
#include "capture/file/capture_reader.h"
#include "capture/view/capture_dialog.h"
#include "capture/view/details_view.h"
#include "capture/view/packet_details_dialog.h"
#include "devices/device_record_manager.h"
#include "devices/process_ender.h"
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

constexpr int kReads = 40; // commands to the disk
constexpr int kKeys = 40;  // that the keyboard types

/// Nothing on this walk may open a box; the question where to save is answered.
class SavingPrompter final : public Prompter
{
public:
    QString fileToSave;

    QStringList boxes; ///< that came all the same

    void information(QWidget*, const QString&, const QString& text) override { boxes << text; }
    void warning(QWidget*, const QString&, const QString& text, const QString&) override { boxes << text; }
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
    struct Device
    {
        const char* name; ///< in its record
        const char* slot;
        const char* steps; ///< the word for it in names of steps
        int transferType;  ///< that its traffic must have
        int packets;       ///< of that type, at the least
    };

    void watchLive(const Device& device);
    void chooseFilter();
    void stopAll();
    void showDetails(const QString& name, Predicate wanted, const QString& expected);
    void showConfiguration();
    void exportCapture();
    void analyse();
    void clear();
    void loseDevice();
    void endDevices();

    DeviceRecord recordOf(const char* name);
    qint64 processOf(const char* name);
    void use(const Device& device);
    UsbIPCaptureDialog& dialog() { return *m_dialogs.front(); }
    QPushButton* button(UsbIPCaptureDialog& dialog, const char* text);
    void click(UsbIPCaptureDialog& dialog, const char* text)
    {
        QTest::mouseClick(button(dialog, text), Qt::LeftButton);
    }
    static QString status(const UsbIPCaptureDialog& dialog) { return dialog.findChild<QLabel*>()->text(); }
    void waitForStatus(const char* beginning);
    void waitForStart(const UsbIPCaptureDialog& dialog);
    static std::size_t countOf(UsbIPCaptureDialog& dialog)
    {
        return dialog.pane().packets().end() - dialog.pane().packets().first();
    }
    static PacketItem* rowWith(PacketPane& packets, Predicate wanted);

    Tour& m_tour;
    DeviceRecordManager m_records;
    SavingPrompter m_prompter;
    QTemporaryDir m_folder;
    std::vector<std::unique_ptr<DeviceHost>> m_hosts;           ///< of the devices, in the order of the dialogs
    std::vector<std::unique_ptr<UsbIPCaptureDialog>> m_dialogs; ///< storage, keyboard
};

void CaptureWalk::run()
{
    const Device devices[] = {
        {"USB Storage Device", "onCreateUsbStorage", "storage", BulkTransfer, 6 * kReads},
        {"Keyboard Device", "onCreateKeyboard", "keyboard", InterruptTransfer, 4 * kKeys},
    };
    endDevices(); // an earlier tour may have been cut off
    MainWindow window;
    for (const Device& device : devices) {
        QMetaObject::invokeMethod(&window, device.slot);
        watchLive(device);
    }
    m_tour.step(QStringLiteral("capture-filter"), [this] { return chooseFilter(), status(dialog()); });
    m_tour.step(QStringLiteral("capture-stop"), [this] { return stopAll(), status(dialog()); });
    showDetails(QStringLiteral("capture-setup-details"), &isSetup, QStringLiteral("CONFIGURATION"));
    showDetails(QStringLiteral("capture-command-details"), &isReadCommand, QStringLiteral("READ (10)"));
    showConfiguration();
    m_tour.step(QStringLiteral("capture-export"), [this] {
        exportCapture();
        return QStringLiteral("%1 packets saved and read back").arg(countOf(dialog()));
    });
    analyse();
    m_tour.step(QStringLiteral("capture-clear"), [this] { return clear(), status(dialog()); });
    m_tour.step(QStringLiteral("capture-device-lost"), [this] { return loseDevice(), status(dialog()); });
    m_dialogs.clear();
    m_hosts.clear();
    endDevices();
}

qint64 CaptureWalk::processOf(const char* name)
{
    return recordOf(name).processId;
}

DeviceRecord CaptureWalk::recordOf(const char* name)
{
    const auto devices = m_records.restoreDevices();
    for (const auto& device : devices) {
        if (device.record.deviceName == QLatin1String(name))
            return device.record;
    }
    return {};
}

/// Both have the keys and sectors that follow from their types, so that nothing here depends on time.
void CaptureWalk::use(const Device& device)
{
    m_hosts.push_back(std::make_unique<DeviceHost>(recordOf(device.name)));
    m_hosts.back()->enumerate();
    if (device.transferType == BulkTransfer)
        m_hosts.back()->readDisk(kReads);
    else
        m_hosts.back()->takeReports(kKeys, [this, &device] {
            const QString text(kKeys / 2, QLatin1Char('a'));
            const ScriptResult sent =
                sendCommand(processOf(device.name),
                            QStringLiteral("type ") + text + QString(text).replace(QLatin1Char('a'), QLatin1Char('b')));
            Tour::require(sent.exitCode == 0, QStringLiteral("the keyboard does not type"));
        });
}

QPushButton* CaptureWalk::button(UsbIPCaptureDialog& dialog, const char* text)
{
    for (auto* candidate : dialog.findChildren<QPushButton*>()) {
        if (candidate->text() == m_tour.said(text))
            return candidate;
    }
    throw StepFailure(std::string("no button ") + text);
}

void CaptureWalk::waitForStatus(const char* beginning)
{
    Tour::waitUntil([&] { return status(dialog()).startsWith(m_tour.said(beginning)); }, m_tour.said(beginning));
}

void CaptureWalk::waitForStart(const UsbIPCaptureDialog& dialog)
{
    Tour::waitUntil(
        [&] {
            return status(dialog) == m_tour.said("Capture started successfully") ||
                   status(dialog).startsWith(m_tour.said("Capturing... Total: "));
        },
        QStringLiteral("the start of the capture"));
}

PacketItem* CaptureWalk::rowWith(PacketPane& packets, Predicate wanted)
{
    for (std::size_t number = packets.first(); number < packets.end(); ++number) {
        if (wanted(packets.store()->at(number)))
            return packets.rowOf(number);
    }
    throw StepFailure("no such packet");
}

void CaptureWalk::watchLive(const Device& device)
{
    const QString steps = QStringLiteral("capture-") + QLatin1String(device.steps);
    m_tour.step(steps + QStringLiteral("-connected"), [&] {
        Tour::waitUntil([&] { return processOf(device.name) > 0; }, QStringLiteral("its record"));
        auto& opened = m_dialogs.emplace_back(
            std::make_unique<UsbIPCaptureDialog>(processOf(device.name), 0, nullptr, m_prompter));
        opened->show();
        Tour::waitUntil([&] { return opened->client().isConnected(); }, QStringLiteral("the connection"));
        Tour::require(button(*opened, "Start Capture")->isEnabled(), QStringLiteral("capture cannot be started"));
        m_tour.picture(*opened);
        return status(*opened);
    });
    m_tour.step(steps + QStringLiteral("-live"), [&] {
        UsbIPCaptureDialog& opened = *m_dialogs.back();
        click(opened, "Start Capture");
        waitForStart(opened);
        use(device);
        const auto countOfType = [&] {
            PacketReader reader(opened.client().store());
            int count = 0;
            for (std::size_t number = 0; number < countOf(opened); ++number)
                count += reader.read(number).transferType == device.transferType ? 1 : 0;
            return count;
        };
        Tour::waitUntil(
            [&] {
                return countOfType() >= device.packets &&
                       status(opened).startsWith(m_tour.said("Capturing... Total: "));
            },
            QStringLiteral("packets"));
        Tour::require(opened.table().topLevelItemCount() == int(countOf(opened)), QStringLiteral("rows lack"));
        m_tour.picture(opened);
        return status(opened);
    });
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
        Tour::require(status(dialog()) == said, QStringLiteral("not said: ") + said);
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

void CaptureWalk::stopAll()
{
    for (const auto& opened : m_dialogs)
        click(*opened, "Stop Capture");
    Tour::waitUntil([this] { return status(dialog()).startsWith(m_tour.said("Ready. Total: ")); },
                    QStringLiteral("the last counters"));
    Tour::require(!button(dialog(), "Stop Capture")->isEnabled(), QStringLiteral("it can be stopped twice"));
    m_tour.picture(dialog());
}

void CaptureWalk::showDetails(const QString& name, Predicate wanted, const QString& expected)
{
    PacketDetailsDialog* details = nullptr;
    m_tour.step(name, [&] {
        PacketItem* row = rowWith(dialog().pane().packets(), wanted);
        Tour::require(row, QStringLiteral("the packet has no row"));
        dialog().table().setCurrentItem(row); // brings it into sight
        QTest::mouseClick(dialog().table().viewport(), Qt::LeftButton, {},
                          dialog().table().visualItemRect(row).center());
        details = dialog().findChild<PacketDetailsDialog*>();
        Tour::require(details && details->isVisible(), QStringLiteral("no details opened"));
        Tour::require(!details->view().tree()->findItems(expected, Qt::MatchExactly | Qt::MatchRecursive, 1).isEmpty(),
                      QStringLiteral("the details lack ") + expected);
        m_tour.picture(*details);
        return expected;
    });
    m_tour.step(name + QStringLiteral("-highlight"), [&] {
        const QRect painted = dialog().table().visualItemRect(dialog().table().currentItem());
        Tour::require(dialog().table().viewport()->rect().contains(painted.center()), QStringLiteral("out of sight"));
        m_tour.picture(dialog());
        if (details)
            details->close();
        return QStringLiteral("request and reply are painted");
    });
}

void CaptureWalk::showConfiguration()
{
    for (const auto& opened : m_dialogs) {
        const QString name = QStringLiteral("capture-configuration-%1").arg(&opened - m_dialogs.data() + 1);
        m_tour.step(name, [&] {
            click(*opened, "Device Configuration");
            Tour::waitUntil([&] { return status(*opened) == m_tour.said("Device configuration displayed"); },
                            QStringLiteral("the configuration"));
            for (auto* viewer : opened->findChildren<QDialog*>()) {
                if (!viewer->windowTitle().startsWith(m_tour.said("Device Configuration - ")))
                    continue;
                m_tour.picture(*viewer);
                viewer->close();
                return viewer->windowTitle();
            }
            throw StepFailure("no viewer opened");
        });
    }
}

void CaptureWalk::exportCapture()
{
    m_prompter.fileToSave = m_folder.filePath(QStringLiteral("capture.pcapng"));
    click(dialog(), "Save Capture...");
    waitForStatus("Capture saved");
    QFile file(m_prompter.fileToSave);
    Tour::require(file.open(QIODevice::ReadOnly), file.errorString());
    PacketStore saved;
    JobProgress progress;
    const QString error = readCapture(file, saved, progress);
    Tour::require(error.isEmpty(), error);
    Tour::require(saved.size() == countOf(dialog()), QStringLiteral("packets are missing"));
}

void CaptureWalk::analyse()
{
    m_tour.step(QStringLiteral("capture-program"), [this] {
        CaptureWindow window({processOf("USB Storage Device"), 0}, m_prompter);
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

void CaptureWalk::clear()
{
    click(dialog(), "Clear");
    waitForStatus("Capture cleared successfully");
    Tour::require(dialog().table().topLevelItemCount() == 0, QStringLiteral("rows are left"));
    m_tour.picture(dialog());
}

void CaptureWalk::loseDevice()
{
    click(dialog(), "Start Capture");
    waitForStart(dialog());
    m_hosts.front()->readDisk(1);
    Tour::waitUntil([this] { return countOf(dialog()) > 0; }, QStringLiteral("packets"));
    Tour::require(endProcess(killCommand(dialog().processId())).exitCode == 0, QStringLiteral("it was not ended"));
    Tour::waitUntil([this] { return !dialog().client().isConnected(); }, QStringLiteral("the loss"));
    Tour::require(!button(dialog(), "Start Capture")->isEnabled() && !button(dialog(), "Stop Capture")->isEnabled(),
                  QStringLiteral("a button is enabled"));
    waitForStatus("Connection error: ");
    Tour::require(m_prompter.boxes.isEmpty(), m_prompter.boxes.join(QLatin1Char(' ')));
    m_tour.picture(dialog());
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
