#include "media/av_scaler.h"

#include "media/control/cmd_server.h"
#include "media/picture.h"

#include <QCoreApplication>

#include <iostream>

namespace {

constexpr std::chrono::milliseconds kServerStartTime(100);
constexpr int kAlignment = 32; // Bytes; what the conversion's vector code reads and writes at once.

bool isAligned(const AVFrame& frame)
{
    for (int plane = 0; plane < 4 && frame.data[plane]; ++plane) {
        if (reinterpret_cast<std::uintptr_t>(frame.data[plane]) % kAlignment != 0 ||
            frame.linesize[plane] % kAlignment != 0)
            return false;
    }
    return true;
}

} // namespace

AVScaler::AVScaler(int targetFormat, int targetWidth, int targetHeight, int scaleMode, const ScalerSettings& settings)
    : m_targetFormat(targetFormat)
    , m_targetWidth(targetWidth)
    , m_targetHeight(targetHeight)
    , m_settings(settings)
    , m_placement(settings.placement ? settings.placement : std::make_shared<PlacementState>(scaleMode))
    , m_commands(*m_placement, targetFormat)
    , m_output(makePicture(targetFormat, targetWidth, targetHeight))
{
    if (!m_settings.serverName.isEmpty() && !StartCommandServer(m_settings.serverName))
        std::cerr << "Failed to start command server" << std::endl;
}

AVScaler::~AVScaler()
{
    if (!m_server)
        return;
    const std::lock_guard guard(m_server->lock);
    if (m_server->server)
        m_server->server->Retire();
}

bool AVScaler::StartCommandServer(const QString& name)
{
    if (m_server) {
        const std::lock_guard guard(m_server->lock);
        return m_server->server && m_server->server->IsRunning();
    }
    QCoreApplication* application = QCoreApplication::instance();
    if (!application)
        return false;
    const bool onMainThread = CmdServer::IsMainThread();
    if (!onMainThread)
        std::cout << "Warning: Creating CmdServer in non-main thread, moving to main thread" << std::endl;

    auto* server = new CmdServer(onMainThread ? application : nullptr);
    const std::shared_ptr<CmdServerLink> link =
        server->Link(); // Once started, the server may end with the application.
    server->MoveToThread(application->thread());
    const EchoSwitch echo = {[server] { return server->IsEchoEnabled(); },
                             [server](bool enabled) { server->SetEchoEnabled(enabled); }};
    server->SetCommandHandler(
        [this, echo](const QString& line, QString& reply) { reply = m_commands.interpret(line, echo); });
    if (!server->StartServer(name)) {
        server->Retire();
        return false;
    }
    m_server = link;
    m_settings.sleep(kServerStartTime);
    std::cout << "Command server started successfully: " << name.toStdString()
              << "\nServer thread: " << (onMainThread ? "Has event loop" : "No event loop") << std::endl;
    return true;
}

bool AVScaler::pushFrame(AVFrame* frame)
{
    recordInput(*frame);
    m_placement->inputWidth.store(m_inputWidth, std::memory_order_relaxed);
    m_placement->inputHeight.store(m_inputHeight, std::memory_order_relaxed);
    if (m_settings.appliesPlacement)
        return pushPlaced(frame);

    // Without placement a scale mode set by command lasts until the next frame.
    m_placement->mode = kScaleStretch;
    const int workingWidth = m_targetWidth + m_targetWidth % 2;
    const int workingHeight = m_targetHeight + m_targetHeight % 2;
    const bool isExact = workingWidth == m_targetWidth && workingHeight == m_targetHeight;
    m_area = {0, 0, workingWidth, workingHeight};
    const bool inputFits =
        m_inputWidth == workingWidth && m_inputHeight == workingHeight && isExact && m_inputFormat == m_targetFormat;
    const bool frameFits =
        frame->width == workingWidth && frame->height == workingHeight && frame->format == m_targetFormat;
    if (inputFits || frameFits)
        return AVSourceSink::pushFrame(frame);

    if (!prepareOutput())
        return refuse("there is no memory for pictures of such a size");
    if (isExact && hasKnownPlanes(m_targetFormat)) {
        // The copy would cover every pixel of the output, so the conversion writes there itself.
        if (!convert(*frame, *m_output))
            return refuseConversion(*frame);
    } else {
        if (!prepareWorkFrame(workingWidth, workingHeight) || !convert(*frame, *m_work))
            return refuseConversion(*frame);
        clearPicture(*m_output);
        copyPicture(*m_output, *m_work, 0, 0, workingWidth, workingHeight);
    }
    return forwardOutput(*frame);
}

bool AVScaler::pushPlaced(AVFrame* frame)
{
    m_area = placedArea(*m_placement, frame->width, frame->height, m_targetWidth, m_targetHeight, m_targetFormat);
    if (!prepareOutput() || !prepareWorkFrame(m_area.width, m_area.height) || !convert(*frame, *m_work))
        return refuseConversion(*frame);
    clearPicture(*m_output);
    placePicture(*m_output, *m_work, m_area.x, m_area.y, m_area.width, m_area.height);
    return forwardOutput(*frame);
}

/// A stage below may still hold the last picture; then the next one gets memory of its own.
bool AVScaler::prepareOutput()
{
    if (!m_output || !av_frame_is_writable(m_output.get()))
        m_output = makePicture(m_targetFormat, m_targetWidth, m_targetHeight);
    return m_output != nullptr;
}

bool AVScaler::prepareWorkFrame(int width, int height)
{
    if (!m_work || m_work->width != width || m_work->height != height)
        m_work = makePicture(m_targetFormat, width, height);
    return m_work != nullptr;
}

/// The conversion reads whole vectors: rows that are not aligned are brought into a picture of our own first.
const AVFrame* AVScaler::alignedSource(const AVFrame& frame)
{
    if (isAligned(frame))
        return &frame;
    if (!m_aligned || m_aligned->width != frame.width || m_aligned->height != frame.height ||
        m_aligned->format != frame.format)
        m_aligned = makePicture(frame.format, frame.width, frame.height);
    if (!m_aligned || av_frame_copy(m_aligned.get(), &frame) < 0)
        return nullptr;
    return m_aligned.get();
}

bool AVScaler::convert(const AVFrame& frame, AVFrame& target)
{
    const AVFrame* source = alignedSource(frame);
    if (!source)
        return false;
    const ConversionKey key = {source->width, source->height, source->format,
                               target.width,  target.height,  target.format};
    if (!m_scaler || key != m_key) {
        m_scaler.reset();
        m_scaler = makeScaler(key.sourceWidth, key.sourceHeight, key.sourceFormat, key.width, key.height, key.format);
        m_key = key;
    }
    return m_scaler && sws_scale(m_scaler.get(), source->data, source->linesize, 0, source->height, target.data,
                                 target.linesize) >= 0;
}

bool AVScaler::refuseConversion(const AVFrame& frame)
{
    const char* format = av_get_pix_fmt_name(static_cast<AVPixelFormat>(frame.format));
    return refuse("pictures of " + std::to_string(frame.width) + " x " + std::to_string(frame.height) + " pixels (" +
                  (format ? format : "no format") + ") cannot be scaled");
}

bool AVScaler::forwardOutput(const AVFrame& frame)
{
    m_output->pts = frame.pts;
    m_output->pkt_dts = frame.pkt_dts;
    m_output->sample_aspect_ratio = frame.sample_aspect_ratio;
    m_output->colorspace = frame.colorspace;
    return AVSourceSink::pushFrame(m_output.get());
}
