// media_reader.h: opens an input, builds the chains behind its first video and first audio stream, and drives them.
#pragma once

#include "media/av_source.h"
#include "media/media_input.h"
#include "media/media_interrupt.h"
#include "media/sound_speed.h"

#include <atomic>
#include <chrono>
#include <deque>
#include <memory>
#include <string>
#include <vector>

class AVDecoder;
class AVEncoder;
class AVScaler;
struct ScalerSettings;

/// Which streams a reader takes.
inline constexpr int kSelectBoth = -1;
inline constexpr int kSelectVideo = 0;
inline constexpr int kSelectAudio = 1;

/// Used by one thread; only the interrupt's stop() comes from others. Owns its stages, not the sinks they end in.
class MediaReader
{
public:
    /// `url` is a path or URL in UTF-8. The interrupt outlives the reader. `protocols` as MediaInput has it.
    MediaReader(std::string url, int selector, MediaInterrupt& interrupt, std::string protocols = {});
    ~MediaReader();

    /// Opens the input and creates the sources. False when it cannot be opened or its streams are not found; true
    /// also when no stream is of a selected kind.
    bool open();

    /// For people: why open() returned false, or why reading ended other than with the input; else empty.
    const std::string& error() const { return m_error; }

    /// Null when the input has no such stream or it is not selected.
    AVSource* videoSource() const { return m_video.get(); }
    AVSource* audioSource() const { return m_audio.get(); }

    /// 30 when there is a video source, else 0; the stream's own rate is not consulted.
    double frameRate() const { return m_video ? 30 : 0; }

    /// Threads of the decoders and the encoder of chains built afterwards; 0 (the default): FFmpeg decides.
    void setThreadCounts(int decoders, int encoder)
    {
        m_decoderThreads = decoders;
        m_encoderThreads = encoder;
    }

    /// For chains built afterwards that end in packets. Off (the default): packets of the codec and size asked for pass
    /// undecoded, and each picture becomes one packet. On: a wrong rate or pixel format has packets decoded too, and
    /// pictures are dropped or repeated so that they keep their speed.
    void setExactOutput(bool exact) { m_exactOutput = exact; }

    /// On: sound that a stage refuses is left out from then on, and the pictures go on. Off (the default): it ends the
    /// loop.
    void setSoundOptional(bool optional) { m_isSoundOptional = optional; }

    /// Video chain that ends in `sink`. With a codec, compressed packets arrive there: passed through when codec and
    /// size are the source's own, else decoded, scaled and encoded. Without (AV_CODEC_ID_NONE), pictures arrive. A
    /// pixel format of -1 is the encoder's own. True also when there is no video source.
    bool buildVideoChain(AVCodecID codec, int pixelFormat, int width, int height, int frameRate, AVSourceSink& sink,
                         const ScalerSettings& scaling);
    bool buildVideoChain(AVCodecID codec, int pixelFormat, int width, int height, int frameRate, AVSourceSink& sink);

    /// Audio chain: signed 16-bit interleaved samples arrive at `sink`. True also when there is no audio source.
    bool buildAudioChain(int channels, int sampleRate, AVSourceSink& sink, std::shared_ptr<SoundSpeed> speed = {});

    /// Reads until a stage refuses a packet or the input ends or fails; with `loop` the input then starts again. What
    /// opening has read is not lost: an input that can begins anew first.
    void readLoop(bool loop);

    /// Whether the input can start again: a file does, a live source does not.
    bool canRewind() const { return m_input.canRewind(); }
    bool isLive() const { return m_input.isLive(); }

    /// How long the input is; 0 when that is not known, as of live sources.
    std::chrono::milliseconds duration() const { return m_duration; }

    /// Any thread: has the read loop go on at the key picture before `position`, where the input can.
    void requestSeek(std::chrono::milliseconds position) { m_seekTo = position.count(); }
    bool isSeeking() const { return m_seekTo >= 0; }

    /// Any thread: where in the input the last packet lies.
    std::chrono::milliseconds position() const { return std::chrono::milliseconds(m_position); }

    /// Goes back to the input's beginning, as looping does. False when it cannot be opened again.
    bool rewind();

    /// Sends the end of the stream down the chains. Only after a read loop that will not be continued.
    void flush();

    /// Stages that chain building made, null when there are none; valid while the reader lives.
    AVDecoder* videoDecoder() const { return m_videoDecoder; }
    AVDecoder* audioDecoder() const { return m_audioDecoder; }
    AVScaler* scaler() const { return m_scaler; }
    AVEncoder* encoder() const { return m_encoder; }

private:
    template<typename Stage, typename... Arguments>
    Stage& addStage(Arguments&&... arguments);
    void learnPictureSize();
    int nextPacket(AVPacket* packet);
    bool push(AVPacket* packet);
    bool startAgain();
    void seek();
    void notePosition(const AVPacket& packet);
    bool fail(int result);

    const MediaInterrupt& m_interrupt;
    MediaInput m_input;
    const int m_selector;
    int m_decoderThreads = 0;
    int m_encoderThreads = 0;
    bool m_exactOutput = false;
    bool m_isSoundOptional = false;
    bool m_isSoundLeftOut = false;
    bool m_hasReadAhead = false; ///< Opening has read, and with low-latency options dropped, packets.
    std::deque<ffmpeg::Packet> m_kept;
    std::chrono::steady_clock::time_point m_lastStart;
    std::chrono::milliseconds m_duration{0};
    std::int64_t m_startTime = 0;           ///< Of the input, in microseconds.
    std::atomic<std::int64_t> m_seekTo{-1}; ///< Milliseconds; -1: stay.
    std::atomic<std::int64_t> m_position{0};
    std::string m_error;
    std::unique_ptr<AVSource> m_video;
    std::unique_ptr<AVSource> m_audio;
    std::vector<std::unique_ptr<AVSourceSink>> m_stages;
    AVDecoder* m_videoDecoder = nullptr;
    AVDecoder* m_audioDecoder = nullptr;
    AVScaler* m_scaler = nullptr;
    AVEncoder* m_encoder = nullptr;
};
