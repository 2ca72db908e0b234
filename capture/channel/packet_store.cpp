#include "capture/channel/packet_store.h"

#include "capture/channel/line_names.h"
#include "capture/channel/log.h"
#include "capture/channel/page_memory.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace {

constexpr std::size_t kPageSize = 512 * 1024; // bytes; a packet that is larger has a page of its own
constexpr std::size_t kAlignment = 8;
constexpr std::size_t kPlaceSize = sizeof(std::uint32_t);
constexpr std::size_t kMostNoted = 100'000; // requests

/// The fixed part of a packet in a page; its texts and bytes follow in the order of their sizes here.
struct Head
{
    std::int64_t timestamp;
    std::uint32_t deviceId;
    std::uint32_t sequenceNumber;
    std::uint32_t transferLength;
    std::uint32_t infoSize;
    std::uint32_t detailsSize;
    std::uint32_t dataSize;
    std::uint32_t setupSize;
    std::uint32_t headerSize;
    bool isRequest;
    bool isUnlink;
    std::uint8_t endpoint;
    std::uint8_t direction;
    std::uint8_t command;
    std::uint8_t transferType;
};

/// Where the place of a page's packet is kept: a uint32 each, from the page's end towards its front.
std::size_t slotOf(std::uint32_t capacity, std::size_t index)
{
    return capacity - (index + 1) * kPlaceSize;
}

std::size_t aligned(std::size_t size)
{
    return (size + kAlignment - 1) / kAlignment * kAlignment;
}

template<typename Bytes>
void put(char*& end, const Bytes& bytes)
{
    std::memcpy(end, bytes.constData(), static_cast<std::size_t>(bytes.size()));
    end += bytes.size();
}

QByteArray copied(std::string_view bytes)
{
    return {bytes.data(), static_cast<int>(bytes.size())};
}

QByteArray borrowed(std::string_view bytes)
{
    return bytes.empty() ? QByteArray() : QByteArray::fromRawData(bytes.data(), static_cast<int>(bytes.size()));
}

QString textOf(std::string_view bytes)
{
    return QString::fromUtf8(bytes.data(), static_cast<int>(bytes.size()));
}

UsbIPPacketInfo withoutBytes(const PacketView& view)
{
    UsbIPPacketInfo packet;
    packet.timestamp = view.timestamp;
    packet.deviceId = view.deviceId;
    packet.sequenceNumber = view.sequenceNumber;
    packet.isRequest = view.isRequest;
    packet.isUnlink = view.isUnlink;
    packet.endpoint = view.endpoint;
    packet.direction = view.direction;
    packet.command = view.command;
    packet.transferLength = view.transferLength;
    packet.transferType = view.transferType;
    packet.protocolInfo = textOf(view.protocolInfo);
    packet.parsedDetails = textOf(view.parsedDetails);
    return packet;
}

bool isToBeNoted(const UsbIPPacketInfo& packet)
{
    constexpr char kSetConfiguration = 9;
    constexpr char kSetInterface = 11;
    constexpr char kConfiguration = 2; // type of descriptor
    constexpr char kReport = 0x22;
    if (packet.transferType != ControlTransfer || !packet.isRequest || packet.setupData.size() < 8 ||
        request_type::type(static_cast<std::uint8_t>(packet.setupData.at(0))) != 0)
        return false;
    const char type = packet.setupData.at(3);
    return packet.setupData.at(1) == kSetInterface || packet.setupData.at(1) == kSetConfiguration ||
           (packet.setupData.at(1) == kGetDescriptor && (type == kConfiguration || type == kReport));
}

} // namespace

UsbIPPacketInfo PacketView::copy() const
{
    UsbIPPacketInfo packet = withoutBytes(*this);
    packet.data = copied(data);
    packet.setupData = copied(setupData);
    packet.usbipHeader = copied(usbipHeader);
    return packet;
}

UsbIPPacketInfo PacketView::borrow() const
{
    UsbIPPacketInfo packet = withoutBytes(*this);
    packet.data = borrowed(data);
    packet.setupData = borrowed(setupData);
    packet.usbipHeader = borrowed(usbipHeader);
    return packet;
}

void PacketStore::append(const UsbIPPacketInfo& packet)
{
    const QByteArray info = packet.protocolInfo.isEmpty() ? QByteArray() : packet.protocolInfo.toUtf8();
    const QByteArray details = packet.parsedDetails.isEmpty() ? QByteArray() : packet.parsedDetails.toUtf8();
    const auto sizeOf = [](const QByteArray& bytes) { return static_cast<std::uint32_t>(bytes.size()); };
    const Head head{packet.timestamp,
                    packet.deviceId,
                    packet.sequenceNumber,
                    packet.transferLength,
                    sizeOf(info),
                    sizeOf(details),
                    sizeOf(packet.data),
                    sizeOf(packet.setupData),
                    sizeOf(packet.usbipHeader),
                    packet.isRequest,
                    packet.isUnlink,
                    packet.endpoint,
                    packet.direction,
                    packet.command,
                    packet.transferType};
    const std::size_t size =
        aligned(sizeof head + head.infoSize + head.detailsSize + head.dataSize + head.setupSize + head.headerSize);
    if (static_cast<std::size_t>(m_free.end - m_free.begin) < size + kPlaceSize)
        openPage(size);
    const auto place = static_cast<std::uint32_t>(m_free.begin - m_pageBegin);
    char* end = m_free.begin;
    std::memcpy(end, &head, sizeof head);
    end += sizeof head;
    put(end, info);
    put(end, details);
    put(end, packet.data);
    put(end, packet.setupData);
    put(end, packet.usbipHeader);
    m_free.begin += size;
    m_free.end -= kPlaceSize;
    std::memcpy(m_free.end, &place, kPlaceSize);
    if (isToBeNoted(packet))
        noteNext();
    m_size.store(m_size.load(std::memory_order_relaxed) + 1, std::memory_order_release);
}

