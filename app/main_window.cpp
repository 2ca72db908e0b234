#include "app/main_window.h"

#include "app/application_menu.h"
#include "app/device_rows.h"
#include "app/device_settings.h"
#include "app/device_table.h"
#include "app/device_type_bar.h"
#include "app/device_watch.h"
#include "app/edge_grip.h"
#include "app/fido2_desk.h"
#include "app/log.h"
#include "app/record_watch.h"
#include "app/status_line.h"
#include "app/title_bar.h"
#include "app/window_body.h"
#include "devices/device_record_manager.h"
#include "devices/device_type.h"
#include "devices/parameter_list.h"
#include "devices/process_ender.h"
#include "dialogs/camera_setting_dialog.h"
#include "dialogs/microphone_setting_dialog.h"
#include "runtime/shown_text.h"
#include "ui/busy_cursor.h"

#include <QApplication>
#include <QClipboard>
#include <QCoreApplication>
#include <QMenu>
#include <QMouseEvent>
#include <QPainter>
#include <QPersistentModelIndex>
#include <QShortcut>
#include <QVBoxLayout>

MainWindow::MainWindow(QWidget* parent, Prompter& prompter, MainWindowServices services)
    : QWidget(parent, Qt::Window | Qt::FramelessWindowHint)
    , m_prompter(prompter)
    , m_services(std::move(services))
{
    setWindowTitle(QStringLiteral("Plugboard"));
    setAttribute(Qt::WA_TranslucentBackground);
    constexpr QSize kSize(720, 500);
    setMinimumSize(kSize);
    resize(kSize);

    const QString folder =
        m_services.recordsFolder.isEmpty() ? QCoreApplication::applicationDirPath() : m_services.recordsFolder;
    m_records = new DeviceRecordManager(folder, m_services.takeSnapshot, this);

    openFido2Desk(folder);

    buildLayout();
    addShortcuts();
    refreshDevices();
}

void MainWindow::openFido2Desk(const QString& folder)
{
    Fido2Environment environment = Fido2Environment::ofThisProgram();
    environment.applicationDirectory = folder;
    m_fido2 = new Fido2Desk(this, environment, *m_records, m_prompter);
    Fido2Channels* channels = &m_fido2->channels();
    connect(channels, &Fido2Channels::deviceConnected, this, &MainWindow::onFido2DeviceConnected);
    connect(channels, &Fido2Channels::deviceDisconnected, this, &MainWindow::onFido2DeviceDisconnected);
    connect(channels, &Fido2Channels::confirmationRequested, m_fido2, &Fido2Desk::ask);
}

void MainWindow::buildLayout()
{
    m_titleBar = new TitleBar(this);
    connect(m_titleBar, &TitleBar::minimizeRequested, this, &MainWindow::onMinimize);
    connect(m_titleBar, &TitleBar::closeRequested, this, &MainWindow::onClose);

    m_table = new DeviceTable(this);
    m_table->setFocus(); // the keys are for devices, not for the button to minimise
    connect(m_table, &QTableWidget::itemDoubleClicked, this, &MainWindow::onTableItemDoubleClicked);
    connect(m_table, &QWidget::customContextMenuRequested, this, &MainWindow::onTableWidgetContextMenu);

    m_statusLine = new StatusLine(this);
    m_statusLine->setHostWay(m_services.hostWay);
    m_watch = new DeviceWatch(*m_table, *m_statusLine, m_services.launcher, m_services.takeSnapshot, this);
    m_recordWatch = new RecordWatch(
        *m_records, [this](const auto& device) { showDeviceOfOthers(device); }, this);
    new EdgeGrip(EdgeGrip::Side::Left, kShadowWidth, this);
    new EdgeGrip(EdgeGrip::Side::Right, kShadowWidth, this);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(kShadowWidth, kShadowWidth, kShadowWidth, kShadowWidth);
    layout->setSpacing(0);
    layout->addWidget(m_titleBar);
    layout->addWidget(buildTypeBar());
    layout->addWidget(m_table);
    layout->addWidget(m_statusLine);
    layout->addStretch();
}

QWidget* MainWindow::buildTypeBar()
{
    const std::vector<DeviceTypeEntry> entries = {
        {QStringLiteral(":/icons/res/microphone.png"), tr("Microphone"), [this] { onCreateMicrophone(); }},
    };
    auto* typeBar = new DeviceTypeBar(entries, this);
    connect(typeBar, &DeviceTypeBar::closedFeatureRequested, this, [this] {
        m_prompter.information(this, tr("Info"), tr("This feature is not yet open, please stay tuned ..."));
    });
    return typeBar;
}

