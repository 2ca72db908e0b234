// host_controller.h: what this machine's devices are plugged into. Implemented per system.
#pragma once

#include <functional>
#include <optional>

class QObject;

enum class HostWay
{
    Kernel, ///< the kernel's virtual host controller: this computer is the host
    Server, ///< a server on loopback, from which a USB/IP client takes them
    None,   ///< neither, as PLUGBOARD_HOST may choose
};

/// The way that a device would find now; nothing where that is for a bus driver to say (Windows).
std::optional<HostWay> findHostWay();

/// Loads the kernel's controller where it is not there and polkit may be asked, as the package sets it up. `loaded` is
/// called from the event loop if it came, unless `owner` is gone by then. Does nothing elsewhere.
void loadHostController(QObject* owner, const std::function<void()>& loaded);
