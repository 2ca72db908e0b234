// links: plugboard::emulation_channels plugboard::emulation_hid
// device_commands_fuzzer.cpp: what a client may write to a device's command server, in any pieces: each line is
// answered once, in their order, however long the answer takes.
#include "devices/device_commands.h"
#include "emulation/channels/command_server.h"
#include "emulation/hid/keyboard.h"
#include "emulation/hid/mouse.h"
#include "fuzz/fuzz_bytes.h"

#include <QCoreApplication>
#include <QLocalSocket>

#include <memory>
#include <vector>

namespace {

usb::DeviceDescriptors identity()
{
    usb::DeviceDescriptors device;
    device.bcdUSB = 0x0200;
    device.product = QStringLiteral("Device");
    return device;
}

/// A device that answers some commands at once and others when it is asked to go on.
class Device
{
public:
    Device()
        : m_server(QCoreApplication::applicationPid(),
                   [this](const QString& line, const auto& answer) { run(line, answer); })
    {
        require(m_server.start().isEmpty());
    }

    void setKind(std::uint8_t kind)
    {
        m_isLate = (kind & 2) != 0;
        m_late.clear();
        m_ran = 0;
        if (kind & 1)
            m_function = std::make_unique<hid::Keyboard>(identity());
        else
            m_function = std::make_unique<hid::Mouse>(identity());
    }

    void goOn()
    {
        const auto late = std::exchange(m_late, {});
        for (const auto& answer : late)
            answer();
    }

    int ran() const { return m_ran; }

private:
    void run(const QString& line, const CommandServer::Answer& answer)
    {
        ++m_ran;
        require(!line.isEmpty() && line == line.trimmed());
        const QString text = line == QStringLiteral("status") ? m_function->status() : m_function->run(line);
        require(!text.contains(QLatin1Char('\n')));
        if (m_isLate)
            m_late.push_back([answer, text] { answer(text); });
        else
            answer(text);
    }

    CommandServer m_server;
    std::unique_ptr<DeviceFunction> m_function;
    std::vector<std::function<void()>> m_late;
    bool m_isLate = false;
    int m_ran = 0;
};

void settle(Device& device)
{
    for (int turn = 0; turn < 6; ++turn) {
        QCoreApplication::processEvents();
        device.goOn();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static int s_count = 1;
    static char s_name[] = "fuzzer";
    static char* s_arguments[] = {s_name, nullptr};
    static QCoreApplication* const s_application = new QCoreApplication(s_count, s_arguments);
    Q_UNUSED(s_application);
    static Device* const s_device = new Device;

    FuzzBytes input(data, size);
    s_device->setKind(input.byte());
    QLocalSocket client;
    client.connectToServer(deviceCommandServer(QCoreApplication::applicationPid()));
    require(client.waitForConnected(5000));
    int lines = 0;
    while (!input.isEmpty() && lines < 32) {
        const QByteArray piece = input.bytes(1 + input.byte());
        lines += piece.count('\n');
        client.write(piece);
        client.flush();
        QCoreApplication::processEvents();
    }
    // A hang-up in between takes its unanswered lines with it; otherwise each gets its answer.
    int answered = 0;
    for (int turn = 0; turn < 200 && answered < lines; ++turn) {
        settle(*s_device);
        answered += client.readAll().count('\n');
    }
    require(answered == lines && s_device->ran() <= lines);
    client.abort();
    settle(*s_device);
    return 0;
}