void MainWindow::addShortcuts()
{
    auto* menu = new ApplicationMenu(m_icons, this);
    connect(menu, &ApplicationMenu::refreshRequested, this, &MainWindow::refreshDevices);
    auto* openMenu = new QShortcut(Qt::Key_F10, this);
    connect(openMenu, &QShortcut::activated, this, [this, menu] { menu->openAt(m_titleBar->geometry().bottomLeft()); });

    auto* remove = new QShortcut(QKeySequence::Delete, m_table, nullptr, nullptr, Qt::WidgetShortcut);
    connect(remove, &QShortcut::activated, this,
            [this] { onTableItemDoubleClicked(m_table->item(m_table->selectedRow(), DeviceTable::kNameColumn)); });

    auto* copy = new QShortcut(QKeySequence::Copy, m_table, nullptr, nullptr, Qt::WidgetShortcut);
    connect(copy, &QShortcut::activated, this, &MainWindow::copySelectedRow);
}

void MainWindow::setHostWay(std::optional<HostWay> way)
{
    m_statusLine->setHostWay(way);
}

void MainWindow::onMinimize()
{
    showMinimized();
}

void MainWindow::onClose()
{
    close();
}

void MainWindow::CallUsbDaemon(const QString& devType, const QString& args, const std::function<void(qint64)>& callback)
{
    const std::optional<qint64> processId = [&] {
        const BusyCursor busy;
        return m_services.launcher.launch(args, m_watch->lookWhenEnded());
    }();
    if (!processId)
        return;
    qCInfo(appLog).noquote() << "Device process started, type" << devType << "process" << *processId;
    m_table->addDevice(launchedDeviceRow(devType, args, *processId));
    m_watch->countRows();
    callback(*processId);
}

void MainWindow::createDevice(DeviceType type, const QStringList& fields)
{
    CallUsbDaemon(deviceTypeWord(type), joinParameters(fields), [](qint64) {});
}

void MainWindow::createFixed(DeviceType type)
{
    createDevice(type, fixedParameters(type));
}

void MainWindow::onCreateCamera()
{
    CameraSettingDialog dialog(nullptr, m_prompter);
    if (dialog.exec() == QDialog::Accepted)
        createDevice(DeviceType::Camera, dialog.settings().parameterList());
}

void MainWindow::onCreateMouse()
{
    const BusyCursor busy;
    const qint64 processId = m_services.launcher.launchBare(m_watch->lookWhenEnded());
    const int row = m_table->addDevice(mouseRow(processId), m_icons.icon(QStringLiteral(":/icons/res/mouse.png")));
    m_table->setEnded(row, processId == 0); // it never started
    m_watch->countRows();
}

void MainWindow::onCreateFido2()
{
    const std::optional<Fido2Parameters> key = m_fido2->askForKey();
    if (!key)
        return;
    CallUsbDaemon(deviceTypeWord(DeviceType::Fido2), joinParameters(key->parameterList()),
                  [this](qint64 processId) { m_fido2->channels().add(processId); });
}

void MainWindow::onCreateUsbIp()
{
    createFixed(DeviceType::UsbIp);
}

void MainWindow::onCreateMicrophone()
{
    MicrophoneSettingDialog dialog(nullptr, m_prompter);
    if (dialog.exec() == QDialog::Accepted)
        createDevice(DeviceType::Microphone, dialog.settings().parameterList());
}

void MainWindow::onCreateSpeaker()
{
    createFixed(DeviceType::Speaker);
}

void MainWindow::onCreateUsbStorage()
{
    createFixed(DeviceType::Storage);
}

void MainWindow::onCreateKeyboard()
{
    createFixed(DeviceType::Keyboard);
}

void MainWindow::onTableItemDoubleClicked(QTableWidgetItem* item)
{
    if (item && m_table->identityAt(item->row()))
        deleteDevice(item->row());
}

void MainWindow::deleteDevice(int row)
{
    const DeviceTable::Identity device = *m_table->identityAt(row);
    bool isNumber = false;
    const qint64 processId = device.processId.toLongLong(&isNumber);
    if (!isNumber || processId <= 0) {
        m_prompter.warning(this, tr("Warning"), tr("Invalid process ID"));
        return;
    }
    const QString name = shownText(device.name);
    // A box runs an event loop, in which a row can move.
    const QPersistentModelIndex place(m_table->model()->index(row, DeviceTable::kNameColumn));
    const QString question = tr("Are you sure you want to delete device \"%1\"?\nThis will terminate process ID: %2")
                                 .arg(name, QString::number(processId));
    if (!m_prompter.question(this, tr("Confirm Deletion"), question, m_watch->remarkOn(processId)) ||
        !endDevice(processId))
        return;
    m_fido2->dropDevice(processId);
    if (place.isValid())
        m_table->removeDevice(place.row());
    m_watch->countRows();
    m_prompter.information(this, tr("Success"), tr("Device \"%1\" has been successfully deleted").arg(name));
}

bool MainWindow::endDevice(qint64 processId)
{
    const EndProcessResult result = [&] {
        const BusyCursor busy;
        return endProcess(m_services.killCommand(processId));
    }();
    if (!result.finished || result.exitCode != 0)
        qCWarning(appLog) << "Process" << processId << "could not be ended, finished:" << result.finished
                          << "exit code:" << result.exitCode;
    else
        qCInfo(appLog) << "Process" << processId << "ended";
    if (!result.finished) {
        m_prompter.warning(this, tr("Error"), tr("Process termination timed out"));
        return false;
    }
    if (result.exitCode != 0) {
        m_prompter.warning(
            this, tr("Error"),
            tr("Failed to terminate process ID: %1\nError code: %2").arg(processId).arg(result.exitCode));
        return false;
    }
    return true;
}

