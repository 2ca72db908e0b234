// packet_store.h: the packets of one capture, in order of arrival.
#pragma once

#include "capture/channel/packed_packet.h"
#include "capture/channel/spill_file.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

/// Packets are bytes in pages of half a megabyte, about 36 bytes beside what a packet carries (PackedPacket). They are
/// never changed or removed. Pages beyond the budget of memory go to a temporary file, oldest first, and come back when
/// they are read.
///
/// One thread appends. Any thread may read what was there when it asked for the size, by a PacketReader of its own.
class PacketStore
{
public:
    static constexpr qint64 kDefaultBudget = 512 * 1024 * 1024; ///< bytes

    explicit PacketStore(qint64 budget = kDefaultBudget) : m_budget(budget) {}
    ~PacketStore();
    PacketStore(const PacketStore&) = delete;
    PacketStore& operator=(const PacketStore&) = delete;

    /// Throws std::bad_alloc; the packets before it are as they were then.
    void append(const UsbIPPacketInfo& packet);
    std::size_t size() const;
    /// A copy; `number` is below size().
    UsbIPPacketInfo at(std::size_t number) const;

    /// Numbers of the requests that tell of a device's interfaces: for configurations and report descriptors, and those
    /// that choose configurations and alternate settings. Of these, the ones behind the first `known`; at most 100,000
    /// are noted.
    std::vector<std::uint32_t> notedRequests(std::size_t known) const;

    struct Usage
    {
        qint64 memory = 0; ///< bytes, with those beside the store
        qint64 file = 0;   ///< bytes that were moved to the temporary file
        QString fileError; ///< why nothing more goes there; everything is kept in memory then
    };
    Usage usage() const;
    /// What others keep in memory for each of the packets, in bytes altogether; it counts against the budget.
    void setMemoryBeside(qint64 bytes);
    qint64 budget() const { return m_budget; }

private:
    friend class PacketReader;

    using Bytes = std::shared_ptr<char[]>;

    struct Page
    {
        std::size_t first = 0;      // number of its first packet
        std::uint32_t capacity = 0; // bytes; places of the packets grow from the end
        Bytes bytes;                // null while it is in the file
        qint64 filePosition = -1;   // bytes
    };
    /// A page and how many packets it has at the moment.
    struct ReadPage
    {
        Page page;
        std::size_t count = 0;
    };

    /// The part of the last page that is free. It is the appending thread's alone: what is written there becomes
    /// others' when m_size counts it, so packets need no lock.
    struct FreeSpace
    {
        char* begin = nullptr;
        char* end = nullptr; // places of the packets lie behind it
    };

    void openPage(std::size_t packetSize);
    void keepBudget();
    ReadPage pageOf(std::size_t number) const;
    void noteNext();

    FreeSpace m_free;
    char* m_pageBegin = nullptr; // of the last page
    std::atomic<std::size_t> m_size{0};

    mutable std::mutex m_mutex; // guards all that follows
    std::vector<Page> m_pages;
    std::vector<std::uint32_t> m_notedRequests;
    const qint64 m_budget;
    qint64 m_memory = 0;             // bytes of pages in memory
    qint64 m_memoryBeside = 0;       // bytes
    std::size_t m_firstInMemory = 0; // page
    mutable SpillFile m_file;
};

/// Reads packets in any order; neighbours cost little. For one thread.
class PacketReader
{
public:
    explicit PacketReader(std::shared_ptr<const PacketStore> store) : m_store(std::move(store)) {}

    const PacketStore& store() const { return *m_store; }
    /// `number` is below the store's size. Without its bytes when the temporary file cannot be read.
    PacketView read(std::size_t number);

private:
    std::shared_ptr<const PacketStore> m_store;
    PacketStore::ReadPage m_read;
    PackedPacket::HeaderBytes m_header{}; // of the last view
};
