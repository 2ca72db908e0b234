// film_packets.h: the pictures of a film of the tests, as its file has them.
#pragma once

#include "media/ffmpeg_handles.h"

#include <QByteArray>
#include <QString>

#include <vector>

/// The packets of a file's video stream.
inline std::vector<QByteArray> packetsOf(const QString& path)
{
    std::vector<QByteArray> packets;
    AVFormatContext* opened = nullptr;
    if (avformat_open_input(&opened, path.toUtf8().constData(), nullptr, nullptr) < 0)
        return packets;
    const ffmpeg::FormatContext input(opened);
    const ffmpeg::Packet packet(av_packet_alloc());
    while (av_read_frame(input.get(), packet.get()) >= 0) {
        packets.emplace_back(reinterpret_cast<const char*>(packet->data), packet->size);
        av_packet_unref(packet.get());
    }
    return packets;
}
