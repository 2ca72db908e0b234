// wav_writer.h: sound into a WAV file (RIFF, PCM).
#pragma once

#include "emulation/audio/audio_kind.h"
#include "emulation/message/outcome.h"

#include <QFile>

#include <memory>

namespace audio {

/// The file can be played at any time while it grows: its lengths are written with every half second of sound, and at
/// the end.
class WavWriter
{
public:
    /// Makes the file, or empties it.
    static Outcome<std::unique_ptr<WavWriter>> create(const QString& path, const SoundFormat& format);
    ~WavWriter();

    /// Whole frames. Empty, or the sentence why no more fits; then the file keeps what it has.
    QString append(const char* bytes, std::size_t count);

    /// Has all that was appended in the file. Empty, or what went wrong.
    QString sync();

    QString path() const { return m_file.fileName(); }
    std::uint32_t dataBytes() const { return m_dataBytes; }

private:
    WavWriter(const QString& path, const SoundFormat& format);
    QByteArray header() const;
    QString failed() const;

    QFile m_file;
    const SoundFormat m_format;
    std::uint32_t m_dataBytes = 0;
    std::uint32_t m_saidBytes = 0; ///< by the header
};

} // namespace audio
