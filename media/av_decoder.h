// av_decoder.h: decodes packets into frames, in hardware where the machine can.
#pragma once

#include "media/av_source_sink.h"
#include "media/end_of_stream.h"
#include "media/hardware_access.h"

#include <string>

/// Takes one frame out per packet in; frames leave with time stamps of 0. Hardware frames leave as NV12. A stream may
/// be joined anywhere: what cannot be decoded before the first picture is left out. A packet of several ADPCM blocks
/// counts as that many packets.
class AVDecoder final : public AVSourceSink, public HoldingStage
{
public:
    explicit AVDecoder(AVCodecID codec, const HardwareAccess& hardware = systemHardware());

    /// Threads that may share the slices of one picture; 0 (the default) leaves it to FFmpeg. Before open().
    void setThreadCount(int count) { m_threadCount = count; }

    /// Chooses hardware or software and opens it for a stream with these parameters (null: none are known). A device
    /// that exists but cannot open the stream leaves it to software. While open() has not succeeded, packets are
    /// refused.
    bool open(const AVCodecParameters* parameters);

    bool pushPacket(AVPacket* packet) override;

    /// Pushes the frames that the decoder still holds. It takes no packet afterwards.
    bool flush() override;

    void drop() override;

    /// Name of FFmpeg's decoder, empty before open().
    std::string name() const { return m_context ? m_decoder->name : ""; }

    /// Type of the device in use ("cuda"), empty when decoding in software. A stream that the device turns out not to
    /// support is decoded in software, which shows here once the first frame is there.
    std::string deviceName() const;

private:
    void chooseHardware();
    bool openDecoder(const AVCodecParameters* parameters);
    bool decode(const AVPacket& packet);
    bool isUndecodableStart(const AVPacket& packet);
    bool receiveFrame(bool& accepted);
    static AVPixelFormat chooseFormat(AVCodecContext* context, const AVPixelFormat* offered);

    const HardwareAccess& m_hardware;
    int m_threadCount = 0;
    const AVCodec* m_decoder = nullptr;
    AVHWDeviceType m_deviceType = AV_HWDEVICE_TYPE_NONE;
    ffmpeg::BufferReference m_device;
    int m_hardwarePixelFormat = -1;
    bool m_deviceUnused = false; ///< The last frame came from software.
    bool m_joined = false;       ///< A key packet or a picture has come.
    ffmpeg::Packet m_part;
    ffmpeg::CodecContext m_context;
    ffmpeg::Frame m_frame;
    ffmpeg::Frame m_transferred;
};
