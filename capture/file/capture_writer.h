// capture_writer.h: captures as files of the forms that analysers open.
#pragma once

#include "capture/channel/capture_types.h"

#include <QIODevice>

#include <memory>

/// Writes packets one after another, in the order of their arrival.
class CaptureWriter
{
public:
    virtual ~CaptureWriter() = default;

    /// By the path's ending: ".pcap", records of Linux; ".usbpcap", a pcap file with records of Windows;
    /// ".txt", usbmon's text; ".mon", usbmon's records alone; all else
    /// pcapng with records of Linux, the only form that keeps everything that a packet has.
    static std::unique_ptr<CaptureWriter> forPath(const QString& path, QIODevice& device);

    /// Both are false when the device refuses bytes; its errorString() says why. The file is whole after flush().
    bool add(const UsbIPPacketInfo& packet);
    bool flush();

protected:
    explicit CaptureWriter(QIODevice& device) : m_device(device) {}
    /// Appends the packet's bytes to `bytes`.
    virtual void encode(const UsbIPPacketInfo& packet, QByteArray& bytes) = 0;

    QByteArray m_bytes; // that wait to be written

private:
    QIODevice& m_device;
};
