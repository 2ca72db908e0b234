#include "tools/capture/capture_printer.h"

#include "capture/channel/usbip_header.h"
#include "capture/decode/packet_columns.h"
#include "capture/decode/packet_meaning.h"
#include "runtime/whole_file.h"

#include <QJsonDocument>
#include <QJsonObject>

CapturePrinter::CapturePrinter(PrintOptions options, std::shared_ptr<const PacketStore> store, QFileDevice& output)
    : m_options(std::move(options))
    , m_seen(std::move(store))
    , m_wants(
          parsePacketFilter(m_options.filter, [this](const PacketView& packet) { return meaningText(packet, m_seen); })
              .wants)
    , m_file(output)
    , m_output(&output)
{
    m_output.setCodec("UTF-8");
}

QString CapturePrinter::open()
{
    if (m_options.savePath.isEmpty())
        return {};
    m_saved.setFileName(m_options.savePath);
    if (!m_saved.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
        return QStringLiteral("%1 cannot be written: %2.").arg(m_options.savePath, m_saved.errorString());
    m_saved.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    m_writer = CaptureWriter::forPath(m_options.savePath, m_saved);
    return {};
}

void CapturePrinter::take(const PacketView& view)
{
    if ((m_options.deviceId != 0 && m_options.deviceId != view.deviceId) || (m_wants && !m_wants(view)))
        return;
    const UsbIPPacketInfo packet = view.borrow();
    m_saves = m_saves && (!m_writer || m_writer->add(packet));
    if (m_options.json)
        printJson(packet);
    else
        printLine(packet);
}

void CapturePrinter::printLine(const UsbIPPacketInfo& packet)
{
    for (int column = TimeColumn; column < SetupColumn; ++column)
        m_output << packetColumnText(packet, column) << ' ';
    m_output << packet.parsedDetails << '\n';
}

void CapturePrinter::printJson(const UsbIPPacketInfo& packet)
{
    QJsonObject object{{QStringLiteral("time"), qint64(packet.timestamp)},
                       {QStringLiteral("device"), qint64(packet.deviceId)},
                       {QStringLiteral("sequence"), qint64(packet.sequenceNumber)},
                       {QStringLiteral("kind"), packetColumnText(packet, KindColumn)},
                       {QStringLiteral("unlink"), packet.isUnlink},
                       {QStringLiteral("endpoint"), packet.endpoint},
                       {QStringLiteral("transfer"), packetColumnText(packet, TransferTypeColumn)},
                       {QStringLiteral("direction"), packetColumnText(packet, DirectionColumn)},
                       {QStringLiteral("length"), qint64(packet.transferLength)},
                       {QStringLiteral("setup"), QString::fromLatin1(packet.setupData.toHex())},
                       {QStringLiteral("data"), QString::fromLatin1(packet.data.toHex())},
                       {QStringLiteral("details"), packet.parsedDetails}};
    if (!packet.isRequest)
        object.insert(QStringLiteral("status"),
                      static_cast<std::int32_t>(usbip_header::word(packet.usbipHeader, usbip_header::Status)));
    m_output << QJsonDocument(object).toJson(QJsonDocument::Compact) << '\n';
}

QString CapturePrinter::flush()
{
    m_output.flush();
    if (!m_file.flush() || m_output.status() != QTextStream::Ok)
        return QStringLiteral("The lines cannot be written: %1.").arg(m_file.errorString());
    return {};
}

QString CapturePrinter::finish()
{
    const QString error = flush();
    if (!m_writer || !error.isEmpty())
        return error;
    const QString reason = m_saves && m_writer->flush() ? commitWholeFile(m_saved) : m_saved.errorString();
    return reason.isEmpty() ? QString() : QStringLiteral("%1 cannot be written: %2.").arg(m_options.savePath, reason);
}
