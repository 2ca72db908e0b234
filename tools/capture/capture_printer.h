// capture_printer.h: packets as lines of text, and as a file.
#pragma once

#include "capture/decode/packet_filter.h"
#include "capture/decode/seen_devices.h"
#include "capture/file/capture_writer.h"

#include <QFileDevice>
#include <QSaveFile>
#include <QTextStream>

#include <memory>

struct PrintOptions
{
    uint32_t deviceId = 0; ///< 0: packets of all devices
    QString filter;        ///< without mistakes: see parsePacketFilter()
    bool json = false;     ///< an object a line
    QString savePath;      ///< also written there, in the form of its ending, by who ends it with finish()
};

/// Prints the packets that are wanted. Errors are for people, not translated; empty when there are none.
class CapturePrinter
{
public:
    /// The packets that it is handed are those of this store.
    CapturePrinter(PrintOptions options, std::shared_ptr<const PacketStore> store, QFileDevice& output);

    QString open();
    void take(const PacketView& packet);
    QString flush();
    /// After the last packet. The saved file is there or, on an error, what it was before.
    QString finish();

private:
    void printLine(const UsbIPPacketInfo& packet);
    void printJson(const UsbIPPacketInfo& packet);

    const PrintOptions m_options;
    SeenDevices m_seen;
    const PacketFilter::Wants m_wants; // empty: all packets
    QFileDevice& m_file;
    QTextStream m_output;
    QSaveFile m_saved;
    std::unique_ptr<CaptureWriter> m_writer;
    bool m_saves = true; // nothing went wrong
};
