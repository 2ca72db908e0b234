#include "emulation/video/no_signal.h"

#include "media/av_decoder.h"
#include "media/av_encoder.h"
#include "media/av_scaler.h"
#include "media/picture.h"
#include "media/text_box.h"

#include <algorithm>

extern "C" {
#include <libavutil/imgutils.h>
}

namespace uvc {

namespace {

constexpr int kGrey = 128; // chroma without colour
constexpr int kDimming = 3;

/// No device is asked: one picture is not worth it.
struct NoHardware final : HardwareAccess
{
    const AVCodecHWConfig* configuration(const AVCodec&, int) const override { return nullptr; }
    ffmpeg::BufferReference createDevice(AVHWDeviceType) const override { return nullptr; }
    int transfer(AVFrame&, const AVFrame&) const override { return AVERROR(ENOSYS); }
};

/// Keeps the last of what comes.
struct LastItem final : AVSourceSink
{
    bool pushFrame(AVFrame* pushed) override
    {
        frame.reset(av_frame_clone(pushed));
        return true;
    }
    bool pushPacket(AVPacket* packet) override
    {
        bytes.assign(packet->data, packet->data + packet->size);
        return true;
    }

    ffmpeg::Frame frame;
    std::vector<std::uint8_t> bytes;
};

int formatOf(const CameraSetup& setup)
{
    return setup.isRaw() ? setup.pixelFormat : defaultPixelFormat(AVCodecID(setup.codecId));
}

void readRaw(const CameraSetup& setup, const std::vector<std::uint8_t>& bytes, AVFrame& picture)
{
    std::uint8_t* planes[4] = {};
    int lines[4] = {};
    const auto format = AVPixelFormat(picture.format);
    av_image_fill_arrays(planes, lines, bytes.data(), format, setup.width, setup.height, 1);
    const std::uint8_t* from[4] = {planes[0], planes[1], planes[2], planes[3]};
    av_image_copy(picture.data, picture.linesize, from, lines, format, setup.width, setup.height);
}

/// False when nothing could be decoded.
bool readCompressed(const CameraSetup& setup, const std::vector<PicturePointer>& pictures, AVFrame& picture)
{
    const NoHardware none;
    ScalerSettings scaling;
    scaling.serverName.clear();
    AVDecoder decoder(AVCodecID(setup.codecId), none);
    AVScaler scaler(picture.format, setup.width, setup.height, kScaleStretch, scaling);
    LastItem last;
    decoder.chain(scaler);
    scaler.chain(last);
    const ffmpeg::Packet packet(av_packet_alloc());
    if (!packet || !decoder.open(nullptr))
        return false;
    for (const PicturePointer& bytes : pictures) {
        if (av_new_packet(packet.get(), int(bytes->size())) < 0)
            return false;
        std::copy(bytes->begin(), bytes->end(), packet->data);
        packet->flags = bytes == pictures.front() ? AV_PKT_FLAG_KEY : 0;
        decoder.pushPacket(packet.get());
        av_packet_unref(packet.get());
    }
    decoder.flush();
    if (!last.frame || last.frame->width != setup.width || last.frame->height != setup.height)
        return false;
    copyPicture(picture, *last.frame, 0, 0, setup.width, setup.height);
    return true;
}

/// Towards black and grey, whatever the range.
void dim(AVFrame& picture)
{
    const auto* description = av_pix_fmt_desc_get(AVPixelFormat(picture.format));
    const int black = picture.format == AV_PIX_FMT_YUVJ420P ? 0 : 16;
    for (int plane = 0; plane < 4 && picture.data[plane]; ++plane) {
        const int middle = plane == 0 ? black : kGrey;
        const int rows = plane == 0 ? picture.height : AV_CEIL_RSHIFT(picture.height, description->log2_chroma_h);
        for (int row = 0; row < rows; ++row) {
            std::uint8_t* line = picture.data[plane] + std::ptrdiff_t(row) * picture.linesize[plane];
            std::transform(line, line + picture.linesize[plane], line,
                           [middle](std::uint8_t value) { return std::uint8_t(middle + (value - middle) / kDimming); });
        }
    }
}

void write(AVFrame& picture)
{
    TextBox box;
    const std::vector<std::string> text{"no signal"};
    box.layOut(text, 0, 0, picture.width, picture.height);
    const cv::Rect area = box.area();
    box.layOut(text, (picture.width - area.width) / 2, (picture.height - area.height) / 2, picture.width,
               picture.height);
    box.draw(picture);
}

PicturePointer rawBytes(const AVFrame& picture)
{
    const auto format = AVPixelFormat(picture.format);
    const int size = av_image_get_buffer_size(format, picture.width, picture.height, 1);
    auto bytes = std::make_shared<std::vector<std::uint8_t>>(std::size_t(std::max(size, 0)));
    const int copied = av_image_copy_to_buffer(bytes->data(), size, picture.data, picture.linesize, format,
                                               picture.width, picture.height, 1);
    return copied < 0 ? nullptr : bytes;
}

PicturePointer encoded(const CameraSetup& setup, AVFrame& picture)
{
    AVEncoder encoder({AVCodecID(setup.codecId), picture.format, setup.width, setup.height, setup.rate});
    LastItem last;
    encoder.chain(last);
    if (!encoder.pushFrame(&picture) || !encoder.flush() || last.bytes.empty())
        return nullptr;
    return std::make_shared<std::vector<std::uint8_t>>(std::move(last.bytes));
}

} // namespace

PicturePointer makeNoSignal(const CameraSetup& setup, const std::vector<PicturePointer>& pictures)
{
    const ffmpeg::Frame picture = makePicture(formatOf(setup), setup.width, setup.height);
    if (!picture)
        return nullptr;
    clearPicture(*picture);
    if (!pictures.empty() && setup.isRaw())
        readRaw(setup, *pictures.back(), *picture);
    else if (!pictures.empty() && !readCompressed(setup, pictures, *picture))
        clearPicture(*picture);
    dim(*picture);
    write(*picture);
    return setup.isRaw() ? rawBytes(*picture) : encoded(setup, *picture);
}

} // namespace uvc
