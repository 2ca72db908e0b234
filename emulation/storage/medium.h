// medium.h: what lies in the drive: blocks in a file, which can be copied while a host writes them.
#pragma once

#include "emulation/storage/fat32_volume.h"
#include "emulation/storage/image_copy.h"
#include "emulation/storage/image_file.h"

#include <QString>

#include <memory>

namespace storage {

/// Positions and lengths are in bytes, within byteCount().
class Medium
{
public:
    using Pointer = std::shared_ptr<Medium>;

    /// A disk of its own with an empty FAT32 volume, gone with the process.
    static Outcome<Pointer> makeFat32(int mebibytes, const Fat32Identity& identity);
    /// A file of the user's, in whole blocks; a rest behind the last is left alone.
    static Outcome<Pointer> fromFile(const QString& path);

    /// Empty: the disk that was made.
    const QString& path() const { return m_path; }
    std::uint64_t blockCount() const { return m_blocks; }
    std::int64_t byteCount() const { return std::int64_t(m_blocks) * kBlockSize; }
    bool isReadOnly() const { return m_image->isReadOnly(); }
    /// Whether anyone could miss, after the machine stopped, what is not on its disk yet.
    bool needsFlush() const { return !m_path.isEmpty() && !isReadOnly(); }

    bool read(std::int64_t position, char* to, std::int64_t length) const
    {
        return m_image->read(position, to, length);
    }
    bool write(std::int64_t position, const char* from, std::int64_t length);
    bool flush() { return m_image->flush(); }

    /// From now on a copy of what the medium holds at this moment can be taken with `ImageCopy::run`, on any thread,
    /// while the medium is written.
    std::shared_ptr<ImageCopy> beginCopy(ImageFile::Pointer to);

private:
    Medium(ImageFile::Pointer image, QString path)
        : m_image(std::move(image))
        , m_path(std::move(path))
        , m_blocks(std::uint64_t(m_image->size()) / kBlockSize)
    {}

    const ImageFile::Pointer m_image;
    const QString m_path;
    const std::uint64_t m_blocks;
    std::weak_ptr<ImageCopy> m_copy; ///< gone once it is made or given up
};

} // namespace storage
