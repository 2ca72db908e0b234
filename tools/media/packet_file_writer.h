// packet_file_writer.h: writes the packets of a chain into a media file.
#pragma once

#include "tools/media/counting_sink.h"

#include <QString>

/// The container is the one that the file's name says. The file is opened with the first packet, whose in-band headers
/// tell what the container must know.
class PacketFileWriter final : public CountingSink
{
public:
    explicit PacketFileWriter(const QString& path) : m_path(path) {}

    /// What the packets are and the unit of their time stamps; before the first packet.
    void setStream(const AVCodecParameters& parameters, AVRational timeBase);

    bool pushPacket(AVPacket* packet) override;

    /// Completes the file; false when anything could not be written or there was no packet.
    bool finish();

    QString error() const { return m_error; }

private:
    bool open(const AVPacket& first);
    bool fail(int code);

    const QString m_path;
    ffmpeg::CodecParameters m_parameters;
    AVRational m_timeBase = {1, 30};
    ffmpeg::OutputContext m_context;
    QString m_error;
};
