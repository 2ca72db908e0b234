#include "capture/file/transfers.h"

#include "capture/channel/usbip_header.h"

namespace {

constexpr std::size_t kMostPending = 100'000; // more are not waited for: traffic without any reply

SubmissionTerms termsOf(const UsbIPPacketInfo& submission)
{
    return {usbip_header::word(submission.usbipHeader, usbip_header::TransferFlags),
            usbip_header::word(submission.usbipHeader, usbip_header::Interval)};
}

} // namespace

std::optional<RecordedTransfer> Transfers::recordOf(const UsbIPPacketInfo& packet)
{
    const Key key(packet.deviceId, packet.sequenceNumber);
    if (packet.isUnlink && packet.isRequest) {
        if (m_unlinked.size() < kMostPending)
            m_unlinked[key] = usbip_header::word(packet.usbipHeader, usbip_header::UnlinkedNumber);
        return std::nullopt;
    }
    if (packet.isUnlink)
        return endedBy(packet);
    if (!packet.isRequest) {
        const auto submitted = m_pending.extract(key);
        return RecordedTransfer{packet, submitted.empty() ? SubmissionTerms() : submitted.mapped().terms};
    }
    const SubmissionTerms terms = termsOf(packet);
    if (m_pending.size() < kMostPending)
        m_pending[key] = {packet.endpoint, packet.direction, packet.transferType, terms};
    return RecordedTransfer{packet, terms};
}

std::optional<RecordedTransfer> Transfers::endedBy(const UsbIPPacketInfo& unlinkReply)
{
    const auto unlinked = m_unlinked.extract(Key(unlinkReply.deviceId, unlinkReply.sequenceNumber));
    if (unlinked.empty())
        return std::nullopt;
    const auto ended = m_pending.extract(Key(unlinkReply.deviceId, unlinked.mapped()));
    if (ended.empty()) // was completed before the unlink came
        return std::nullopt;
    const auto status = static_cast<std::int32_t>(usbip_header::word(unlinkReply.usbipHeader, usbip_header::Status));
    UsbIPPacketInfo completion;
    completion.timestamp = unlinkReply.timestamp;
    completion.deviceId = unlinkReply.deviceId;
    completion.sequenceNumber = ended.key().second;
    completion.endpoint = ended.mapped().endpoint;
    completion.direction = ended.mapped().direction;
    completion.transferType = ended.mapped().transferType;
    completion.command = usbip_header::SubmitReply;
    completion.usbipHeader = usbip_header::make(completion, status);
    return RecordedTransfer{completion, ended.mapped().terms};
}
