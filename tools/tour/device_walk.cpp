// device_walk.cpp: the tour's walk through creating, restoring, deleting and refreshing devices.
#include "app/device_table.h"
#include "app/main_window.h"
#include "app/script_commands.h"
#include "devices/device_record_manager.h"
#include "tools/tour/tour.h"
#include "tools/tour/walks.h"

#include <QMenu>
#include <QPushButton>
#include <QtTest>

#include <memory>
#include <set>

namespace {

class DeviceWalk
{
public:
    explicit DeviceWalk(Tour& tour) : m_tour(tour) {}

    void run();

private:
    void openWindow();
    void activateWindow();
    void showFocus();
    void openApplicationMenu();
    void createDevices();
    void startAgain();
    void openContextMenu();
    void deleteWithDoubleClick();
    void endAllDevices();

    QStringList namesInTable() const;
    DeviceTable& table() const { return m_window->deviceTable(); }
    int rowOf(const QString& name) const { return namesInTable().indexOf(name); }

    Tour& m_tour;
    DeviceRecordManager m_records;
    std::unique_ptr<MainWindow> m_window;
};

void DeviceWalk::run()
{
    endAllDevices(); // an earlier tour may have been cut off
    m_tour.step(QStringLiteral("empty-window"), [this] {
        openWindow();
        Tour::require(namesInTable().isEmpty(), QStringLiteral("the table is not empty"));
        m_tour.picture(*m_window);
        return QStringLiteral("ten empty rows");
    });
    m_tour.step(QStringLiteral("keyboard-focus"), [this] {
        showFocus();
        return QStringLiteral("Tab reaches the microphone's and both title buttons, and shows where it is");
    });
    m_tour.step(QStringLiteral("menu-by-keyboard"), [this] {
        openApplicationMenu();
        return QStringLiteral("F10 opens it, Escape leaves it");
    });
    m_tour.step(QStringLiteral("create-devices"), [this] {
        createDevices();
        m_tour.picture(*m_window);
        return namesInTable().join(QStringLiteral(", "));
    });
    m_tour.step(QStringLiteral("start-again"), [this] {
        startAgain();
        m_tour.picture(*m_window);
        return QStringLiteral("five devices restored from their records");
    });
    m_tour.step(QStringLiteral("context-menu-over-device"), [this] {
        openContextMenu();
        return QStringLiteral("opened and left");
    });
    m_tour.step(QStringLiteral("delete-device"), [this] {
        deleteWithDoubleClick();
        m_tour.picture(*m_window);
        return QStringLiteral("the keyboard's process and row are gone, ten rows remain");
    });
    m_tour.step(QStringLiteral("end-devices"), [this] {
        endAllDevices();
        Tour::require(m_records.listRecords().isEmpty(), QStringLiteral("records are left"));
        return QStringLiteral("no process and no record is left");
    });
}

void DeviceWalk::openWindow()
{
    m_window = std::make_unique<MainWindow>();
    m_window->show();
    Tour::require(QTest::qWaitForWindowExposed(m_window.get()), QStringLiteral("the window never showed"));
}

void DeviceWalk::activateWindow()
{
    m_window->activateWindow();
    Tour::require(QTest::qWaitForWindowActive(m_window.get()), QStringLiteral("the window takes no keys"));
}

void DeviceWalk::showFocus()
{
    activateWindow();
    QStringList reached;
    for (int stop = 0; stop < 4; ++stop) {
        QTest::keyClick(m_window->focusWidget(), Qt::Key_Tab);
        if (const auto* button = qobject_cast<QPushButton*>(m_window->focusWidget()))
            reached << button->accessibleName();
        if (reached.size() == 1 && reached.last() != m_tour.said("Microphone"))
            m_tour.picture(*m_window);
    }
    const std::set<QString> expected{m_tour.said("Microphone"), m_tour.said("close"), m_tour.said("min")};
    Tour::require(std::set<QString>(reached.begin(), reached.end()) == expected,
                  QStringLiteral("reached: ") + reached.join(QStringLiteral(", ")));
    table().setFocus();
}

void DeviceWalk::openApplicationMenu()
{
    bool isLeft = false;
    m_tour.whenWindowOpens(QStringLiteral("application-menu"), [this, &isLeft](QWidget& menu) {
        m_tour.picture(menu);
        QTest::keyClick(&menu, Qt::Key_Escape);
        isLeft = true;
        return QStringLiteral("the eight device types, Refresh List");
    });
    QTest::keyClick(m_window.get(), Qt::Key_F10);
    Tour::waitUntil([&isLeft] { return isLeft; }, QStringLiteral("the menu"));
    activateWindow();
}

void DeviceWalk::createDevices()
{
    for (const char* slot :
         {"onCreateUsbIp", "onCreateSpeaker", "onCreateUsbStorage", "onCreateKeyboard", "onCreateMouse"})
        Tour::require(QMetaObject::invokeMethod(m_window.get(), slot), QString::fromLatin1(slot));
    Tour::waitUntil([this] { return m_records.restoreDevices().size() == 5; }, QStringLiteral("five device records"));
    const auto devices = m_records.restoreDevices();
    for (const auto& device : devices) {
        Tour::require(device.running && device.record.createTime.isValid(), QStringLiteral("a record says too little"));
        const bool isMouse = device.record.deviceName.startsWith(QLatin1String("Mouse"));
        Tour::require(isMouse || device.record.publicParams.value(3) == device.record.deviceName,
                      QStringLiteral("the parameters of %1 did not arrive").arg(device.record.deviceName));
    }
    Tour::require(namesInTable().size() == 5, QStringLiteral("not five rows"));
}

void DeviceWalk::startAgain()
{
    m_window.reset();
    openWindow();
    QStringList names = namesInTable();
    names.sort();
    Tour::require(names == QStringList{QStringLiteral("Keyboard Device"), QStringLiteral("Mouse Device"),
                                       QStringLiteral("Speaker Device"), QStringLiteral("USB Storage Device"),
                                       QStringLiteral("USBIP Device")},
                  QStringLiteral("restored: ") + names.join(QStringLiteral(", ")));
}

void DeviceWalk::openContextMenu()
{
    m_tour.whenWindowOpens(QStringLiteral("context-menu"), [this](QWidget& menu) {
        m_tour.picture(menu);
        QTest::keyClick(&menu, Qt::Key_Escape);
        return QStringLiteral("Device Info, USB Packet Capture, Refresh List");
    });
    m_window->onTableWidgetContextMenu(table().visualItemRect(table().item(0, 0)).center());
}

void DeviceWalk::deleteWithDoubleClick()
{
    const int row = rowOf(QStringLiteral("Keyboard Device"));
    Tour::require(row >= 0, QStringLiteral("the keyboard has no row"));
    const QString processId = table().cellTexts(row)[DeviceTable::kPidColumn];
    m_tour.answerBox(QStringLiteral("confirm-deletion"), QStringLiteral("Confirm Deletion"),
                     QStringLiteral("Are you sure you want to delete device \"Keyboard Device\"?\n"
                                    "This will terminate process ID: %1")
                         .arg(processId),
                     QMessageBox::Yes);
    m_tour.answerBox(QStringLiteral("deletion-done"), QStringLiteral("Success"),
                     QStringLiteral("Device \"Keyboard Device\" has been successfully deleted"), QMessageBox::Ok);
    const QPoint cell = table().visualItemRect(table().item(row, DeviceTable::kTypeColumn)).center();
    QTest::mouseClick(table().viewport(), Qt::LeftButton, {}, cell);
    QTest::mouseDClick(table().viewport(), Qt::LeftButton, {}, cell);

    Tour::waitUntil([&] { return !m_records.isProcessRunning(processId.toLongLong()); }, QStringLiteral("its end"));
    Tour::require(rowOf(QStringLiteral("Keyboard Device")) < 0, QStringLiteral("the row is still there"));
    Tour::require(table().rowCount() == 10, QStringLiteral("not ten rows"));
}

void DeviceWalk::endAllDevices()
{
    const auto devices = m_records.restoreDevices();
    for (const auto& device : devices) {
        const ScriptResult result = deleteDevice(m_records, device.record.processId);
        // One that was ended just before may still have been seen.
        Tour::require(result.exitCode == 0 || !m_records.isProcessRunning(device.record.processId), result.error);
    }
}

QStringList DeviceWalk::namesInTable() const
{
    QStringList names;
    for (int row = 0; row < table().rowCount(); ++row) {
        if (const auto device = table().identityAt(row))
            names << device->name;
    }
    return names;
}

} // namespace

void walkDevices(Tour& tour)
{
    DeviceWalk(tour).run();
}
