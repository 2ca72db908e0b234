#include "tools/media/wav_writer.h"

#include <QDataStream>

namespace {

constexpr int kHeaderBytes = 44;
constexpr qint64 kMaxDataBytes = 0xffffffffLL - kHeaderBytes; // The header counts in 32 bits.
constexpr int kBytesPerSample = 2;

} // namespace

WavWriter::WavWriter(QIODevice& device, int channels, int sampleRate)
    : m_device(device)
    , m_channels(channels)
    , m_sampleRate(sampleRate)
{
    writeHeader(0);
}

bool WavWriter::fail(const QString& reason)
{
    if (m_error.isEmpty())
        m_error = reason;
    return false;
}

bool WavWriter::writeHeader(quint32 dataBytes)
{
    QByteArray header;
    QDataStream stream(&header, QIODevice::WriteOnly);
    stream.setByteOrder(QDataStream::LittleEndian);
    const int frameBytes = m_channels * kBytesPerSample;
    stream.writeRawData("RIFF", 4);
    stream << quint32(dataBytes + kHeaderBytes - 8);
    stream.writeRawData("WAVEfmt ", 8);
    stream << quint32(16) << quint16(1) << quint16(m_channels) << quint32(m_sampleRate)
           << quint32(m_sampleRate * frameBytes) << quint16(frameBytes) << quint16(8 * kBytesPerSample);
    stream.writeRawData("data", 4);
    stream << dataBytes;
    return m_device.write(header) == header.size() || fail(m_device.errorString());
}

bool WavWriter::pushFrame(AVFrame* frame)
{
    if (!m_error.isEmpty())
        return false;
    CountingSink::pushFrame(frame);
    const qint64 length = qint64(frame->nb_samples) * m_channels * kBytesPerSample;
    if (m_dataBytes + length > kMaxDataBytes)
        return fail(QStringLiteral("a WAV file holds no more than 4 GiB"));
    const qint64 written = m_device.write(reinterpret_cast<const char*>(frame->data[0]), length);
    m_dataBytes += qMax<qint64>(written, 0);
    return written == length || fail(m_device.errorString());
}

bool WavWriter::finish()
{
    // The header tells what there is, also after a failure.
    if (!m_device.seek(0))
        return fail(m_device.errorString());
    return writeHeader(static_cast<quint32>(m_dataBytes)) && m_error.isEmpty();
}
