// links: plugboard::media
#include "media/picture.h"

#include <cstdint>
#include <cstring>

/// The bytes are a format, two sizes, a position and the size to copy; the sanitizer sees what is read and written.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < 21)
        return 0;
    constexpr int kFormats[] = {AV_PIX_FMT_YUV420P, AV_PIX_FMT_YUVJ420P, AV_PIX_FMT_YUV422P,
                                AV_PIX_FMT_NV12,    AV_PIX_FMT_YUV444P,  AV_PIX_FMT_RGB24};
    const int format = kFormats[data[0] % 6];
    std::int32_t geometry[4];
    std::memcpy(geometry, data + 5, sizeof geometry);
    const ffmpeg::Frame destination = makePicture(format, data[1] + 1, data[2] + 1);
    const ffmpeg::Frame source = makePicture(format, data[3] + 1, data[4] + 1);
    if (!destination || !source)
        return 0;
    clearPicture(*destination);
    copyPicture(*destination, *source, geometry[0], geometry[1], geometry[2], geometry[3]);
    placePicture(*destination, *source, geometry[0], geometry[1], geometry[2], geometry[3]);
    // Small numbers land inside far more often.
    copyPicture(*destination, *source, geometry[0] % 300, geometry[1] % 300, geometry[2] % 300, geometry[3] % 300);
    placePicture(*destination, *source, geometry[0] % 300, geometry[1] % 300, geometry[2] % 300, geometry[3] % 300);
    return 0;
}
