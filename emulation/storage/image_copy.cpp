#include "emulation/storage/image_copy.h"

#include <algorithm>

namespace storage {

ImageCopy::ImageCopy(ImageFile::Pointer from, ImageFile::Pointer to)
    : m_from(std::move(from))
    , m_to(std::move(to))
    , m_size(m_from->size())
    , m_copied(std::size_t((m_size + kPiece - 1) / kPiece))
    , m_buffer(kPiece)
{
    m_failed = !m_to->resize(m_size);
}

void ImageCopy::preserve(std::int64_t position, std::int64_t length)
{
    const std::int64_t end = std::min(position + length, m_size);
    const std::lock_guard lock(m_lock);
    for (std::int64_t piece = position / kPiece; piece * kPiece < end && !m_failed && !m_givenUp; ++piece)
        m_failed = !copyPiece(std::size_t(piece));
}

bool ImageCopy::run()
{
    std::int64_t position = 0;
    while (position < m_size && !m_givenUp) {
        const std::lock_guard lock(m_lock);
        if (m_failed)
            return false;
        const std::int64_t data = m_from->nextData(position);
        // Pieces up to there are holes. What is written into them from now on does not belong to the copy.
        const std::int64_t piece = data / kPiece;
        if (data < m_size)
            m_failed = !copyPiece(std::size_t(piece));
        position = (piece + 1) * kPiece;
    }
    const std::lock_guard lock(m_lock);
    return !m_failed && !m_givenUp;
}

bool ImageCopy::copyPiece(std::size_t piece)
{
    if (m_copied[piece])
        return true;
    m_copied[piece] = true;
    const std::int64_t start = std::int64_t(piece) * kPiece;
    const std::int64_t length = std::min(kPiece, m_size - start);
    if (m_from->nextData(start) >= start + length)
        return true;
    return m_from->read(start, m_buffer.data(), length) && m_to->write(start, m_buffer.data(), length);
}

} // namespace storage
