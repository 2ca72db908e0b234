// fido2_desk.h: what the main window does for security keys: settings, details, channels and confirmations.
#pragma once

#include "devices/device_record.h"
#include "devices/parameter_list.h"
#include "fido2/channel/confirmation_queue.h"
#include "fido2/channel/fido2_channels.h"
#include "fido2/file/fido2_environment.h"
#include "ui/prompter.h"

#include <QObject>
#include <QPointer>

#include <optional>

class DeviceRecordManager;
class Fido2UserConfirmationDialog;
class QWidget;

/// GUI thread only. Owned by the window, which it uses as the parent of its dialogs.
class Fido2Desk : public QObject
{
    Q_OBJECT

public:
    /// `records` and `prompter` outlive it.
    Fido2Desk(QWidget* window, Fido2Environment environment, const DeviceRecordManager& records, Prompter& prompter);

    Fido2Channels& channels() { return m_channels; }

    /// Opens the channels to keys that run, each anew, and says which one is waited for: each may block for 5 s.
    void connectTo(const QList<DeviceRecord>& keys);

    /// Runs the settings dialog and makes the folder of the credentials files; nothing when the user gave up.
    std::optional<Fido2Parameters> askForKey();

    /// Opens the details of the security key of a table row, given its name, process id and type cells, or says why
    /// not.
    void showDetails(const QString& name, const QString& processId, const QString& type);

    /// Queues a request of that process; for 0 there is no one to answer.
    void ask(qint64 processId, const QString& operation, const QJsonObject& data);

    /// Closes the channel of a device that was deleted and forgets what it still asks.
    void dropDevice(qint64 processId);

private:
    void showConfirmation(const ConfirmationRequest& request);
    bool hasRequestOf(qint64 processId) const;
    void checkAsker(qint64 processId);
    /// The record of that process, which one of `names` may be in the name of; nothing without a record.
    std::optional<DeviceRecord> recordOf(qint64 processId, const QStringList& names = {}) const;

    QWidget* m_window;
    Fido2Environment m_environment;
    const DeviceRecordManager& m_records;
    Prompter& m_prompter;
    Fido2Channels m_channels;
    ConfirmationQueue m_queue;
    QPointer<Fido2UserConfirmationDialog> m_dialog; ///< the one that is open
    qint64 m_asker = 0;                             ///< process whose dialog it is
};
