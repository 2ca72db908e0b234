#include "app/fido2_desk.h"

#include "app/wait_notice.h"
#include "devices/device_record_manager.h"
#include "devices/device_type.h"
#include "fido2/dialogs/confirmation_result.h"
#include "fido2/dialogs/device_detail_dialog.h"
#include "fido2/dialogs/fido2_setting_dialog.h"
#include "fido2/dialogs/fido2_user_confirmation_dialog.h"
#include "runtime/shown_text.h"

#include <QApplication>
#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTimer>

namespace {

constexpr int kEndCheckMs = 1000;

/// The second click of a double click that answered one request finds no button yet.
ConfirmationQueue::Timing queueTiming()
{
    constexpr int kSlack = 100; // ms
    ConfirmationQueue::Timing timing;
    timing.pause = QApplication::doubleClickInterval() + kSlack;
    return timing;
}

/// A restored row bears the label of the type, one that was just launched its word; they differ in letter case.
bool isSecurityKey(const QString& typeCell)
{
    return typeCell.compare(deviceTypeWord(DeviceType::Fido2), Qt::CaseInsensitive) == 0;
}

QString serialNumberOf(const DeviceRecord& key)
{
    return key.publicParams.value(parameter::KeySerialNumber).trimmed();
}

/// By which the user knows it, as far as that is known.
QString keyText(const DeviceRecord& key)
{
    constexpr int kLongest = 80;
    const QString serial = serialNumberOf(key);
    const QString name = shownText(key.deviceName, kLongest);
    return serial.isEmpty() ? name : QStringLiteral("%1 (%2)").arg(name, shownText(serial, kLongest));
}

} // namespace

Fido2Desk::Fido2Desk(QWidget* window, Fido2Environment environment, const DeviceRecordManager& records,
                     Prompter& prompter)
    : QObject(window)
    , m_window(window)
    , m_environment(std::move(environment))
    , m_records(records)
    , m_prompter(prompter)
    , m_channels(this)
    , m_queue([this](const ConfirmationRequest& request) { showConfirmation(request); },
              [this](qint64 processId) { m_channels.answer(processId, false, deniedResult(false)); }, queueTiming(),
              this)
{
    connect(&m_channels, &Fido2Channels::deviceDisconnected, this, &Fido2Desk::checkAsker);
}

void Fido2Desk::connectTo(const QList<DeviceRecord>& keys)
{
    WaitNotice notice(m_window);
    for (const DeviceRecord& key : keys) {
        notice.say(
            tr("Connecting to the security key %1, process %2 ...").arg(keyText(key), QString::number(key.processId)));
        m_channels.add(key.processId);
    }
}

std::optional<Fido2Parameters> Fido2Desk::askForKey()
{
    Fido2SettingDialog dialog(nullptr, m_environment, m_prompter);
    if (dialog.exec() != QDialog::Accepted)
        return {};
    QDir().mkpath(m_environment.directory());
    return dialog.parameters();
}

void Fido2Desk::showDetails(const QString& name, const QString& processId, const QString& type)
{
    const auto complain = [this](const QString& text) { m_prompter.warning(m_window, tr("Error"), text); };
    if (!isSecurityKey(type)) {
        m_prompter.information(m_window, tr("Info"), tr("Device details are only available for FIDO2 devices"));
        return;
    }
    const std::optional<DeviceRecord> record =
        recordOf(processId.toLongLong(), {type, deviceTypeLabel(DeviceType::Fido2), name});
    if (!record)
        return complain(tr("Could not load FIDO2 device record"));
    const QString serial = serialNumberOf(*record);
    if (serial.isEmpty())
        return complain(tr("Could not extract device serial number from device record"));
    const QString path = m_environment.credentialsPath(serial);
    if (!QFileInfo::exists(path))
        return complain(tr("Credentials file not found: %1").arg(path));
    DeviceDetailDialog(path, serial, m_window, m_environment, m_prompter).exec();
}

std::optional<DeviceRecord> Fido2Desk::recordOf(qint64 processId, const QStringList& names) const
{
    const QStringList existing = m_records.listRecords();
    QStringList candidates;
    for (const QString& name : names) {
        DeviceRecord named;
        named.deviceName = name;
        named.processId = processId;
        if (const QString file = deviceRecordFileName(named); existing.contains(file))
            candidates << file;
    }
    // Every record's file is named after its process; reading all the others could cost gigabytes.
    candidates += existing.filter(QRegularExpression(QStringLiteral("_%1\\.json\\z").arg(processId)));
    for (const QString& file : qAsConst(candidates)) {
        const DeviceRecord record = m_records.loadRecord(file);
        if (processId > 0 && record.processId == processId)
            return record;
    }
    return {};
}

void Fido2Desk::ask(qint64 processId, const QString& operation, const QJsonObject& data)
{
    m_queue.add({processId, operation, data, QDateTime::currentDateTime()});
}

bool Fido2Desk::hasRequestOf(qint64 processId) const
{
    return m_queue.holds(processId) || (m_dialog && m_asker == processId);
}

/// A channel may be lost and come back; only a process that has ended asks no more. It is looked for a little later,
/// since its socket closes before it is gone. Nobody looks for a process that asks nothing: the list of all processes
/// is read for it.
void Fido2Desk::checkAsker(qint64 processId)
{
    if (!hasRequestOf(processId))
        return;
    QTimer::singleShot(kEndCheckMs, this, [this, processId] {
        const Fido2Client* client = m_channels.clientOf(processId);
        if ((client && client->isConnected()) || m_records.isProcessRunning(processId))
            return;
        m_queue.forget(processId);
        if (m_dialog && m_asker == processId)
            m_dialog->showAskerGone();
    });
}

void Fido2Desk::dropDevice(qint64 processId)
{
    m_queue.forget(processId);
    m_channels.drop(processId);
}

void Fido2Desk::showConfirmation(const ConfirmationRequest& request)
{
    if (m_window->isMinimized())
        m_window->showNormal(); // a minimised window takes its dialogs with it
    // Another modal window may be open, which would lie in front of and below this one at once.
    QWidget* front = QApplication::activeModalWidget();
    const QPointer<Fido2UserConfirmationDialog> dialog =
        new Fido2UserConfirmationDialog(request.operation, request.data, front ? front : m_window, m_environment);
    m_dialog = dialog;
    m_asker = request.processId;
    const std::optional<DeviceRecord> key = recordOf(request.processId);
    dialog->showAsker(key ? keyText(*key) : QString(), request.processId, request.arrived);
    connect(dialog, &Fido2UserConfirmationDialog::userConfirmed, this,
            [this, processId = request.processId](bool confirmed, const QJsonObject& result) {
                m_channels.answer(processId, confirmed, result);
            });
    dialog->setModal(true);
    dialog->show();
    dialog->raise();
    dialog->activateWindow();
    QApplication::alert(dialog);
    dialog->exec();
    delete dialog;
}
