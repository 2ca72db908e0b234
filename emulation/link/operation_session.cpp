#include "emulation/link/operation_session.h"

#include <algorithm>
#include <chrono>

using namespace std::chrono_literals;

namespace {

constexpr auto kTimeout = 5s;

} // namespace

OperationSession::OperationSession(StreamSocket socket, QObject* parent) : QObject(parent), m_socket(std::move(socket))
{}

void OperationSession::serve(Server server)
{
    m_server = std::move(server);
    m_reads = std::make_unique<QSocketNotifier>(m_socket.descriptor(), QSocketNotifier::Read);
    connect(m_reads.get(), &QSocketNotifier::activated, this, &OperationSession::readable);
    m_timeout.setSingleShot(true);
    connect(&m_timeout, &QTimer::timeout, this, [this] { end(QStringLiteral("a client asked for nothing")); });
    m_timeout.start(kTimeout);
}

void OperationSession::readable()
{
    const bool hasHeader = m_request.size() >= usbip::kOperationSize;
    const int wanted = hasHeader ? usbip::kOperationSize + usbip::kBusIdSize : usbip::kOperationSize;
    QByteArray piece(wanted - m_request.size(), Qt::Uninitialized);
    const Moved moved =
        m_socket.read({usbip::Room{piece.data(), static_cast<std::size_t>(piece.size())}, usbip::Room{}});
    if (moved.outcome == Moved::Outcome::Ended)
        return end({});
    m_request.append(piece.constData(), static_cast<int>(moved.size));
    if (m_request.size() < usbip::kOperationSize)
        return;
    const usbip::OperationHeader header = usbip::parseOperation(m_request.constData());
    if (header.version != usbip::kVersion)
        return end(QStringLiteral("a client speaks version %1").arg(header.version, 4, 16, QLatin1Char('0')));
    if (header.operation == usbip::Operation::ListRequest)
        return answerList();
    if (header.operation != usbip::Operation::ImportRequest)
        return end(QStringLiteral("a client asked for the unknown operation %1").arg(int(header.operation)));
    if (m_request.size() < usbip::kOperationSize + usbip::kBusIdSize)
        return; // the notifier tells of the rest
    answerImport(usbip::parseBusId(m_request.constData() + usbip::kOperationSize));
}

void OperationSession::answerList()
{
    send(usbip::listReply(m_server.devices()));
    end({});
}

void OperationSession::answerImport(const QString& busId)
{
    const auto devices = m_server.devices();
    const auto found = std::find_if(devices.begin(), devices.end(),
                                    [&](const usbip::DeviceSummary& device) { return device.busId == busId; });
    if (found == devices.end()) {
        const auto status = m_server.isBusy(busId) ? usbip::OperationStatus::Busy : usbip::OperationStatus::NoDevice;
        send(usbip::operationBytes(usbip::Operation::ImportReply, status));
        return end({});
    }
    if (!send(usbip::importReply(*found)))
        return end({});
    stopReading(); // the new owner of the socket reads from now on
    m_server.imported(std::move(m_socket));
    end({});
}

/// Answers are small, and the first that is written: they fit the socket's buffer.
bool OperationSession::send(const QByteArray& bytes)
{
    const Moved moved = m_socket.write({{bytes.constData(), static_cast<std::size_t>(bytes.size())}});
    return moved.outcome == Moved::Outcome::Some && moved.size == static_cast<std::size_t>(bytes.size());
}

void OperationSession::end(const QString& reason)
{
    m_timeout.stop();
    stopReading();
    const auto ended = m_server.ended;
    ended(reason);
}

void OperationSession::stopReading()
{
    if (!m_reads)
        return;
    m_reads->setEnabled(false);
    m_reads.release()->deleteLater(); // it may be what called
}
