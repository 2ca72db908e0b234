// remote_device.h: a device that another machine's server exports, handed on to the host here.
#pragma once

#include "emulation/link/exported_device.h"
#include "emulation/link/message_channel.h"
#include "emulation/link/remote_import.h"

#include <chrono>
#include <map>

/// Imports the device, passes every message on, both ways, and imports it anew whenever the server is lost (five
/// seconds later) or a host goes (at once). Lives on the event loop's thread.
class RemoteDevice final : public ExportedDevice
{
public:
    /// Called when the device has come or gone: whether it is there now, else why not.
    using Changed = std::function<void(bool isThere)>;

    RemoteDevice(const RemoteAddress& address, Changed changed);
    ~RemoteDevice() override;

    /// Begins to import.
    void start();

    /// Why the device is not there; empty while it is.
    const QString& fault() const { return m_fault; }

    usbip::DeviceSummary summary() const override { return m_summary; }
    QByteArray configurationDescriptor() const override { return m_configuration; }
    void attach(DeviceHost& host) override;
    void detach() override;
    void submit(usbip::Submit submit) override;
    void unlink(const usbip::Unlink& unlink) override;

private:
    struct Pending
    {
        usbip::Asked asked;
        bool asksForConfiguration = false;
    };

    void imported(StreamSocket socket, const usbip::DeviceSummary& summary);
    void lost(const QString& reason, std::chrono::milliseconds retryIn);
    QString received(usbip::Message&& message);
    std::optional<usbip::Asked> asked(std::uint32_t sequence) const;

    RemoteAddress m_address;
    Changed m_changed;
    usbip::DeviceSummary m_summary;
    QByteArray m_configuration; // once the host has read it
    QString m_fault;
    std::unique_ptr<RemoteImport> m_import;
    std::unique_ptr<MessageChannel> m_channel; // while the device is there
    DeviceHost* m_host = nullptr;
    std::map<std::uint32_t, Pending> m_pending;       // by sequence
    std::map<std::uint32_t, std::uint32_t> m_victims; // by the sequence of the unlink
    QTimer m_retry;
};
