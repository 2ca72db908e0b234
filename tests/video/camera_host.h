// camera_host.h: a camera with a test as its host, which takes payloads apart.
#pragma once

#include "devices/parameter_list.h"
#include "emulation/video/camera.h"
#include "emulation/video/camera_descriptors.h"
#include "tests/emulation/function_host.h"

#include <QtEndian>

#include <deque>

inline DeviceDescription cameraDescription(const QString& source, int codec, int pixelFormat, int width, int height,
                                           int rate, const char* uvc = "0x0100", bool isIsochronous = false,
                                           bool isSuperSpeed = false)
{
    DeviceDescription device;
    device.type = DeviceType::Camera;
    device.parameters = QStringList{QStringLiteral("1"),
                                    QStringLiteral("1d6b"),
                                    QStringLiteral("0104"),
                                    QStringLiteral("Camera"),
                                    parameter::flag(isSuperSpeed),
                                    source,
                                    QString::number(codec),
                                    QString::number(pixelFormat),
                                    QString::number(width),
                                    QString::number(height),
                                    QString::number(rate),
                                    QLatin1String(uvc),
                                    parameter::flag(isIsochronous),
                                    QStringLiteral("END")};
    return device;
}

inline usb::DeviceDescriptors cameraIdentity(bool isSuperSpeed = false)
{
    usb::DeviceDescriptors identity;
    identity.bcdUSB = isSuperSpeed ? 0x0300 : 0x0200;
    identity.idVendor = 0x1d6b;
    identity.idProduct = 0x0104;
    identity.manufacturer = QStringLiteral("Plugboard");
    identity.product = QStringLiteral("Camera");
    return identity;
}

/// Sets the camera up and takes what it sends; `fault` says what was wrong with a header.
class CameraHost
{
public:
    struct Picture
    {
        QByteArray bytes;
        std::uint32_t presentationTime = 0;
        int payloads = 0;
    };

    /// Bytes of the transfers, or of the packets of isochronous ones.
    CameraHost(const DeviceDescription& device, std::uint32_t transferBytes)
        : m_setup(uvc::cameraSetup(device).take())
        , m_transferBytes(transferBytes)
        , m_camera(cameraIdentity(m_setup.isSuperSpeed), m_setup, device.parameters.at(parameter::CameraSource), {})
        , m_device(m_camera, [this](const usb::Transfer& transfer) { completed(transfer); })
    {
        control("0009010000000000");
    }

    /// As many transfers as that wait at the camera from now on.
    void start(int transfers)
    {
        const QByteArray agreed = control(m_setup.uvcVersion == 0x0150 ? "A181000101003000" : "A181000101001A00");
        control((QByteArray("210100020100") + (m_setup.uvcVersion == 0x0150 ? "3000" : "1A00")).constData(), agreed);
        m_largest = qFromLittleEndian<std::uint32_t>(agreed.constData() + 22);
        if (m_setup.isIsochronous)
            control("010B010001000000");
        while (m_waiting < transfers)
            submit();
    }
    void stop()
    {
        m_isStopped = true;
        control(m_setup.isIsochronous ? "010B000001000000" : "0201000081000000");
    }

    /// Takes no more until it is called with true.
    void take(bool takes, int transfers = 1)
    {
        m_isStopped = !takes;
        while (takes && m_waiting < transfers)
            submit();
    }

    QByteArray control(const char* setup, const QByteArray& data = {})
    {
        std::array<std::uint8_t, 8> packet{};
        const QByteArray bytes = QByteArray::fromHex(setup);
        std::copy_n(bytes.begin(), packet.size(), packet.begin());
        usb::Transfer::Request request;
        request.id = 1;
        request.setup = usb::parseSetupPacket(packet);
        request.in = request.setup.isIn();
        request.length = request.setup.wLength;
        request.data = data;
        m_device.submit(std::move(request));
        return m_answer;
    }

    uvc::Camera& camera() { return m_camera; }
    const uvc::CameraSetup& setup() const { return m_setup; }

    std::vector<Picture> pictures;
    QString fault;

private:
    void submit()
    {
        usb::Transfer::Request request;
        request.id = ++m_last;
        request.endpoint = 1;
        request.in = true;
        request.length = m_transferBytes;
        if (m_setup.isIsochronous) {
            constexpr std::uint32_t kPackets = 8;
            for (std::uint32_t i = 0; i < kPackets; ++i)
                request.packets.push_back({i * m_transferBytes, m_transferBytes, 0, usb::Status::Ok});
            request.length *= kPackets;
        }
        ++m_waiting;
        m_device.submit(std::move(request));
    }

    void completed(const usb::Transfer& transfer)
    {
        if (transfer.request().endpoint == 0) {
            m_answer = transfer.status() == usb::Status::Ok ? transfer.dataIn() : QByteArray("stall");
            return;
        }
        --m_waiting;
        if (transfer.status() != usb::Status::Ok)
            return;
        if (m_setup.isIsochronous) {
            int at = 0;
            for (const usb::IsochronousPacket& packet : transfer.packets()) {
                if (packet.actual > 0)
                    payload(transfer.dataIn().mid(at, int(packet.actual)));
                at += int(packet.actual);
            }
        } else {
            m_bulk += transfer.dataIn();
            // As drivers do: a payload ends with its length or with a transfer that is not full.
            if (transfer.actualLength() < transfer.request().length || std::uint32_t(m_bulk.size()) >= m_largest)
                payload(std::exchange(m_bulk, {}));
        }
        if (!m_isStopped)
            QTimer::singleShot(0, &m_receiver, [this] { submit(); });
    }

    void payload(const QByteArray& bytes)
    {
        const auto bits = std::uint8_t(bytes.size() > 1 ? bytes[1] : 0);
        if (bytes.size() < 12 || bytes[0] != 12 || (bits & 0x8C) != 0x8C)
            return fail(QStringLiteral("a header is %1").arg(QLatin1String(bytes.left(12).toHex())));
        const bool id = (bits & 1) != 0;
        const auto time = qFromLittleEndian<std::uint32_t>(bytes.constData() + 2);
        if (m_current.payloads == 0 && m_hasId && id == m_id)
            fail(QStringLiteral("two pictures have the same id"));
        if (m_current.payloads > 0 && (id != m_id || time != m_current.presentationTime))
            fail(QStringLiteral("payloads of one picture differ"));
        m_id = id;
        m_hasId = true;
        m_current.presentationTime = time;
        m_current.bytes += bytes.mid(12);
        ++m_current.payloads;
        if ((bits & 2) != 0)
            pictures.push_back(std::exchange(m_current, {}));
    }

    void fail(const QString& what)
    {
        if (fault.isEmpty())
            fault = what;
    }

    const uvc::CameraSetup m_setup;
    const std::uint32_t m_transferBytes;
    std::uint32_t m_largest = 0;
    QObject m_receiver;
    QByteArray m_answer;
    QByteArray m_bulk;
    Picture m_current;
    bool m_id = false;
    bool m_hasId = false;
    bool m_isStopped = false;
    std::uint32_t m_last = 1;
    int m_waiting = 0;
    uvc::Camera m_camera;
    usb::Device m_device;
};
