// device_session.h: the traffic that a virtual device of one type would have with its host.
#pragma once

#include "tools/usb_daemon/sessions/urb_recorder.h"

#include <QJsonObject>
#include <QString>
#include <QStringList>

#include <memory>

/// What a device tells about itself while it is enumerated. Descriptors are as USB 2.0 chapter 9 lays them out.
struct DeviceIdentity
{
    QByteArray deviceDescriptor;
    QByteArray configuration; ///< with all descriptors that follow it
    QStringList strings;      ///< string descriptors 1, 2, ...
};

/// An endless session: enumeration, then what the type of device does, over and over.
class DeviceSession
{
public:
    DeviceSession(DeviceIdentity identity, std::uint32_t deviceId);
    virtual ~DeviceSession() = default;

    SessionPacket nextPacket();

    /// {"configDescriptor": {...}, "interfaces": [...]}: values of the configuration descriptor as numbers, those of
    /// interfaces and endpoints as texts.
    QJsonObject configuration() const;

protected:
    UrbRecorder& urbs() { return m_urbs; }
    /// Requests of the device's class between enumeration and use.
    virtual void setUp() = 0;
    /// One round of use; `round` counts from 0. Must record at least one transfer.
    virtual void use(std::uint32_t round) = 0;

private:
    void enumerate();

    DeviceIdentity m_identity;
    UrbRecorder m_urbs;
    bool m_enumerated = false;
    std::uint32_t m_round = 0;
};

/// The session of a type word ("camera", "microphone", "speaker", "keyboard", "mouse", "udisk", "fido2", "usbip");
/// null for any other word.
std::unique_ptr<DeviceSession> makeDeviceSession(const QString& typeWord, std::uint32_t deviceId);

/// All words that makeDeviceSession() knows.
QStringList deviceSessionTypes();
