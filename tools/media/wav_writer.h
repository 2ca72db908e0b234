// wav_writer.h: writes the sound of a chain as a WAV stream (RIFF, 16-bit PCM).
#pragma once

#include "tools/media/counting_sink.h"

#include <QIODevice>
#include <QString>

/// The header's sizes are right after finish() only. A full medium refuses the next sound.
class WavWriter final : public CountingSink
{
public:
    /// `device` is open for writing, seekable, and outlives the writer. Sound must have this shape and 16 bits.
    WavWriter(QIODevice& device, int channels, int sampleRate);

    bool pushFrame(AVFrame* frame) override;

    /// Completes the header; false when anything could not be written.
    bool finish();

    /// For people; empty while all went well.
    QString error() const { return m_error; }

private:
    bool writeHeader(quint32 dataBytes);
    bool fail(const QString& reason);

    QIODevice& m_device;
    const int m_channels;
    const int m_sampleRate;
    qint64 m_dataBytes = 0;
    QString m_error;
};
