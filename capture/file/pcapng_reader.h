// pcapng_reader.h: reads pcapng files.
#pragma once

#include "capture/file/job_progress.h"
#include "capture/file/record_sink.h"

#include <QIODevice>

#include <vector>

/// Cuts a file into blocks and hands its packets to a sink. Sections of both byte orders.
class PcapngReader
{
public:
    PcapngReader(QIODevice& device, RecordSink& sink) : m_device(device), m_sink(sink) {}

    /// Empty when the file was read to its end, or why not, for the user; empty too when it was cancelled.
    QString read(JobProgress& progress);

private:
    struct Interface
    {
        std::uint32_t linkType = 0;
        double microsecondsPerTick = 1;
    };

    void readBlock();
    std::uint32_t blockSize(std::uint32_t type, QByteArray& head);
    void handle(std::uint32_t type, const QByteArray& body);
    void addInterface(const QByteArray& body);
    void addEnhancedPacket(const QByteArray& body);
    void addSimplePacket(const QByteArray& body);
    void addRecordless(const QByteArray& body);
    void addRecord(std::uint32_t interface, quint64 ticks, std::uint32_t fullSize, const QByteArray& bytes);

    template<typename Integer>
    Integer get(const QByteArray& bytes, int offset) const
    {
        const char* place = bytes.constData() + offset;
        return m_bigEndian ? qFromBigEndian<Integer>(place) : qFromLittleEndian<Integer>(place);
    }

    QIODevice& m_device;
    RecordSink& m_sink;
    QString m_error;
    bool m_inSection = false;
    bool m_bigEndian = false;
    std::vector<Interface> m_interfaces;
    QByteArray m_extra; // for the next packet
};
