// device_starts.h: device processes that a script starts together, from their start until a host has them.
#pragma once

#include "app/creation_slots.h"
#include "devices/device_launcher.h"
#include "devices/device_record_manager.h"

#include <QDeadlineTimer>
#include <QJsonArray>

#include <memory>
#include <vector>

/// Main thread. All calls but the constructor turn the event loop. The devices outlive this.
class DeviceStarts
{
public:
    /// Both outlive this.
    DeviceStarts(const DeviceLauncher& launcher, const DeviceRecordManager& records);

    /// Starts the processes one after the other, waits until each has said what it is, and ends all of them if one
    /// does not come up. Empty, or the sentence that says which did not and why.
    QString start(const std::vector<CreationRequest>& requests);

    /// Waits until a host has configured every device; on this machine's own buses also for the nodes of its drivers,
    /// a few seconds at most. The sentence names a device that ended, or one that no host has when the time is over.
    enum class Wait
    {
        Configured,
        TimeOver,
        Ended
    };
    struct WaitOutcome
    {
        Wait state = Wait::Configured;
        QString sentence;
    };
    WaitOutcome waitForHosts(QDeadlineTimer deadline);

    /// The devices as deviceJson() shows them.
    QJsonArray json() const;

private:
    /// How far a device has come.
    enum class Stage
    {
        Launched,
        Told,       ///< it has said what it is
        Configured, ///< by a host
        Usable      ///< the host's drivers have made its node, where that can be seen from here
    };
    struct Started
    {
        DeviceType type = DeviceType::Mouse;
        qint64 processId = 0;
        Stage stage = Stage::Launched;
        std::optional<DeviceEnd> end;
        std::optional<DeviceRecord> record;
    };

    QString launch(const CreationRequest& request);
    void look(Started& device, Stage wanted) const;
    /// Looks until all devices have come that far, or one has ended. Whether they did in time.
    bool reach(Stage wanted, const QDeadlineTimer& deadline);
    const Started* ended() const;
    void endAll();

    const DeviceLauncher& m_launcher;
    const DeviceRecordManager& m_records;
    std::vector<std::shared_ptr<Started>> m_started; ///< shared with the callbacks that report their ends
};
