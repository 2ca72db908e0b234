// main_window_fixture.h: a main window over a records folder, processes and a kill tool of the test's own.
#pragma once

#include "app/device_table.h"
#include "app/main_window.h"
#include "devices/device_record_manager.h"
#include "devices/device_type.h"
#include "tests/support/kill_tool.h"
#include "tests/support/scripted_prompter.h"

#include <QTemporaryDir>

#include <vector>

inline DeviceRecord record(DeviceType type, const QString& name, qint64 processId)
{
    DeviceRecord made;
    made.deviceType = int(type);
    made.deviceName = name;
    made.processId = processId;
    made.usbVid = QStringLiteral("0x1d6b");
    made.usbPid = QStringLiteral("0x0002");
    made.usbVersion = QStringLiteral("0200");
    made.isRunning = true;
    return made;
}

/// A window over a records folder of its own, with device processes 1 to 999, and whose kill tool is chosen.
struct MainWindowFixture
{
    MainWindowFixture()
    {
        for (std::uint32_t id = 1; id < 1000; ++id)
            running.push_back(id);
    }

    QTemporaryDir folder;
    ScriptedPrompter prompter;
    KillCommand tool = toolExiting(0);
    std::vector<qint64> killed;
    QStringList captured; ///< process ids that packet capture was asked for
    std::vector<std::uint32_t> running;
    std::optional<HostWay> hostWay;
    QString program = deviceProgramName(); ///< of all that run

    MainWindowServices services()
    {
        MainWindowServices made;
        made.launcher = DeviceLauncher(folder.path());
        made.recordsFolder = folder.path();
        made.takeSnapshot = [this] { return ProcessSnapshot(running, program); };
        made.killCommand = [this](qint64 processId) {
            killed.push_back(processId);
            return tool;
        };
        made.hostWay = hostWay;
        made.openCapture = [this](QWidget&, const QString& processId, Prompter&) { captured << processId; };
        return made;
    }

    void save(const DeviceRecord& saved) { DeviceRecordManager(folder.path(), nullptr).saveRecord(saved); }
};

/// The rows that are filled, sorted, a stroke between their cells.
inline QString tableText(const DeviceTable& table)
{
    QStringList lines;
    for (int row = 0; row < table.rowCount(); ++row) {
        const QStringList cells = table.cellTexts(row);
        if (!cells.join(QString()).isEmpty())
            lines << cells.join(QLatin1Char('|'));
    }
    lines.sort();
    return lines.join(QLatin1Char('\n'));
}
