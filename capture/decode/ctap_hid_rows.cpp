#include "capture/decode/ctap_hid_rows.h"

#include "capture/decode/field_rows.h"
#include "capture/decode/hex_text.h"

namespace {

using enum FieldForm;

constexpr int kContinuationHead = 5; // bytes
constexpr int kInitializationHead = 7;
constexpr std::uint8_t kInitializationFlag = 0x80;

enum Command : std::uint8_t
{
    Init = 0x06,
    Cbor = 0x10,
    KeepAlive = 0x3B,
    Error = 0x3F,
};

constexpr NamedNumber kCommands[] = {
    {0x01, "PING"}, {0x03, "MSG"},    {0x04, "LOCK"},      {0x06, "INIT"},  {0x08, "WINK"},
    {0x10, "CBOR"}, {0x11, "CANCEL"}, {0x3B, "KEEPALIVE"}, {0x3F, "ERROR"},
};
constexpr NamedNumber kRequests[] = {
    {0x01, "authenticatorMakeCredential"}, {0x02, "authenticatorGetAssertion"},
    {0x04, "authenticatorGetInfo"},        {0x06, "authenticatorClientPIN"},
    {0x07, "authenticatorReset"},          {0x08, "authenticatorGetNextAssertion"},
    {0x09, "authenticatorBioEnrollment"},  {0x0A, "authenticatorCredentialManagement"},
    {0x0B, "authenticatorSelection"},      {0x0C, "authenticatorLargeBlobs"},
    {0x0D, "authenticatorConfig"},
};
constexpr NamedNumber kStatuses[] = {
    {0x00, "CTAP2_OK"},
    {0x01, "CTAP1_ERR_INVALID_COMMAND"},
    {0x02, "CTAP1_ERR_INVALID_PARAMETER"},
    {0x03, "CTAP1_ERR_INVALID_LENGTH"},
    {0x05, "CTAP1_ERR_TIMEOUT"},
    {0x06, "CTAP1_ERR_CHANNEL_BUSY"},
    {0x11, "CTAP2_ERR_CBOR_UNEXPECTED_TYPE"},
    {0x12, "CTAP2_ERR_INVALID_CBOR"},
    {0x14, "CTAP2_ERR_MISSING_PARAMETER"},
    {0x19, "CTAP2_ERR_CREDENTIAL_EXCLUDED"},
    {0x22, "CTAP2_ERR_INVALID_CREDENTIAL"},
    {0x26, "CTAP2_ERR_UNSUPPORTED_ALGORITHM"},
    {0x27, "CTAP2_ERR_OPERATION_DENIED"},
    {0x28, "CTAP2_ERR_KEY_STORE_FULL"},
    {0x2B, "CTAP2_ERR_UNSUPPORTED_OPTION"},
    {0x2C, "CTAP2_ERR_INVALID_OPTION"},
    {0x2D, "CTAP2_ERR_KEEPALIVE_CANCEL"},
    {0x2E, "CTAP2_ERR_NO_CREDENTIALS"},
    {0x2F, "CTAP2_ERR_USER_ACTION_TIMEOUT"},
    {0x30, "CTAP2_ERR_NOT_ALLOWED"},
    {0x31, "CTAP2_ERR_PIN_INVALID"},
    {0x32, "CTAP2_ERR_PIN_BLOCKED"},
    {0x33, "CTAP2_ERR_PIN_AUTH_INVALID"},
    {0x34, "CTAP2_ERR_PIN_AUTH_BLOCKED"},
    {0x35, "CTAP2_ERR_PIN_NOT_SET"},
    {0x36, "CTAP2_ERR_PUAT_REQUIRED"},
    {0x37, "CTAP2_ERR_PIN_POLICY_VIOLATION"},
    {0x3A, "CTAP2_ERR_ACTION_TIMEOUT"},
    {0x3B, "CTAP2_ERR_UP_REQUIRED"},
};
constexpr NamedNumber kKeepAlives[] = {{1, "processing"}, {2, "user presence needed"}};
constexpr NamedNumber kErrors[] = {
    {1, "invalid command"},  {2, "invalid parameter"},  {3, "invalid length"},
    {4, "invalid sequence"}, {5, "message timeout"},    {6, "channel busy"},
    {0x0A, "lock required"}, {0x0B, "invalid channel"}, {0x7F, "other"},
};

const char* commandName(std::uint32_t command)
{
    return nameIn<kCommands>(command & 0x7F);
}

constexpr Field kChannel[] = {{"CID", 4, BigHex}};
constexpr Field kSequence[] = {{"SEQ", 1}};
constexpr Field kMessage[] = {{"CMD", 1, Hex, commandName}, {"BCNT", 2, BigDecimal}};
constexpr Field kNonce[] = {{"Nonce", 8, Bytes}};
constexpr Field kInitReply[] = {
    {"Nonce", 8, Bytes},         {"New CID", 4, BigHex},      {"Protocol Version", 1},  {"Major Device Version", 1},
    {"Minor Device Version", 1}, {"Build Device Version", 1}, {"Capabilities", 1, Hex},
};
constexpr Field kRequest[] = {{"Command", 1, Hex, nameIn<kRequests>}};
constexpr Field kStatus[] = {{"Status", 1, Hex, nameIn<kStatuses>}};
constexpr Field kKeepAliveStatus[] = {{"Status", 1, Decimal, nameIn<kKeepAlives>}};
constexpr Field kErrorCode[] = {{"Error", 1, Hex, nameIn<kErrors>}};

/// The fields that a message of this kind begins with.
std::span<const Field> fieldsOf(std::uint8_t command, bool fromDevice)
{
    switch (command) {
    case Init:
        return fromDevice ? std::span<const Field>(kInitReply) : std::span<const Field>(kNonce);
    case Cbor:
        return fromDevice ? std::span<const Field>(kStatus) : std::span<const Field>(kRequest);
    case KeepAlive:
        return kKeepAliveStatus;
    case Error:
        return kErrorCode;
    default:
        return {};
    }
}

} // namespace

