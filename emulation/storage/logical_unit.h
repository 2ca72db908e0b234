// logical_unit.h: the SCSI disk behind the transport: SPC-4 and SBC-3 as far as hosts ask.
#pragma once

#include "emulation/storage/command_block.h"
#include "emulation/storage/medium.h"
#include "emulation/storage/scsi_pages.h"
#include "emulation/storage/sense.h"

#include <QByteArray>

#include <cstdint>
#include <functional>

namespace storage {

/// What a command moves, as the device understands it.
struct DataPhase
{
    enum class Direction
    {
        None,
        In, ///< to the host
        Out
    };
    Direction direction = Direction::None;
    std::uint64_t length = 0; ///< bytes
};

/// One command at a time: begin(), read() or write() for its data, finish(); or abandon() in between.
class LogicalUnit
{
public:
    using Flushed = std::function<void(bool)>;
    /// Brings a medium's bytes to its disk without holding up the caller, then calls, on the caller's thread.
    using Flush = std::function<void(const Medium::Pointer&, Flushed)>;
    /// Whether the command succeeded; if not, the host asks for the sense.
    using Finished = std::function<void(bool)>;

    LogicalUnit(UnitIdentity identity, Medium::Pointer medium, Flush flush);

    DataPhase begin(const CommandBlock& block);
    /// A command for a unit that the device has not got.
    DataPhase beginUnknownUnit();
    /// The next bytes of the phase; false ends it: the command fails.
    bool read(char* to, std::int64_t length);
    bool write(const char* from, std::int64_t length);
    /// The host ended the data before their time.
    void cutShort() { fail(kDataCutShort); }
    /// Calls at once, or later unless the command is abandoned or another begins.
    void finish(Finished finished);
    void abandon() { ++m_generation; }
    /// As after power-on; what is in the drive stays.
    void powerOn();

    /// Never null; the host sees it unless it is ejected.
    const Medium::Pointer& medium() const { return m_medium; }
    bool isEjected() const { return m_ejected; }
    /// By the host, as long as it uses the medium.
    bool isLocked() const { return m_locked; }
    void eject();
    void insert(Medium::Pointer medium);

    std::uint64_t blocksRead() const { return m_bytesRead / kBlockSize; }
    std::uint64_t blocksWritten() const { return m_bytesWritten / kBlockSize; }

private:
    struct Command;
    static const Command* find(std::uint8_t operation);

    DataPhase testUnitReady(const CommandBlock& block);
    DataPhase requestSense(const CommandBlock& block);
    DataPhase inquiry(const CommandBlock& block);
    DataPhase modeSense(const CommandBlock& block);
    DataPhase modeSelect(const CommandBlock& block);
    DataPhase startStop(const CommandBlock& block);
    DataPhase preventRemoval(const CommandBlock& block);
    DataPhase readFormatCapacities(const CommandBlock& block);
    DataPhase readCapacity(const CommandBlock& block);
    DataPhase readCapacity16(const CommandBlock& block);
    DataPhase readBlocks(const CommandBlock& block);
    DataPhase writeBlocks(const CommandBlock& block);
    DataPhase verify(const CommandBlock& block);
    DataPhase synchronize(const CommandBlock& block);
    DataPhase reportUnits(const CommandBlock& block);

    DataPhase fail(const Sense& sense);
    /// At most `allocated` bytes of `data`.
    DataPhase answer(const QByteArray& data, std::uint64_t allocated);
    /// Sets the position, or fails when the blocks are not all there.
    bool locate(const BlockRange& range);
    void selectModes();
    std::uint64_t currentBlock() const { return std::uint64_t(m_position) / kBlockSize; }

    const UnitIdentity m_identity;
    const Flush m_flush;
    Medium::Pointer m_medium;
    bool m_ejected = false;
    bool m_stopped = false;
    bool m_locked = false;
    bool m_writeCache = true;
    Sense m_sense;                ///< of the last command
    Sense m_attention = kPowerOn; ///< to be told once

    // The command at hand.
    int m_generation = 0;
    Medium::Pointer m_target; ///< what was in the drive when it began
    bool m_failed = false;
    bool m_flushes = false; ///< is done only when its medium's bytes are on the disk
    QByteArray m_data;      ///< to the host, or of a parameter list from it
    bool m_selectsModes = false;
    int m_selectHeader = 0;      ///< bytes of the parameter list's header
    bool m_movesBlocks = false;  ///< else m_data
    std::int64_t m_position = 0; ///< in the medium or in m_data

    std::uint64_t m_bytesRead = 0;
    std::uint64_t m_bytesWritten = 0;
};

} // namespace storage
