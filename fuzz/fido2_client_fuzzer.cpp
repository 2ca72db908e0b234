// links: plugboard::fido2
// fido2_client_fuzzer.cpp: what a device process may do to its channel: write anything in any pieces, hang up, come
// back.
#include "fido2/channel/fido2_client.h"
#include "fido2/channel/fido2_message.h"
#include "fuzz/json_input.h"

#include <QCoreApplication>
#include <QLocalServer>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <utility>

namespace {

void check(bool holds)
{
    if (!holds)
        std::abort();
}

/// A device process and the program's client of it, both in this thread and over a real socket.
class Channel
{
public:
    Channel()
    {
        check(m_server.listen(m_name));
        QObject::connect(&m_client, &Fido2Client::userConfirmationRequestReceived,
                         [this](const QString&, const QJsonObject&) { ++m_asked; });
        check(m_client.connectToServer(m_name));
        accept();
    }

    /// One write, which the client reads at once: it asks the user exactly when the bytes are one question.
    void write(const QByteArray& bytes)
    {
        if (!m_device || bytes.isEmpty())
            return;
        const int before = m_asked;
        const int expected = parseConfirmationQuestion(bytes) ? 1 : 0;
        check(m_device->write(bytes) == bytes.size());
        m_device->flush();
        QCoreApplication::processEvents();
        check(m_asked - before == expected);
        m_device->readAll();
    }

    void hangUp()
    {
        if (m_device) {
            m_device->abort();
            m_device.reset();
            QCoreApplication::processEvents();
        }
        check(!m_client.isConnected());
    }

    /// A tick of the client's timer: it comes back unless it was stopped.
    void comeBack()
    {
        m_client.attemptReconnect();
        check(m_client.isConnected() != m_stopped);
        if (!m_device && m_client.isConnected())
            accept();
    }

    void answer(const QByteArray& description)
    {
        const QJsonObject result{{QStringLiteral("description"), QString::fromUtf8(description)}};
        const bool sent = m_client.sendMessage(confirmationResponse(true, result, 0));
        check(sent == (m_device != nullptr));
        if (m_device) {
            check(m_device->waitForReadyRead(1000));
            m_device->readAll();
        }
    }

    void stop()
    {
        m_client.disconnectFromServer();
        m_stopped = true;
        hangUp();
    }

private:
    void accept()
    {
        check(m_server.waitForNewConnection(1000));
        m_device.reset(m_server.nextPendingConnection());
        check(m_device != nullptr);
        m_device->setParent(nullptr);
        check(m_device->waitForReadyRead(1000)); // the ping
        m_device->readAll();
    }

    const QString m_name = QStringLiteral("Fido2Fuzz_%1").arg(QCoreApplication::applicationPid());
    QLocalServer m_server;
    std::unique_ptr<QLocalSocket> m_device;
    Fido2Client m_client;
    int m_asked = 0;
    bool m_stopped = false;
};

} // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv)
{
    static QCoreApplication application(*argc, *argv);
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    return 0;
}

/// Steps of a letter, the length of its bytes in two, and the bytes.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Channel channel;
    bool wasLarge = false;
    QByteArray input = QByteArray::fromRawData(reinterpret_cast<const char*>(data), int(size));
    for (int steps = 0; input.size() >= 3 && steps < 16; ++steps) {
        const char letter = input.at(0);
        const int length = std::uint8_t(input.at(1)) | std::uint8_t(input.at(2)) << 8;
        const QByteArray bytes = input.mid(3, length);
        input = input.mid(3 + bytes.size());
        if (letter == 'w')
            channel.write(bytes);
        else if (letter == 'W' && !std::exchange(wasLarge, true)) // one that the system might cut up
            channel.write(bytes.rightJustified(6000, ' '));
        else if (letter == 'h')
            channel.hangUp();
        else if (letter == 'b')
            channel.comeBack();
        else if (letter == 'a')
            channel.answer(bytes);
        else if (letter == 's')
            channel.stop();
    }
    return 0;
}
