// sense.h: why a command failed (SPC-4, 4.5).
#pragma once

#include <QByteArray>

#include <cstdint>
#include <optional>

namespace storage {

enum class SenseKey : std::uint8_t
{
    NoSense = 0x0,
    NotReady = 0x2,
    MediumError = 0x3,
    IllegalRequest = 0x5,
    UnitAttention = 0x6,
    DataProtect = 0x7,
    AbortedCommand = 0xB
};

struct Sense
{
    SenseKey key = SenseKey::NoSense;
    std::uint16_t code = 0;                        ///< additional sense code, and its qualifier in the low byte
    std::optional<std::uint32_t> information = {}; ///< the first block that it is about

    /// The same for a block; a number that does not fit is left out.
    Sense at(std::uint64_t block) const
    {
        Sense sense = *this;
        if (block <= UINT32_MAX)
            sense.information = std::uint32_t(block);
        return sense;
    }

    bool operator==(const Sense& other) const
    {
        return key == other.key && code == other.code && information == other.information;
    }
};

constexpr Sense kNoSense{};
constexpr Sense kNoMedium{SenseKey::NotReady, 0x3A00};
constexpr Sense kStopped{SenseKey::NotReady, 0x0402};
constexpr Sense kWriteFault{SenseKey::MediumError, 0x0C00};
constexpr Sense kReadFault{SenseKey::MediumError, 0x1100};
constexpr Sense kParameterListLength{SenseKey::IllegalRequest, 0x1A00};
constexpr Sense kUnknownCommand{SenseKey::IllegalRequest, 0x2000};
constexpr Sense kOutOfRange{SenseKey::IllegalRequest, 0x2100};
constexpr Sense kInvalidField{SenseKey::IllegalRequest, 0x2400};
constexpr Sense kUnknownUnit{SenseKey::IllegalRequest, 0x2500};
constexpr Sense kInvalidParameter{SenseKey::IllegalRequest, 0x2600};
constexpr Sense kSavingNotSupported{SenseKey::IllegalRequest, 0x3900};
constexpr Sense kRemovalPrevented{SenseKey::IllegalRequest, 0x5302};
constexpr Sense kMediumChanged{SenseKey::UnitAttention, 0x2800};
constexpr Sense kPowerOn{SenseKey::UnitAttention, 0x2900};
constexpr Sense kWriteProtected{SenseKey::DataProtect, 0x2700};
constexpr Sense kDataCutShort{SenseKey::AbortedCommand, 0x4B00};

/// Fixed format, 18 bytes.
QByteArray senseData(const Sense& sense);

} // namespace storage
