#include "emulation/storage/medium.h"

#include <QFileInfo>

namespace storage {

Outcome<Medium::Pointer> Medium::makeFat32(int mebibytes, const Fat32Identity& identity)
{
    const auto layout = Fat32Layout::ofSize(mebibytes);
    if (!layout)
        return Fault{layout.fault()};
    const auto image = ImageFile::makeTemporary(std::int64_t(mebibytes) << 20);
    if (!image)
        return Fault{image.fault()};
    if (!writeFat32(*image.value(), layout.value(), identity))
        return Fault{QStringLiteral("The file of the disk cannot be written.")};
    return Pointer(new Medium(image.value(), {}));
}

Outcome<Medium::Pointer> Medium::fromFile(const QString& path)
{
    const auto image = ImageFile::open(path);
    if (!image)
        return Fault{image.fault()};
    if (image.value()->size() < kBlockSize)
        return Fault{QStringLiteral("%1 is smaller than a block of %2 bytes.").arg(path).arg(kBlockSize)};
    return Pointer(new Medium(image.value(), QFileInfo(path).canonicalFilePath()));
}

bool Medium::write(std::int64_t position, const char* from, std::int64_t length)
{
    if (const auto copy = m_copy.lock())
        copy->preserve(position, length);
    return m_image->write(position, from, length);
}

std::shared_ptr<ImageCopy> Medium::beginCopy(ImageFile::Pointer to)
{
    auto copy = std::make_shared<ImageCopy>(m_image, std::move(to));
    m_copy = copy;
    return copy;
}

} // namespace storage