QString addCtapHid(const QByteArray& data, bool fromDevice, DetailRow& parent)
{
    if (data.size() < kContinuationHead)
        return {};
    const auto code = static_cast<std::uint8_t>(data.at(kContinuationHead - 1));
    const bool continues = (code & kInitializationFlag) == 0;
    if (!continues && data.size() < kInitializationHead)
        return {};
    DetailRow& group = parent.add(QStringLiteral("CTAPHID"), {}, {ByteSpan::Part::Data, 0, data.size()});
    FieldRows rows(data, ByteSpan::Part::Data, 0, data.size());
    rows.add(group, kChannel);
    if (continues) {
        rows.add(group, kSequence);
        rows.addRest(group, "Data");
        return QStringLiteral("CTAPHID continuation %1").arg(code);
    }
    rows.add(group, kMessage);
    const std::uint8_t command = code & 0x7F;
    const int length = static_cast<std::uint8_t>(data.at(5)) << 8 | static_cast<std::uint8_t>(data.at(6));
    FieldRows message(data, ByteSpan::Part::Data, kInitializationHead,
                      std::min(data.size(), kInitializationHead + length));
    const char* name = commandName(code);
    QString text = QStringLiteral("CTAPHID %1").arg(name ? QString(QLatin1String(name)) : hexNumber(command, 2));
    const std::span<const Field> fields = fieldsOf(command, fromDevice);
    const char* first =
        fields.empty() || !fields[0].nameOf || length == 0 ? nullptr : fields[0].nameOf(message.peek(0, 1));
    if (first)
        text += QStringLiteral(" %1").arg(QLatin1String(first));
    message.add(group, fields);
    message.addRest(group, "Data");
    return text;
}
