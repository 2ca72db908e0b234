// usbmon_file.h: what the kernel's usbmon hands out without a capture library: its text, and its records behind each
// other (Documentation/usb/usbmon.rst of the Linux kernel).
#pragma once

#include "capture/file/capture_writer.h"
#include "capture/file/job_progress.h"
#include "capture/file/record_sink.h"
#include "capture/file/transfers.h"

/// The form of /sys/kernel/debug/usb/usbmon/*u, with all data instead of 32 bytes. Its times have no date: they begin
/// anew every 4096 s.
class UsbmonTextWriter final : public CaptureWriter
{
public:
    explicit UsbmonTextWriter(QIODevice& device) : CaptureWriter(device) {}

protected:
    void encode(const UsbIPPacketInfo& packet, QByteArray& bytes) override;

private:
    Transfers m_transfers;
};

/// The form that read() of /dev/usbmon* gives: records with a header of 48 bytes, without any file around them.
class UsbmonRawWriter final : public CaptureWriter
{
public:
    explicit UsbmonRawWriter(QIODevice& device) : CaptureWriter(device) {}

protected:
    void encode(const UsbIPPacketInfo& packet, QByteArray& bytes) override;

private:
    Transfers m_transfers;
};

/// Whether a file that begins with these bytes, 48 of them where there are as many, has such a form.
bool isUsbmonText(const QByteArray& beginning);
bool isUsbmonRaw(const QByteArray& beginning);

/// Both as readPcap(). What follows a damaged record of the raw form cannot be told apart.
QString readUsbmonText(QIODevice& device, RecordSink& sink, JobProgress& progress);
QString readUsbmonRaw(QIODevice& device, RecordSink& sink, JobProgress& progress);
