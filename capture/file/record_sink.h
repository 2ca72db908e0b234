// record_sink.h: turns the records of a capture file into packets.
#pragma once

#include "capture/channel/packet_store.h"
#include "capture/file/raw_record.h"

#include <QCoreApplication>

#include <optional>
#include <set>

/// What is wrong with a file, in the words of its reader.
struct CaptureFile
{
    Q_DECLARE_TR_FUNCTIONS(CaptureFile)
};

/// Appends packets to a store and counts what it could not understand.
class RecordSink
{
public:
    explicit RecordSink(PacketStore& store) : m_store(store) {}

    /// The packet of a record, which is yet to be added; nothing for a damaged one, which is counted.
    std::optional<UsbIPPacketInfo> decode(const RawRecord& record);
    /// Whether records of this link type can be decoded. Types for which it is not are remembered.
    bool knows(std::uint32_t linkType);
    void add(UsbIPPacketInfo packet);
    TransferNumbers& numbers() { return m_numbers; }

    void countDamaged() { ++m_damaged; }
    /// Empty when there are packets and none was damaged; otherwise a sentence that says how many were, or names what
    /// the file holds instead.
    QString complaint() const;

private:
    PacketStore& m_store;
    TransferNumbers m_numbers;
    bool m_empty = true;
    quint64 m_damaged = 0; // records
    std::set<std::uint32_t> m_otherLinks;
};
