// link_bench.h: a host on a thread of its own at one end of a socket pair, and at the other the link or a bare echo.
#pragma once

#include "emulation/link/host_connection.h"
#include "emulation/link/local_device.h"
#include "tests/support/usbip_bytes.h"

#include <QCoreApplication>

#include <cstdlib>
#include <thread>

#include <sys/socket.h>
#include <unistd.h>

namespace bench {

struct SocketPair
{
    SocketPair()
    {
        std::array<int, 2> pair{};
        if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair.data()) != 0)
            std::abort();
        host = pair[0];
        device = pair[1];
    }

    int host = -1;
    int device = -1;
};

inline void readAll(int socket, char* bytes, std::size_t size)
{
    while (size > 0) {
        const ssize_t got = ::read(socket, bytes, size);
        if (got <= 0)
            std::abort();
        bytes += got;
        size -= static_cast<std::size_t>(got);
    }
}

inline void writeAll(int socket, const char* bytes, std::size_t size)
{
    while (size > 0) {
        const ssize_t put = ::write(socket, bytes, size);
        if (put <= 0)
            std::abort();
        bytes += put;
        size -= static_cast<std::size_t>(put);
    }
}

/// A device with a bulk pair that takes and gives without doing anything else.
class Wire final : public usb::Function
{
public:
    Wire()
    {
        usb::AlternateSetting setting;
        setting.bInterfaceClass = 0xFF;
        for (const std::uint8_t address : {std::uint8_t(0x81), std::uint8_t(0x02)}) {
            usb::Endpoint endpoint;
            endpoint.bEndpointAddress = address;
            endpoint.maxPacketSize = 512;
            setting.endpoints.push_back(endpoint);
        }
        m_descriptors.configuration.interfaces = {{0, {setting}}};
    }

    const usb::DeviceDescriptors& descriptors() const override { return m_descriptors; }
    void controlRequest(const usb::TransferPointer& transfer) override { transfer->complete(usb::Status::Stall); }
    void submit(const usb::TransferPointer& transfer) override
    {
        if (!transfer->request().in)
            return transfer->complete();
        if (static_cast<std::uint32_t>(m_data.size()) != transfer->request().length)
            m_data = QByteArray(static_cast<int>(transfer->request().length), 'x');
        transfer->completeIn(m_data);
    }
    void cancelled(const usb::Transfer&) override {}

private:
    usb::DeviceDescriptors m_descriptors;
    QByteArray m_data;
};

constexpr std::uint32_t kDeviceId = 0x10001;

/// A control transfer from its setup bytes in hexadecimal, as it travels.
inline usbip::Header controlHeader(std::uint32_t sequence, const char* setup)
{
    usbip::Submit submit = tests::controlSubmit(setup);
    submit.sequence = sequence;
    submit.deviceId = kDeviceId;
    return usbip::headerOf(submit);
}

/// Runs the link on this thread's event loop and `host` on another, with the host's end of the socket, until it
/// returns.
template<typename Host>
void withLink(const Host& host)
{
    const SocketPair pair;
    Wire wire;
    LocalDevice device(wire);
    HostConnection connection(StreamSocket(pair.device), device, kDeviceId, nullptr,
                              {[](bool) {}, [] { QCoreApplication::quit(); }});
    std::thread thread([&] {
        const usbip::Header configure = controlHeader(1, "0009010000000000");
        usbip::Header reply;
        writeAll(pair.host, configure.data(), configure.size());
        readAll(pair.host, reply.data(), reply.size());
        host(pair.host);
        ::close(pair.host);
    });
    QCoreApplication::exec();
    thread.join();
}

/// The same with a thread that reads `request` bytes and writes `answer` bytes, over and over.
template<typename Host>
void withBareSocket(std::size_t request, std::size_t answer, const Host& host)
{
    const SocketPair pair;
    std::thread thread([&] {
        std::vector<char> in(request);
        const std::vector<char> out(answer, 'x');
        for (std::size_t filled = 0;;) {
            const ssize_t got = ::read(pair.device, in.data() + filled, in.size() - filled);
            if (got <= 0)
                break;
            filled += static_cast<std::size_t>(got);
            if (filled < in.size())
                continue;
            filled = 0;
            writeAll(pair.device, out.data(), out.size());
        }
    });
    host(pair.host);
    ::close(pair.host);
    thread.join();
    ::close(pair.device);
}

} // namespace bench