void PacketStore::noteNext()
{
    const std::lock_guard lock(m_mutex);
    if (m_notedRequests.size() >= kMostNoted)
        return;
    try {
        m_notedRequests.push_back(static_cast<std::uint32_t>(m_size));
    } catch (const std::bad_alloc&) {
        // The packet is there already; only the names of its device's interfaces are missing.
    }
}

void PacketStore::openPage(std::size_t packetSize)
{
    Page page;
    page.first = m_size;
    const std::size_t needed = aligned(packetSize + kPlaceSize);
    page.capacity = static_cast<std::uint32_t>(std::max(kPageSize, needed));
    page.bytes = pageMemory(page.capacity);
    const FreeSpace free{page.bytes.get(), page.bytes.get() + page.capacity};
    const std::lock_guard lock(m_mutex);
    m_pages.push_back(std::move(page)); // nothing has changed when there is no memory for it
    m_pageBegin = free.begin;
    m_free = free;
    m_memory += m_pages.back().capacity;
    keepBudget();
}

/// The page that is written to stays in memory.
void PacketStore::keepBudget()
{
    while (m_memory + m_memoryBeside > m_budget && m_firstInMemory + 1 < m_pages.size() && m_file.error().isEmpty()) {
        Page& page = m_pages[m_firstInMemory];
        page.filePosition = m_file.write(page.bytes.get(), page.capacity);
        if (page.filePosition < 0) {
            qCWarning(captureLog) << "Packets stay in memory beyond its budget:" << m_file.error();
            return;
        }
        page.bytes.reset(); // who reads it at the moment holds it too
        m_memory -= page.capacity;
        ++m_firstInMemory;
    }
}

std::size_t PacketStore::size() const
{
    return m_size.load(std::memory_order_acquire);
}

std::vector<std::uint32_t> PacketStore::notedRequests(std::size_t known) const
{
    const std::lock_guard lock(m_mutex);
    return {m_notedRequests.begin() + static_cast<std::ptrdiff_t>(std::min(known, m_notedRequests.size())),
            m_notedRequests.end()};
}

UsbIPPacketInfo PacketStore::at(std::size_t number) const
{
    // A reader holds its store; this one ends before the store does.
    return PacketReader(std::shared_ptr<const PacketStore>(std::shared_ptr<void>(), this)).read(number).copy();
}

PacketStore::Usage PacketStore::usage() const
{
    const std::lock_guard lock(m_mutex);
    return {m_memory + m_memoryBeside, m_file.size(), m_file.error()};
}

void PacketStore::setMemoryBeside(qint64 bytes)
{
    const std::lock_guard lock(m_mutex);
    m_memoryBeside = bytes;
}

/// The page with its bytes, which are read from the file when they are there; null when that fails.
PacketStore::ReadPage PacketStore::pageOf(std::size_t number) const
{
    const std::lock_guard lock(m_mutex);
    const auto after = std::upper_bound(m_pages.begin(), m_pages.end(), number,
                                        [](std::size_t wanted, const Page& page) { return wanted < page.first; });
    const std::size_t end = after == m_pages.end() ? size() : after->first;
    ReadPage read{*std::prev(after), 0};
    read.count = end - read.page.first;
    if (read.page.bytes)
        return read;
    auto bytes = std::make_shared_for_overwrite<char[]>(read.page.capacity);
    if (m_file.read(read.page.filePosition, bytes.get(), read.page.capacity))
        read.page.bytes = std::move(bytes);
    else
        qCWarning(captureLog) << "Packets of the temporary file cannot be read";
    return read;
}

PacketView PacketReader::read(std::size_t number)
{
    const PacketStore::Page& page = m_read.page;
    if (!page.bytes || number < page.first || number - page.first >= m_read.count)
        m_read = m_store->pageOf(number);
    if (!page.bytes)
        return {};
    const char* bytes = page.bytes.get();
    std::uint32_t place = 0;
    std::memcpy(&place, bytes + slotOf(page.capacity, number - page.first), sizeof place);
    Head head;
    std::memcpy(&head, bytes + place, sizeof head);
    const char* part = bytes + place + sizeof head;
    const auto take = [&part](std::uint32_t size) { return std::string_view(std::exchange(part, part + size), size); };
    PacketView view{head.timestamp,
                    head.deviceId,
                    head.sequenceNumber,
                    head.transferLength,
                    head.isRequest,
                    head.isUnlink,
                    head.endpoint,
                    head.direction,
                    head.command,
                    head.transferType,
                    {},
                    {},
                    {},
                    {},
                    {}};
    view.protocolInfo = take(head.infoSize);
    view.parsedDetails = take(head.detailsSize);
    view.data = take(head.dataSize);
    view.setupData = take(head.setupSize);
    view.usbipHeader = take(head.headerSize);
    return view;
}
