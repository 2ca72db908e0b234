#include "media/media_reader.h"

#include "media/av_decoder.h"
#include "media/end_of_stream.h"
#include "media/log.h"

#include <iostream>
#include <utility>

namespace {

using Clock = std::chrono::steady_clock;

/// An input of one picture, or of none at all, would start again hundreds of times a second.
constexpr std::chrono::milliseconds kLeastLoopTime(33);
constexpr std::chrono::milliseconds kEmptyInputPause(100);

constexpr std::size_t kMostKeptPackets = 1024;

/// Refuses a picture, and so ends the search for one.
struct FirstPicture final : AVSourceSink
{
    bool pushFrame(AVFrame* frame) override
    {
        recordInput(*frame);
        return false;
    }
    bool isThere() const { return inputWidth() > 0 && inputHeight() > 0; }
};

} // namespace

MediaReader::MediaReader(std::string url, int selector, MediaInterrupt& interrupt, std::string protocols)
    : m_interrupt(interrupt)
    , m_input(std::move(url), interrupt, std::move(protocols))
    , m_selector(selector)
{}

MediaReader::~MediaReader() = default;

bool MediaReader::fail(int result)
{
    m_error = m_input.reasonFor(result);
    return false;
}

bool MediaReader::open()
{
    avformat_network_init();
    m_hasReadAhead = true;
    int result = m_input.open();
    if (result == 0)
        result = m_input.findStreamInformation();
    if (result != 0)
        return fail(result);
    const auto takes = [this](int kind) { return m_selector == kSelectBoth || m_selector == kind; };
    const AVFormatContext& context = *m_input.context();
    if (m_input.canRewind() && context.duration > 0)
        m_duration = std::chrono::milliseconds(context.duration / 1000);
    m_startTime = context.start_time == AV_NOPTS_VALUE ? 0 : context.start_time;
    for (unsigned index = 0; index < context.nb_streams; ++index) {
        const AVStream& stream = *context.streams[index];
        const AVCodecParameters& parameters = *stream.codecpar;
        if (parameters.codec_type == AVMEDIA_TYPE_VIDEO && !m_video && takes(kSelectVideo))
            m_video = std::make_unique<AVSource>(true, parameters, stream);
        else if (parameters.codec_type == AVMEDIA_TYPE_AUDIO && !m_audio && takes(kSelectAudio))
            m_audio = std::make_unique<AVSource>(false, parameters, stream);
    }
    if (m_video && (m_video->width() <= 0 || m_video->height() <= 0))
        learnPictureSize();
    return true;
}

/// The description of a network stream may leave the size to the stream itself. Reads until the first picture, for as
/// long as one call into the input may take; the packets since the last key packet are kept for the chains.
void MediaReader::learnPictureSize()
{
    AVDecoder decoder(m_video->codecId());
    FirstPicture picture;
    decoder.chain(picture);
    const ffmpeg::Packet packet(av_packet_alloc());
    if (!packet || !decoder.open(m_video->codecParameters()))
        return;
    const auto end = Clock::now() + m_interrupt.limit();
    while (!picture.isThere() && Clock::now() < end && m_input.read(packet.get()) == 0) {
        const bool isVideo = packet->stream_index == m_video->streamIndex();
        if ((isVideo && packet->flags & AV_PKT_FLAG_KEY) || m_kept.size() == kMostKeptPackets)
            m_kept.clear();
        m_kept.emplace_back(av_packet_clone(packet.get()));
        if (isVideo)
            decoder.pushPacket(packet.get());
        av_packet_unref(packet.get());
    }
    if (picture.isThere())
        m_video->setPicture(picture.inputWidth(), picture.inputHeight(), picture.inputFormat());
}

bool MediaReader::rewind()
{
    m_kept.clear();
    m_hasReadAhead = false;
    const int result = m_input.open();
    return result == 0 || fail(result);
}

int MediaReader::nextPacket(AVPacket* packet)
{
    if (m_kept.empty())
        return m_input.read(packet);
    if (m_kept.front())
        av_packet_move_ref(packet, m_kept.front().get());
    m_kept.pop_front();
    return 0;
}

bool MediaReader::push(AVPacket* packet)
{
    AVSource* source = nullptr;
    if (m_video && m_video->streamIndex() == packet->stream_index)
        source = m_video.get();
    else if (m_audio && m_audio->streamIndex() == packet->stream_index && !m_isSoundLeftOut)
        source = m_audio.get();
    if (!source || source->pushPacket(packet))
        return true;
    if (m_isSoundOptional && source == m_audio.get()) {
        qCWarning(mediaLog) << "The sound is left out:" << source->refusal().c_str();
        m_isSoundLeftOut = true;
        return true;
    }
    m_error = source->refusal();
    if (m_error.empty())
        m_error = "a stage does not take its data";
    return false;
}

void MediaReader::readLoop(bool loop)
{
    const ffmpeg::Packet packet(av_packet_alloc());
    m_error = packet ? "" : ffmpeg::errorText(AVERROR(ENOMEM));
    if (!packet || (m_hasReadAhead && m_input.canRewind() && !rewind()))
        return;
    m_hasReadAhead = false;
    m_lastStart = Clock::now();
    bool isEmpty = true;
    for (;;) {
        if (isSeeking())
            seek();
        const int result = nextPacket(packet.get());
        if (result == 0) {
            isEmpty = false;
            notePosition(*packet);
            const bool accepted = push(packet.get());
            av_packet_unref(packet.get());
            if (accepted)
                continue;
            return;
        }
        if (m_interrupt.isStopped()) {
            fail(result);
            return;
        }
        if (!loop) {
            if (result != AVERROR_EOF)
                fail(result);
            std::cout << "Reached end of file, exiting" << std::endl;
            return;
        }
        std::cout << "Reached end of file, restarting..." << std::endl;
        if (!m_interrupt.sleepUntil(m_lastStart + (isEmpty ? kEmptyInputPause : kLeastLoopTime)) || !startAgain())
            return;
        isEmpty = true;
    }
}

/// A place that cannot be reached leaves the input where it is.
void MediaReader::seek()
{
    std::int64_t wanted = m_seekTo;
    if (m_input.canRewind() && m_input.seek(m_startTime + wanted * 1000) >= 0) {
        m_kept.clear();
        for (AVSource* head : {m_video.get(), m_audio.get()}) {
            if (head)
                dropHeld(*head);
        }
    }
    m_seekTo.compare_exchange_strong(wanted, -1); // Another place may have been asked for meanwhile.
}

void MediaReader::notePosition(const AVPacket& packet)
{
    const AVSource* source = m_video ? m_video.get() : m_audio.get();
    const std::int64_t time = packet.pts == AV_NOPTS_VALUE ? packet.dts : packet.pts;
    if (!source || packet.stream_index != source->streamIndex() || time == AV_NOPTS_VALUE)
        return;
    const std::int64_t microseconds = av_rescale_q(time, source->timeBase(), {1, AV_TIME_BASE}) - m_startTime;
    m_position = microseconds / 1000;
}

bool MediaReader::startAgain()
{
    m_lastStart = Clock::now();
    if (rewind())
        return true;
    std::cerr << "Failed to reinitialize file for looping" << std::endl;
    return false;
}
