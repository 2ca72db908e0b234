// host_state.h: how a device can be reached, as its record and its status say it.
#pragma once

#include <QJsonObject>
#include <QString>

struct HostState
{
    enum class Way
    {
        None,   ///< there is nothing for a host to find
        Kernel, ///< on a port of this machine's virtual host controller
        Server, ///< a server that a USB/IP client imports from
    };

    Way way = Way::None;
    QString address;         ///< of the server
    int port = -1;           ///< of the server, or of the controller
    QString busId;           ///< that the server offers, or where the device is in this machine's tree
    bool isAttached = false; ///< a host has it
    bool isConfigured = false;
    QString note; ///< why there is no way, or no host; empty when there is nothing to say

    bool operator==(const HostState& other) const = default;

    /// The member "host" of a record: "way" is "none", "kernel" or "server".
    QJsonObject toJson() const;
    /// One line for people.
    QString text() const;
};
