#include "emulation/audio/wav_writer.h"

#include <QtEndian>

#include <limits>

namespace audio {

namespace {

constexpr std::uint32_t kHeaderBytes = 44;
constexpr std::uint32_t kRiffBytes = kHeaderBytes - 8; ///< that the first length counts besides the data

void append16(QByteArray& bytes, std::uint16_t value)
{
    value = qToLittleEndian(value);
    bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
}

void append32(QByteArray& bytes, std::uint32_t value)
{
    value = qToLittleEndian(value);
    bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
}

} // namespace

Outcome<std::unique_ptr<WavWriter>> WavWriter::create(const QString& path, const SoundFormat& format)
{
    std::unique_ptr<WavWriter> writer(new WavWriter(path, format));
    if (!writer->m_file.open(QIODevice::WriteOnly | QIODevice::Truncate) ||
        writer->m_file.write(writer->header()) != kHeaderBytes || !writer->m_file.flush())
        return Fault{writer->failed()};
    return writer;
}

WavWriter::WavWriter(const QString& path, const SoundFormat& format) : m_file(path), m_format(format)
{}

WavWriter::~WavWriter()
{
    sync();
}

QString WavWriter::failed() const
{
    return QStringLiteral("%1 cannot be written: %2.").arg(m_file.fileName(), m_file.errorString());
}

QByteArray WavWriter::header() const
{
    constexpr std::uint16_t kPcm = 1;
    const auto frameBytes = std::uint16_t(m_format.frameBytes());
    QByteArray bytes("RIFF");
    append32(bytes, kRiffBytes + m_dataBytes);
    bytes += "WAVEfmt ";
    append32(bytes, 16); // bytes of what follows, up to "data"
    append16(bytes, kPcm);
    append16(bytes, std::uint16_t(m_format.channels));
    append32(bytes, std::uint32_t(m_format.rate));
    append32(bytes, std::uint32_t(m_format.rate) * frameBytes);
    append16(bytes, frameBytes);
    append16(bytes, 16); // bits of a sample
    bytes += "data";
    append32(bytes, m_dataBytes);
    return bytes;
}

QString WavWriter::append(const char* bytes, std::size_t count)
{
    if (count > std::numeric_limits<std::uint32_t>::max() - kRiffBytes - m_dataBytes)
        return QStringLiteral("%1 is full: a WAV file holds 4 GiB.").arg(m_file.fileName());
    if (m_file.write(bytes, qint64(count)) != qint64(count))
        return failed();
    m_dataBytes += std::uint32_t(count);
    const auto halfSecond = std::uint32_t(m_format.frameBytes() * std::size_t(m_format.rate) / 2);
    return m_dataBytes - m_saidBytes < halfSecond ? QString() : sync();
}

QString WavWriter::sync()
{
    if (m_saidBytes == m_dataBytes)
        return {};
    // The sound first: a length that the file does not hold would be worse than one that is too short.
    const bool written = m_file.flush() && m_file.seek(0) && m_file.write(header()) == kHeaderBytes && m_file.flush() &&
                         m_file.seek(m_file.size());
    if (!written)
        return failed();
    m_saidBytes = m_dataBytes;
    return {};
}

} // namespace audio
