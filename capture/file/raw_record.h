// raw_record.h: what a capture file keeps of one packet, as bytes, and how its transfers are told apart.
#pragma once

#include <QByteArray>
#include <QtEndian>

#include <cstdint>
#include <unordered_map>

/// Forms of records that are read and written (link types of pcap files).
enum LinkType : std::uint32_t
{
    UrbLink = 189,        ///< Linux, header of 48 bytes
    UrbPaddedLink = 220,  ///< Linux, header of 64 bytes
    WindowsUrbLink = 249, ///< USBPcap
};

struct RawRecord
{
    std::uint32_t linkType = UrbPaddedLink;
    QByteArray bytes;
    std::uint32_t fullSize = 0; ///< bytes that it would have with all of its data
    qint64 microseconds = 0;    ///< since the Unix epoch
    bool bigEndian = false;

    template<typename Integer>
    Integer get(int offset) const
    {
        const char* place = bytes.constData() + offset;
        return bigEndian ? qFromBigEndian<Integer>(place) : qFromLittleEndian<Integer>(place);
    }
};

template<typename Integer>
void appendInteger(QByteArray& bytes, Integer value)
{
    const int offset = bytes.size();
    bytes.resize(offset + static_cast<int>(sizeof value));
    qToLittleEndian(value, bytes.data() + offset);
}

template<typename Integer>
void putInteger(QByteArray& bytes, int offset, Integer value)
{
    qToLittleEndian(value, bytes.data() + offset);
}

/// Gives the transfers of a file sequence numbers. Their ids there are addresses that come again, so a number is taken
/// by a submission and given back by its completion.
class TransferNumbers
{
public:
    std::uint32_t ofSubmission(quint64 id)
    {
        if (m_pending.size() >= kMostPending)
            m_pending.clear(); // a file that never completes anything
        return m_pending[id] = ++m_last;
    }
    std::uint32_t ofCompletion(quint64 id)
    {
        const auto found = m_pending.find(id);
        if (found == m_pending.end())
            return ++m_last; // its submission was before the file
        const std::uint32_t number = found->second;
        m_pending.erase(found);
        return number;
    }

private:
    static constexpr std::size_t kMostPending = 1'000'000;

    std::unordered_map<quint64, std::uint32_t> m_pending;
    std::uint32_t m_last = 0;
};
