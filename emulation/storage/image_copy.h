// image_copy.h: a copy of an image as it was at one moment, made while the image goes on being written.
#pragma once

#include "emulation/storage/image_file.h"

#include <atomic>
#include <mutex>
#include <vector>

namespace storage {

/// Copies in pieces. Whoever is about to overwrite a piece that is not copied yet copies it first, so nobody waits for
/// more than the pieces that it writes itself. Holes stay holes.
class ImageCopy
{
public:
    static constexpr std::int64_t kPiece = 64 * 1024; ///< bytes

    /// The image is copied in its whole size, as it is now.
    ImageCopy(ImageFile::Pointer from, ImageFile::Pointer to);

    /// Must be called before these bytes of the image are overwritten. Any thread.
    void preserve(std::int64_t position, std::int64_t length);

    /// Copies what is left; blocks until then. Any thread, once. False when something could not be read or written, or
    /// after giveUp().
    bool run();
    void giveUp() { m_givenUp = true; }

private:
    /// Under the lock.
    bool copyPiece(std::size_t piece);

    const ImageFile::Pointer m_from;
    const ImageFile::Pointer m_to;
    const std::int64_t m_size;
    std::atomic<bool> m_givenUp = false;
    std::mutex m_lock;
    std::vector<bool> m_copied; ///< a piece each
    std::vector<char> m_buffer;
    bool m_failed = false;
};

} // namespace storage
