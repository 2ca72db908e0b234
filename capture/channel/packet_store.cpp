#include "capture/channel/packet_store.h"

#include "capture/channel/line_names.h"
#include "capture/channel/log.h"
#include "capture/channel/page_memory.h"

#include <QThreadPool>

#include <algorithm>
#include <cstring>
#include <new>

namespace {

constexpr std::size_t kPageSize = 512 * 1024; // bytes; a packet that is larger has a page of its own
constexpr std::size_t kPlaceSize = sizeof(std::uint32_t);
constexpr std::size_t kMostNoted = 100'000; // requests

/// Where the place of a page's packet is kept: a uint32 each, from the page's end towards its front.
std::size_t slotOf(std::uint32_t capacity, std::size_t index)
{
    return capacity - (index + 1) * kPlaceSize;
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

/// To give half a gigabyte back takes the system 50 ms, which no window is to feel.
PacketStore::~PacketStore()
{
    constexpr std::size_t kManyPages = 32;
    if (m_pages.size() > kManyPages)
        QThreadPool::globalInstance()->start([pages = std::move(m_pages)]() mutable { pages.clear(); });
}

void PacketStore::append(const UsbIPPacketInfo& packet)
{
    const PackedPacket packed(packet);
    const std::size_t size = packed.size();
    if (static_cast<std::size_t>(m_free.end - m_free.begin) < size + kPlaceSize)
        openPage(size);
    const auto place = static_cast<std::uint32_t>(m_free.begin - m_pageBegin);
    packed.write(m_free.begin);
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
    page.capacity = static_cast<std::uint32_t>(std::max(kPageSize, packetSize + kPlaceSize));
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
    PacketView view = PackedPacket::read(bytes + place, m_header);
    view.number = number;
    return view;
}
