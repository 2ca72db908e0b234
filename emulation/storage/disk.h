// disk.h: a removable USB disk.
#pragma once

#include "emulation/function/device_function.h"
#include "emulation/message/outcome.h"
#include "emulation/storage/bulk_only_transport.h"
#include "emulation/storage/logical_unit.h"
#include "emulation/storage/medium.h"

#include <QObject>
#include <QString>
#include <QThreadPool>

#include <functional>
#include <memory>

namespace storage {

/// Commands: `eject`, `insert [FILE]`, `save FILE`. The disk that was made with the device is never lost: `insert`
/// without a file puts it back.
class Disk final : public DeviceFunction
{
public:
    /// Of `identity` the ids, the version of USB and the names are taken; from 0x0300 on it is a SuperSpeed device.
    /// Fails when a disk of that size cannot be made.
    static Outcome<std::unique_ptr<Disk>> make(usb::DeviceDescriptors identity, int mebibytes);

    Disk(usb::DeviceDescriptors identity, Medium::Pointer medium);
    /// Waits for the threads that still work on a file; a copy is given up.
    ~Disk() override;

    const usb::DeviceDescriptors& descriptors() const override { return m_descriptors; }
    void controlRequest(const usb::TransferPointer& transfer) override;
    void submit(const usb::TransferPointer& transfer) override { m_transport.submit(transfer); }
    void cancelled(const usb::Transfer& transfer) override { m_transport.cancelled(transfer); }
    void configurationSelected(std::uint8_t value) override;
    void haltCleared(std::uint8_t endpointAddress) override;
    void reset() override;

    QString run(const QString& command) override;
    void carryOut(const QString& command, const Answer& answer) override;
    QString status() const override;

private:
    QString eject(const QString& how);
    QString insert(const QString& file);
    /// Answers once the copy is in place, or why not.
    void save(const QString& file, const Answer& answer);
    /// Calls `done` on this thread with what `work` returned on another: empty, or what went wrong.
    void runAside(std::function<QString()> work, std::function<void(QString)> done);

    usb::DeviceDescriptors m_descriptors;
    const Medium::Pointer m_own;
    LogicalUnit m_unit;
    BulkOnlyTransport m_transport;
    std::shared_ptr<ImageCopy> m_copy; ///< while a copy is made
    QObject m_receiver;                ///< of what other threads have done
    QThreadPool m_threads;
};

} // namespace storage
