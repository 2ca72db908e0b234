// command_line.h: what the command line asks the program to do.
#pragma once

#include "app/creation_slots.h"
#include "runtime/language.h"

#include <QStringList>

#include <optional>
#include <variant>
#include <vector>

/// Open the window.
struct WindowRequest
{
    bool demo = false;                     ///< a simulated device tree instead of the system's driver store
    std::vector<CreationRequest> toCreate; ///< in order, once the window is shown
    std::optional<Language> language;      ///< what --language chose
    QString logRules = {};                 ///< see logRules()
};

/// Print the devices that run, without a window.
struct ListRequest
{
    bool json = false;
    QString logRules = {};
};

/// End one device, or all, without a window.
struct DeleteRequest
{
    std::optional<qint64> processId; ///< nothing: all
    QString logRules = {};
};

/// Send commands to a running device, without a window.
struct SendRequest
{
    qint64 processId = 0;
    QString command; ///< empty: the lines of standard input
    QString logRules = {};
};

/// Start one device, without a window.
struct StartRequest
{
    CreationRequest device;
    std::optional<int> waitSeconds; ///< how long a host may take to configure it; nothing: it is not waited for
    QString logRules = {};
};

/// Start the devices of a lab file, all or none, without a window.
struct LabRequest
{
    std::vector<CreationRequest> devices;
    QString lab; ///< see labName()
    std::optional<int> waitSeconds;
    QString logRules = {};
};

/// End the devices of a lab file, which need not be there any more.
struct DeleteLabRequest
{
    QString lab; ///< see labName()
    QString logRules = {};
};

/// Print what changes with the devices until the program is asked to end.
struct WatchRequest
{
    QString logRules = {};
};

/// Print a text and exit: help, the version, or an error (exit code 2, to standard error).
struct PrintRequest
{
    QString text;
    bool isError = false;
};

using Request = std::variant<WindowRequest, ListRequest, DeleteRequest, SendRequest, StartRequest, LabRequest,
                             DeleteLabRequest, WatchRequest, PrintRequest>;

/// A command as the user says it in `folder`. The file that some name counts from there: it is not the device's folder.
QString commandFrom(const QString& line, const QString& folder);

/// Reads the arguments, of which the first is the program's name. Relative files in settings count from the current
/// folder.
Request parseCommandLine(const QStringList& arguments);
