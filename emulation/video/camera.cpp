#include "emulation/video/camera.h"

#include "devices/parameter_list.h"
#include "emulation/video/camera_descriptors.h"
#include "media/encoder_choice.h"
#include "media/media_reader.h"

#include <algorithm>

namespace uvc {

namespace {

enum StreamingControl : std::uint8_t
{
    Probe = 1,
    Commit = 2,
    StreamError = 6
};

constexpr std::uint8_t kRequestError = 2; // control of the control interface
constexpr std::uint8_t kIsochronousInterval = 1;
constexpr auto kGivenUp = std::chrono::seconds(5); // without a transfer
constexpr char kGetAndSet = 3;
constexpr char kGetOnly = 1;

PictureClock::Time steadyNow()
{
    return std::chrono::steady_clock::now();
}

Payloads::Time cameraTime()
{
    return steadyNow().time_since_epoch();
}

int scaledFormat(const CameraSetup& setup)
{
    return setup.isRaw() ? setup.pixelFormat : defaultPixelFormat(AVCodecID(setup.codecId));
}

} // namespace

Camera::Camera(const usb::DeviceDescriptors& identity, const CameraSetup& setup, const QString& source,
               QString serverName)
    : SourceFunction(source)
    , m_setup(setup)
    , m_serverName(std::move(serverName))
    , m_processing(setup.isRaw(), setup.uvcVersion >= 0x0150)
    , m_descriptors(cameraDescriptors(identity, setup, m_processing.controls()))
    , m_placement(std::make_shared<PlacementState>(kScaleAspectFit))
    , m_pictureCommands(*m_placement, scaledFormat(setup))
    , m_feed(m_setup, m_processing, [this] { pictureReady(); })
{
    m_offer.dwFrameInterval = setup.frameInterval();
    m_offer.dwMaxVideoFrameSize = setup.largestPicture();
    m_offer.dwMaxPayloadTransferSize = largestPayload(setup);
}

Camera::~Camera()
{
    endStream();
}

void Camera::controlRequest(const usb::TransferPointer& transfer)
{
    const usb::SetupPacket& setup = transfer->request().setup;
    if (setup.type() != usb::RequestType::Class || setup.recipient() != usb::Recipient::Interface)
        return transfer->complete(usb::Status::Stall);
    if ((setup.wIndex & 0xFF) == kControlInterface)
        controlInterfaceRequest(transfer);
    else
        streamingInterfaceRequest(transfer);
}

void Camera::refuse(const usb::TransferPointer& transfer, RequestError& kept, RequestError error)
{
    kept = error;
    transfer->complete(usb::Status::Stall);
}

/// The code is read once.
void Camera::answerErrorCode(const usb::TransferPointer& transfer, RequestError& error)
{
    const std::uint8_t request = transfer->request().setup.bRequest;
    if (request == GetInfo)
        return transfer->completeIn(QByteArray(1, kGetOnly));
    if (request != GetCur)
        return refuse(transfer, error, RequestError::InvalidRequest);
    transfer->completeIn(QByteArray(1, char(error)));
    error = RequestError::None;
}

void Camera::controlInterfaceRequest(const usb::TransferPointer& transfer)
{
    const usb::Transfer::Request& request = transfer->request();
    const auto unit = std::uint8_t(request.setup.wIndex >> 8);
    const auto selector = std::uint8_t(request.setup.wValue >> 8);
    if (unit == 0 && selector == kRequestError)
        return answerErrorCode(transfer, m_controlError);
    if (unit > kProcessingUnit + 1)
        return refuse(transfer, m_controlError, RequestError::InvalidUnit);
    if (unit != kProcessingUnit || !m_processing.knows(selector))
        return refuse(transfer, m_controlError, RequestError::InvalidControl);
    if (request.setup.bRequest == SetCur) {
        if (!m_processing.set(selector, request.data))
            return refuse(transfer, m_controlError, RequestError::OutOfRange);
        m_controlError = RequestError::None;
        return transfer->complete();
    }
    const auto answer = m_processing.get(request.setup.bRequest, selector);
    if (!answer)
        return refuse(transfer, m_controlError, RequestError::InvalidRequest);
    m_controlError = RequestError::None;
    transfer->completeIn(*answer);
}

void Camera::streamingInterfaceRequest(const usb::TransferPointer& transfer)
{
    const usb::SetupPacket& setup = transfer->request().setup;
    switch (setup.wValue >> 8) {
    case Probe:
    case Commit:
        return streamingParameters(transfer, setup.wValue >> 8 == Commit);
    case StreamError:
        return answerErrorCode(transfer, m_streamingError);
    default:
        return refuse(transfer, m_streamingError, RequestError::InvalidControl);
    }
}

void Camera::streamingParameters(const usb::TransferPointer& transfer, bool isCommit)
{
    const int length = streamingLength(m_setup.uvcVersion);
    switch (transfer->request().setup.bRequest) {
    case SetCur:
        return setStreamingParameters(transfer, isCommit);
    case GetMin:
    case GetMax:
    case GetDef:
        if (isCommit)
            break;
        [[fallthrough]];
    case GetCur:
        return transfer->completeIn(serialize(m_offer, length));
    case GetLen: {
        QByteArray bytes(2, '\0');
        bytes[0] = char(length);
        return transfer->completeIn(bytes);
    }
    case GetInfo:
        return transfer->completeIn(QByteArray(1, kGetAndSet));
    default:
        break;
    }
    refuse(transfer, m_streamingError, RequestError::InvalidRequest);
}

/// Whatever the host probes, the answer is the one set of parameters that there is; committing to another is refused.
void Camera::setStreamingParameters(const usb::TransferPointer& transfer, bool isCommit)
{
    const QByteArray& bytes = transfer->request().data;
    if (!isStreamingLength(bytes.size()))
        return refuse(transfer, m_streamingError, RequestError::InvalidRequest);
    if (isCommit) {
        const StreamingParameters chosen = parseStreaming(bytes);
        if (chosen.bFormatIndex != m_offer.bFormatIndex || chosen.bFrameIndex != m_offer.bFrameIndex ||
            chosen.dwFrameInterval != m_offer.dwFrameInterval)
            return refuse(transfer, m_streamingError, RequestError::OutOfRange);
        endStream();
        m_isCommitted = true;
    }
    m_streamingError = RequestError::None;
    transfer->complete();
}

void Camera::configurationSelected(std::uint8_t)
{
    endStream();
    m_isCommitted = false;
}

void Camera::reset()
{
    configurationSelected(0);
    m_processing.reset();
}

void Camera::alternateSelected(std::uint8_t interfaceNumber, std::uint8_t alternate)
{
    if (interfaceNumber != kStreamingInterface)
        return;
    endStream();
    if (m_setup.isIsochronous && alternate > 0)
        beginStream();
}

/// In bulk this is how a host ends a stream; what it submits afterwards begins another.
void Camera::haltCleared(std::uint8_t endpointAddress)
{
    if (endpointAddress == kVideoEndpoint && !m_setup.isIsochronous)
        endStream();
}

void Camera::beginStream()
{
    m_isStreaming = true;
    m_sent = 0;
    m_sentTimes.clear();
    if (m_setup.isIsochronous) // pictures have a rate of their own: a slow host need not make up for empty packets
        m_pacer = std::make_unique<usb::IsochronousPacer>(
            usb::isochronousInterval(m_descriptors.speed, kIsochronousInterval),
            [this](const usb::TransferPointer& transfer) { serveIsochronous(transfer); },
            usb::IsochronousPacer::steadyClock(), std::chrono::nanoseconds(0));
    startSource();
    m_feed.start();
}

/// A source that waits for us stays where it is, ready for the next stream.
void Camera::endStream()
{
    if (!m_isStreaming)
        return;
    m_isStreaming = false;
    m_feed.stop();
    m_pacer.reset();
    m_payloads.restart();
    m_payload.clear();
    m_payloadSent = 0;
    if (isLive(source()))
        stopSource();
}

void Camera::submit(const usb::TransferPointer& transfer)
{
    if (m_pacer)
        return m_pacer->submit(transfer);
    if (!m_isCommitted)
        return transfer->complete(usb::Status::NoAnswer);
    m_bulk.push_back(transfer);
    m_lastSubmission = steadyNow();
    if (!m_isStreaming)
        beginStream();
    serveBulk();
}

void Camera::cancelled(const usb::Transfer& transfer)
{
    if (m_pacer)
        m_pacer->cancelled(transfer);
    m_bulk.erase(std::remove_if(m_bulk.begin(), m_bulk.end(),
                                [&](const usb::TransferPointer& waiting) { return waiting.get() == &transfer; }),
                 m_bulk.end());
}

/// A host that only stops asking in bulk has ended its stream, too; what it submits later begins another.
void Camera::pictureReady()
{
    if (m_setup.isIsochronous)
        return;
    if (m_bulk.empty() && steadyNow() - m_lastSubmission > kGivenUp)
        return endStream();
    serveBulk();
}

/// Whether there is a picture to send.
bool Camera::nextPicture()
{
    if (!m_payloads.isEmpty())
        return true;
    if (!m_isStreaming)
        return false;
    PicturePointer picture = m_feed.take();
    if (!picture)
        return false;
    m_payloads.begin(std::move(picture), cameraTime());
    return true;
}

/// A payload may be longer than a transfer and goes on in the next; a transfer that it does not fill ends it.
void Camera::serveBulk()
{
    const auto largest = int(m_offer.dwMaxPayloadTransferSize);
    while (!m_bulk.empty()) {
        if (m_payload.isEmpty()) {
            if (!nextPicture())
                return;
            m_payload.reserve(largest);
            m_payloads.append(m_payload, largest, cameraTime());
            if (m_payloads.isEmpty())
                countSent();
        }
        const usb::TransferPointer transfer = std::move(m_bulk.front());
        m_bulk.pop_front();
        const auto room = int(std::min<std::uint32_t>(transfer->request().length, std::uint32_t(largest)));
        QByteArray part =
            m_payloadSent == 0 && m_payload.size() <= room ? m_payload : m_payload.mid(m_payloadSent, room);
        m_payloadSent += part.size();
        // A short payload whose last transfer is full is ended by an empty one.
        if (m_payloadSent == m_payload.size() && (part.size() < room || m_payload.size() == largest)) {
            m_payload = {};
            m_payloadSent = 0;
        }
        transfer->completeIn(std::move(part));
    }
}

void Camera::serveIsochronous(const usb::TransferPointer& transfer)
{
    std::vector<usb::IsochronousPacket> packets = transfer->request().packets;
    QByteArray data;
    for (usb::IsochronousPacket& packet : packets) {
        const auto room = int(std::min(packet.length, m_offer.dwMaxPayloadTransferSize));
        packet.actual = 0;
        if (room <= Payloads::kHeaderSize || !nextPicture())
            continue;
        packet.actual = std::uint32_t(m_payloads.append(data, room, cameraTime()));
        if (m_payloads.isEmpty())
            countSent();
    }
    transfer->completeIsochronous(std::move(packets), std::move(data));
}

void Camera::countSent()
{
    ++m_sent;
    m_sentTimes.push_back(steadyNow());
    while (m_sentTimes.back() - m_sentTimes.front() > std::chrono::seconds(1))
        m_sentTimes.pop_front();
}

int Camera::sentInLastSecond() const
{
    const PictureClock::Time since = steadyNow() - std::chrono::seconds(1);
    return int(std::count_if(m_sentTimes.begin(), m_sentTimes.end(),
                             [since](const PictureClock::Time& time) { return time > since; }));
}

VideoFileSettings Camera::playerSettings(const QString& source) const
{
    const bool live = isLive(source);
    VideoFileSettings settings;
    settings.url = source.toStdString();
    settings.selector = kSelectVideo;
    settings.codec = AVCodecID(m_setup.codecId);
    settings.pixelFormat = m_setup.pixelFormat;
    settings.width = m_setup.width;
    settings.height = m_setup.height;
    settings.frameRate = m_setup.isRaw() ? 0 : m_setup.rate; // raw pictures are shown at the rate they have
    settings.exactOutput = !live;
    settings.overflow = live ? AVMediaSink::Overflow::DropOldest : AVMediaSink::Overflow::StayClose;
    settings.queue.items = std::size_t(!live ? 3 : m_setup.isInterCoded() ? 64 : 2);
    settings.scaling.serverName = m_serverName;
    settings.scaling.appliesPlacement = true;
    settings.scaling.placement = m_placement;
    return settings;
}

void Camera::sourceChanged()
{
    m_feed.setPlayer(player(), isLive(source()));
}

QString Camera::runOther(const QString& command)
{
    if (!command.startsWith(QLatin1String("img"), Qt::CaseInsensitive))
        return commandFailed(
            QStringLiteral("A camera knows: %1; ImgX, ImgY, ImgMX, ImgMY, ImgWS, ImgHS, ImgM.").arg(sourceCommands()));
    return m_pictureCommands.interpret(command, {[] { return false; }, [](bool) {}});
}

QString Camera::deviceStatus() const
{
    QString text = QStringLiteral("%1 %2x%3 at %4, %5, UVC %6; ")
                       .arg(m_setup.name)
                       .arg(m_setup.width)
                       .arg(m_setup.height)
                       .arg(m_setup.rate)
                       .arg(m_setup.isIsochronous ? QStringLiteral("isochronous") : QStringLiteral("bulk"),
                            m_setup.uvcVersion == 0x0100 ? QStringLiteral("1.0") : QStringLiteral("1.5"));
    if (!m_isStreaming)
        return text + QStringLiteral("no host takes pictures, %1 dropped so far").arg(m_feed.counts().dropped);
    text += QStringLiteral("%1 pictures in the last second, %2 sent, %3 dropped")
                .arg(sentInLastSecond())
                .arg(m_sent)
                .arg(m_feed.counts().dropped);
    if (m_feed.showsStandIn())
        text += QStringLiteral(", showing \"no signal\"");
    if (player() && player()->pictureRate().num > 0)
        text += QStringLiteral("; source at %1, %2")
                    .arg(av_q2d(player()->pictureRate()), 0, 'g', 4)
                    .arg(QString::fromStdString(player()->description()));
    return text;
}

Outcome<std::unique_ptr<DeviceFunction>> makeCamera(const usb::DeviceDescriptors& identity,
                                                    const DeviceContext& context)
{
    auto setup = cameraSetup(context.device);
    if (!setup)
        return Fault{setup.fault()};
    return std::unique_ptr<DeviceFunction>(
        std::make_unique<Camera>(identity, setup.value(), context.device.parameters.value(parameter::CameraSource),
                                 QStringLiteral("CmdServer_%1").arg(context.processId)));
}

} // namespace uvc
