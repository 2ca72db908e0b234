// image_file.h: a file of which any part is read and written at any time: the image of a disk.
#pragma once

#include "emulation/message/outcome.h"

#include <QString>

#include <cstdint>
#include <memory>

namespace storage {

/// Positions and lengths are in bytes. Any thread, several at once.
class ImageFile
{
public:
    using Pointer = std::shared_ptr<ImageFile>;

    /// `bytes` of zeros that take no room, in the folder for large temporary files; gone with the process.
    static Outcome<Pointer> makeTemporary(std::int64_t bytes);
    /// An existing file that no other device has open: to be written where the system allows that, else to be read.
    static Outcome<Pointer> open(const QString& path);
    /// A new file, readable and writable by its owner; holes in it take no room where the file system has holes.
    static Outcome<Pointer> create(const QString& path);

    ~ImageFile();
    ImageFile(const ImageFile&) = delete;
    ImageFile& operator=(const ImageFile&) = delete;

    bool isReadOnly() const { return m_readOnly; }
    /// As it was when the file was opened or last resized here.
    std::int64_t size() const { return m_size; }
    bool resize(std::int64_t bytes);

    /// False when not all of it was read or written.
    bool read(std::int64_t position, char* to, std::int64_t length) const;
    bool write(std::int64_t position, const char* from, std::int64_t length);
    /// Waits until what was written is on the disk.
    bool flush();

    /// The first position from `position` on that is no hole; size() when there is none. Without knowledge of holes
    /// `position` itself.
    std::int64_t nextData(std::int64_t position) const;

private:
    ImageFile(std::intptr_t handle, bool readOnly, std::int64_t size)
        : m_handle(handle)
        , m_readOnly(readOnly)
        , m_size(size)
    {}

    const std::intptr_t m_handle; ///< the system's own
    const bool m_readOnly;
    std::int64_t m_size;
};

} // namespace storage
