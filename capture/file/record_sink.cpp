#include "capture/file/record_sink.h"

#include "capture/channel/protocol_line.h"
#include "capture/file/urb_record.h"
#include "capture/file/usbpcap_record.h"

#include <QStringList>

std::optional<UsbIPPacketInfo> RecordSink::decode(const RawRecord& record)
{
    auto packet = record.linkType == WindowsUrbLink ? usbpcap_record::decode(record, m_numbers)
                                                    : urb_record::decode(record, m_numbers);
    m_damaged += packet ? 0 : 1;
    return packet;
}

bool RecordSink::knows(std::uint32_t linkType)
{
    if (linkType == UrbLink || linkType == UrbPaddedLink || linkType == WindowsUrbLink)
        return true;
    m_otherLinks.insert(linkType);
    return false;
}

void RecordSink::add(UsbIPPacketInfo packet)
{
    packet.parsedDetails = protocolLine(packet);
    m_store.append(packet);
    m_empty = false;
}

QString RecordSink::complaint() const
{
    if (m_damaged > 0)
        return CaptureFile::tr("%1 damaged packets were left out.").arg(m_damaged);
    if (!m_empty)
        return {};
    if (m_otherLinks.empty())
        return CaptureFile::tr("The file holds no packets.");
    QStringList types;
    for (const std::uint32_t type : m_otherLinks)
        types << QString::number(type);
    return CaptureFile::tr("The file holds no USB packets; its packets are of link type %1.")
        .arg(types.join(QStringLiteral(", ")));
}
