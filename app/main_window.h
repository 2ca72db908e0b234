// main_window.h: the program's only top-level window: title bar, device-type bar and device table.
#pragma once

#include "app/packet_capture.h"
#include "app/row_icons.h"
#include "devices/device_launcher.h"
#include "devices/device_record_manager.h"
#include "devices/device_type.h"
#include "devices/host_controller.h"
#include "devices/process_table.h"
#include "ui/prompter.h"

#include <QJsonObject>
#include <QPoint>
#include <QWidget>

#include <functional>

class DeviceTable;
class DeviceWatch;
class Fido2Desk;
class RecordWatch;
class QTableWidgetItem;
class StatusLine;
class TitleBar;

/// What the window reaches the system through; the defaults are the real ones.
struct MainWindowServices
{
    DeviceLauncher launcher;
    std::function<KillCommand(qint64)> killCommand = ::killCommand;
    TakeProcessSnapshot takeSnapshot = &ProcessSnapshot::take;
    std::function<void(QWidget&, const QString& processId, Prompter&)> openCapture = &openPacketCapture;
    std::optional<HostWay> hostWay = findHostWay();
    QString recordsFolder; ///< of records and of the folder "fido2"; empty for the application directory
};

/// GUI thread only. Starting a device blocks up to 30 s, ending one up to 5 s. Devices outlive the window.
class MainWindow : public QWidget
{
    Q_OBJECT

public:
    explicit MainWindow(QWidget* parent = nullptr, Prompter& prompter = systemPrompter(),
                        MainWindowServices services = {});

    /// Rebuilds the table from the records of the devices that run. The selection stays with its device.
    void refreshDevices();

    DeviceTable& deviceTable() { return *m_table; }

    /// Says in the status line what devices are plugged into from now on.
    void setHostWay(std::optional<HostWay> way);

public slots:
    // Scripts and tests reach these by name, and their order is the meta-object's: keep both, and no default arguments.
    void onMinimize();
    void onClose();

    /// Starts one device: `args` is its joined parameter list, `devType` the word in the row's last cell. `callback`
    /// receives the process id; an empty one throws std::bad_function_call. Silent when the process does not start.
    void CallUsbDaemon(const QString& devType, const QString& args, const std::function<void(qint64)>& callback);

    void onCreateCamera();
    void onCreateMouse();
    void onCreateFido2();
    void onCreateUsbIp();
    void onCreateMicrophone();
    void onCreateSpeaker();
    void onCreateUsbStorage();
    void onCreateKeyboard();
    void onTableItemDoubleClicked(QTableWidgetItem* item);
    void onTableWidgetContextMenu(const QPoint& position);
    void showDeviceDetails(int row);
    void onFido2DeviceConnected(qint64 processId);
    void onFido2DeviceDisconnected(qint64 processId);
    void showFido2UserConfirmationDialog(const QString& operation, const QJsonObject& data);

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    void buildLayout();
    void addShortcuts();
    void openFido2Desk(const QString& folder);
    void createDevice(DeviceType type, const QStringList& fields);
    void createFixed(DeviceType type);
    void deleteDevice(int row);
    bool endDevice(qint64 processId);
    QWidget* buildTypeBar();
    void copySelectedRow();
    void addRestoredRow(const DeviceRecordManager::RestoredDevice& device);
    void showDeviceOfOthers(const DeviceRecordManager::RestoredDevice& device);

    Prompter& m_prompter;
    MainWindowServices m_services;
    DeviceRecordManager* m_records = nullptr;
    Fido2Desk* m_fido2 = nullptr;
    TitleBar* m_titleBar = nullptr;
    DeviceTable* m_table = nullptr;
    StatusLine* m_statusLine = nullptr;
    DeviceWatch* m_watch = nullptr;
    RecordWatch* m_recordWatch = nullptr;
    RowIcons m_icons;
    bool m_dragging = false;
    QPoint m_dragOffset; ///< pointer minus the frame's top left, in global pixels
};
