// transfers.h: which packets become records of a capture file.
#pragma once

#include "capture/channel/capture_types.h"

#include <cstdint>
#include <map>
#include <optional>
#include <utility>

/// What the submission of a transfer says that its completion does not; a record of either has it.
struct SubmissionTerms
{
    std::uint32_t flags = 0;    ///< URB_* of Linux
    std::uint32_t interval = 0; ///< as Linux counts it
};

struct RecordedTransfer
{
    UsbIPPacketInfo packet; ///< submission or completion
    SubmissionTerms terms;  ///< none when the submission was not seen
};

/// Records know submissions and completions only. An unlink that ends a transfer becomes the completion of that one,
/// with the status that its reply has; the unlink command itself, and the reply of one that came too late, become none.
/// Fed with all packets in their order.
class Transfers
{
public:
    /// The submission or completion that is to be recorded for this packet; nothing when there is none.
    std::optional<RecordedTransfer> recordOf(const UsbIPPacketInfo& packet);

private:
    using Key = std::pair<std::uint32_t, std::uint32_t>; // device id, sequence number
    struct Pending
    {
        std::uint8_t endpoint;
        std::uint8_t direction;
        std::uint8_t transferType;
        SubmissionTerms terms;
    };

    std::optional<RecordedTransfer> endedBy(const UsbIPPacketInfo& unlinkReply);

    std::map<Key, Pending> m_pending;
    std::map<Key, std::uint32_t> m_unlinked; // by the unlink command: the sequence number that it names
};