void MainWindow::onTableWidgetContextMenu(const QPoint& position)
{
    const int row = m_table->rowAt(position.y());
    const auto device = m_table->identityAt(row);
    if (!device)
        return;
    const QPersistentModelIndex place(m_table->model()->index(row, DeviceTable::kNameColumn));
    QMenu menu(m_table);
    const QAction* info = menu.addAction(tr("Device Info"));
    menu.addSeparator();
    const QAction* capture = menu.addAction(tr("USB Packet Capture"));
    menu.addSeparator();
    const QAction* refresh = menu.addAction(tr("Refresh List"));

    const QAction* chosen = menu.exec(m_table->viewport()->mapToGlobal(position));
    if (chosen == info && place.isValid())
        showDeviceDetails(place.row());
    else if (chosen == capture)
        m_services.openCapture(*this, device->processId, m_prompter);
    else if (chosen == refresh)
        refreshDevices();
}

void MainWindow::refreshDevices()
{
    const DeviceTable::View view = m_table->view();
    m_table->clearDevices();
    if (!m_records) {
        qCWarning(appLog) << "DeviceRecordManager not available";
        return;
    }
    m_recordWatch->knowAll(); // before they are read: one that comes meanwhile is found later
    const auto devices = m_records->restoreDevices();
    QList<DeviceRecord> keys;
    for (const DeviceRecordManager::RestoredDevice& device : devices) {
        addRestoredRow(device);
        if (device.running && deviceTypeFromRecordCode(device.record.deviceType) == DeviceType::Fido2)
            keys << device.record;
    }
    m_table->setView(view);
    m_watch->countRows();
    m_fido2->connectTo(keys);
}

void MainWindow::addRestoredRow(const DeviceRecordManager::RestoredDevice& device)
{
    const QIcon icon = m_icons.icon(restoredDeviceIconPath(device));
    m_table->setEnded(m_table->addDevice(restoredDeviceRow(device), icon), !device.isDevice);
}

/// Of a script or another window. What this window made has its row already, but perhaps no channel yet.
void MainWindow::showDeviceOfOthers(const DeviceRecordManager::RestoredDevice& device)
{
    const qint64 processId = device.record.processId;
    Fido2Channels& channels = m_fido2->channels();
    const bool isKey = deviceTypeFromRecordCode(device.record.deviceType) == DeviceType::Fido2;
    if (isKey && !(channels.clientOf(processId) && channels.clientOf(processId)->isConnected()))
        channels.add(processId);
    if (m_table->hasProcess(processId))
        return;
    qCInfo(appLog) << "A device of others has appeared, process" << processId;
    addRestoredRow(device);
    m_watch->countRows();
}

void MainWindow::copySelectedRow()
{
    const int row = m_table->selectedRow();
    if (!m_table->identityAt(row))
        return;
    QStringList texts = m_table->cellTexts(row);
    for (QString& text : texts)
        text = shownText(text); // where it is pasted, none of it may end the cell
    QApplication::clipboard()->setText(texts.join(QLatin1Char('\t')));
}

void MainWindow::showDeviceDetails(int row)
{
    if (const auto device = m_table->identityAt(row))
        m_fido2->showDetails(device->name, device->processId, m_table->cellTexts(row).at(DeviceTable::kTypeColumn));
    else
        m_prompter.warning(this, tr("Error"), tr("No device found at selected row"));
}

void MainWindow::onFido2DeviceConnected(qint64 processId)
{
    qCInfo(appLog) << "FIDO2 device connected, process" << processId;
}

void MainWindow::onFido2DeviceDisconnected(qint64 processId)
{
    qCInfo(appLog) << "FIDO2 device disconnected, process" << processId;
}

void MainWindow::showFido2UserConfirmationDialog(const QString& operation, const QJsonObject& request)
{
    m_fido2->ask(m_fido2->channels().processIdOf(sender()).value_or(0), operation, request);
}

void MainWindow::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    paintWindowBody(painter, rect());
}

void MainWindow::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton || !m_titleBar->geometry().contains(event->pos())) {
        QWidget::mousePressEvent(event);
        return;
    }
    m_dragging = true;
    m_dragOffset = event->globalPos() - frameGeometry().topLeft();
    event->accept();
}

void MainWindow::mouseMoveEvent(QMouseEvent* event)
{
    if (!m_dragging || !(event->buttons() & Qt::LeftButton)) {
        QWidget::mouseMoveEvent(event);
        return;
    }
    move(event->globalPos() - m_dragOffset);
    event->accept();
}

void MainWindow::mouseReleaseEvent(QMouseEvent* event)
{
    m_dragging = false;
    QWidget::mouseReleaseEvent(event);
}
