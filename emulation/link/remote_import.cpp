#include "emulation/link/remote_import.h"

#include "emulation/link/own_server.h"

#include <algorithm>
#include <chrono>

using namespace std::chrono_literals;

namespace {

constexpr auto kTimeout = 10s;
constexpr int kPiece = 4096;               // bytes of a read
constexpr int kLongestAnswer = 256 * 1024; // bytes

} // namespace

RemoteImport::RemoteImport(const RemoteAddress& address, Events events)
    : m_address(address)
    , m_events(std::move(events))
{
    m_timeout.setSingleShot(true);
    connect(&m_timeout, &QTimer::timeout, this, [this] { fail(QStringLiteral("the server does not answer")); });
    m_timeout.start(kTimeout);
    QTimer::singleShot(0, this, &RemoteImport::connectToServer);
}

void RemoteImport::connectToServer()
{
    stop();
    m_answer.clear();
    m_socket = StreamSocket::connecting(m_address.server, m_address.port);
    if (!m_socket)
        return fail(QStringLiteral("the server cannot be reached"));
    m_notifier = std::make_unique<QSocketNotifier>(m_socket.descriptor(), QSocketNotifier::Write);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, &RemoteImport::connected);
}

void RemoteImport::connected()
{
    const QString fault = m_socket.connectionFault();
    if (!fault.isEmpty())
        return fail(QStringLiteral("the server cannot be reached: %1").arg(fault));
    const QByteArray request = m_isListed ? usbip::importRequest(m_address.busId) : usbip::listRequest();
    const Moved moved = m_socket.write({{request.constData(), static_cast<std::size_t>(request.size())}});
    if (moved.outcome == Moved::Outcome::Later)
        return; // not connected yet after all
    if (moved.outcome == Moved::Outcome::Ended)
        return fail(QStringLiteral("the server cannot be reached"));
    stop();
    m_notifier = std::make_unique<QSocketNotifier>(m_socket.descriptor(), QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, &RemoteImport::readable);
}

/// Of an import's answer not a byte too much is read: messages may follow it.
void RemoteImport::readable()
{
    const int wanted = m_isListed ? usbip::kOperationSize + usbip::kSummarySize - m_answer.size() : kPiece;
    QByteArray piece(wanted, Qt::Uninitialized);
    const Moved moved =
        m_socket.read({usbip::Room{piece.data(), static_cast<std::size_t>(piece.size())}, usbip::Room{}});
    m_answer.append(piece.constData(), static_cast<int>(moved.size));
    if (m_answer.size() >= usbip::kOperationSize) {
        const usbip::OperationHeader header = usbip::parseOperation(m_answer.constData());
        const auto expected = m_isListed ? usbip::Operation::ImportReply : usbip::Operation::ListReply;
        if (header.version != usbip::kVersion || header.operation != expected)
            return fail(QStringLiteral("the server speaks another protocol"));
        if (header.status == usbip::OperationStatus::Busy)
            return fail(QStringLiteral("the device is in use elsewhere"));
        if (header.status != usbip::OperationStatus::Ok)
            return fail(QStringLiteral("the server refused the device, status %1").arg(quint32(header.status)));
    }
    if (m_answer.size() > kLongestAnswer)
        return fail(QStringLiteral("the server tells of too many devices"));
    m_isListed ? takeImport() : takeList();
    if (moved.outcome == Moved::Outcome::Ended && m_notifier && m_notifier->isEnabled() &&
        m_notifier->type() == QSocketNotifier::Read)
        fail(QStringLiteral("the server closed the connection"));
}

void RemoteImport::takeList()
{
    if (m_answer.size() < usbip::kOperationSize)
        return;
    QString fault;
    const auto devices = usbip::parseList(m_answer.mid(usbip::kOperationSize), fault);
    if (!fault.isEmpty())
        return fail(fault);
    if (!devices)
        return;
    const auto found = std::find_if(devices->begin(), devices->end(), [this](const usbip::DeviceSummary& device) {
        return device.busId == m_address.busId;
    });
    if (found == devices->end())
        return fail(QStringLiteral("the server does not offer bus id %1").arg(m_address.busId));
    if (isOwnServerPath(found->path))
        return fail(QStringLiteral("the server is Plugboard's own on this machine"));
    m_isListed = true;
    connectToServer();
}

void RemoteImport::takeImport()
{
    if (m_answer.size() < usbip::kOperationSize + usbip::kSummarySize)
        return;
    const usbip::DeviceSummary device = usbip::parseSummary(m_answer.constData() + usbip::kOperationSize);
    if (isOwnServerPath(device.path))
        return fail(QStringLiteral("the server is Plugboard's own on this machine"));
    stop();
    m_timeout.stop();
    m_events.imported(std::move(m_socket), device);
}

void RemoteImport::fail(const QString& reason)
{
    stop();
    m_timeout.stop();
    m_socket = {};
    m_events.failed(reason);
}

void RemoteImport::stop()
{
    if (!m_notifier)
        return;
    m_notifier->setEnabled(false);
    m_notifier.release()->deleteLater(); // it may be what called
}
