#include "media/media_reader.h"

#include <iostream>
#include <thread>
#include <utility>

namespace {

constexpr std::chrono::milliseconds kEmptyInputPause(100);

} // namespace

MediaReader::MediaReader(std::string url, int selector, MediaInterrupt& interrupt, std::string protocols)
    : m_input(std::move(url), interrupt, std::move(protocols))
    , m_selector(selector)
{}

MediaReader::~MediaReader() = default;

bool MediaReader::open()
{
    avformat_network_init();
    int result = m_input.open();
    if (result == 0)
        result = m_input.findStreamInformation();
    if (result != 0) {
        m_error = ffmpeg::errorText(result);
        return false;
    }
    const auto takes = [this](int kind) { return m_selector == kSelectBoth || m_selector == kind; };
    const AVFormatContext& context = *m_input.context();
    for (unsigned index = 0; index < context.nb_streams; ++index) {
        const AVStream& stream = *context.streams[index];
        const AVCodecParameters& parameters = *stream.codecpar;
        if (parameters.codec_type == AVMEDIA_TYPE_VIDEO && !m_video && takes(kSelectVideo))
            m_video = std::make_unique<AVSource>(true, parameters, stream);
        else if (parameters.codec_type == AVMEDIA_TYPE_AUDIO && !m_audio && takes(kSelectAudio))
            m_audio = std::make_unique<AVSource>(false, parameters, stream);
    }
    return true;
}

bool MediaReader::push(AVPacket* packet)
{
    if (m_video && m_video->streamIndex() == packet->stream_index)
        return m_video->pushPacket(packet);
    if (m_audio && m_audio->streamIndex() == packet->stream_index)
        return m_audio->pushPacket(packet);
    return true;
}

void MediaReader::readLoop(bool loop)
{
    const ffmpeg::Packet packet(av_packet_alloc());
    m_error = packet ? "" : ffmpeg::errorText(AVERROR(ENOMEM));
    if (!packet)
        return;
    bool isEmpty = true;
    for (;;) {
        int result = m_input.read(packet.get());
        if (result == 0) {
            isEmpty = false;
            const bool accepted = push(packet.get());
            av_packet_unref(packet.get());
            if (accepted)
                continue;
            m_error = "its data is damaged or changes";
            return;
        }
        if (!loop) {
            if (result != AVERROR_EOF)
                m_error = ffmpeg::errorText(result);
            std::cout << "Reached end of file, exiting" << std::endl;
            return;
        }
        std::cout << "Reached end of file, restarting..." << std::endl;
        if (isEmpty)
            std::this_thread::sleep_for(kEmptyInputPause); // Nothing else would slow the restarts down.
        isEmpty = true;
        result = m_input.open();
        if (result != 0) {
            m_error = ffmpeg::errorText(result);
            std::cerr << "Failed to reinitialize file for looping" << std::endl;
            return;
        }
    }
}
