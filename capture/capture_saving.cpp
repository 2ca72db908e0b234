#include "capture/capture_saving.h"

#include "capture/pcapng_file.h"

#include <QSaveFile>

CaptureSaving::CaptureSaving(std::shared_ptr<const PacketList> packets, const QString& path)
    : m_packets(std::move(packets))
    , m_count(m_packets->size())
{
    // Packets stay where they are while their list grows; the list itself belongs to the window's thread.
    Packets places;
    places.reserve(m_count);
    for (const UsbIPPacketInfo& packet : *m_packets)
        places.push_back(&packet);
    m_thread = std::thread([this, path, places = std::move(places)] {
        QString error;
        const bool saved = write(path, places, error);
        QMetaObject::invokeMethod(
            this, [this, saved, error] { emit finished(saved, error); }, Qt::QueuedConnection);
    });
}

CaptureSaving::~CaptureSaving()
{
    m_thread.join();
}

int CaptureSaving::percentDone() const
{
    return m_count == 0 ? 100 : static_cast<int>(m_written * 100 / m_count);
}

bool CaptureSaving::write(const QString& path, const Packets& packets, QString& error)
{
    QSaveFile file(path);
    const auto writeAll = [&] {
        if (!file.open(QIODevice::WriteOnly))
            return false;
        file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
        PcapngWriter writer(file);
        for (const UsbIPPacketInfo* packet : packets) {
            if (m_cancelled || !writer.add(*packet))
                return false;
            ++m_written;
        }
        return writer.flush() && !m_cancelled && file.commit();
    };
    const bool saved = writeAll();
    if (!saved && !m_cancelled)
        error = file.errorString();
    return saved;
}
