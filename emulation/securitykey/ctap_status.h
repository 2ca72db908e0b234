// ctap_status.h: how a CTAP 2 command ended (CTAP 2.1, section 8.2).
#pragma once

#include <cstdint>

namespace ctap {

enum class Status : std::uint8_t
{
    Ok = 0x00,
    InvalidCommand = 0x01,
    InvalidParameter = 0x02,
    InvalidLength = 0x03,
    UnexpectedType = 0x11,
    InvalidCbor = 0x12,
    MissingParameter = 0x14,
    CredentialExcluded = 0x19,
    UnsupportedAlgorithm = 0x26,
    OperationDenied = 0x27,
    KeyStoreFull = 0x28,
    UnsupportedOption = 0x2B,
    InvalidOption = 0x2C,
    KeepAliveCancel = 0x2D,
    NoCredentials = 0x2E,
    UserActionTimeout = 0x2F,
    NotAllowed = 0x30,
    PinInvalid = 0x31,
    PinBlocked = 0x32,
    PinAuthInvalid = 0x33,
    PinAuthBlocked = 0x34,
    PinNotSet = 0x35,
    PinUvAuthTokenRequired = 0x36,
    PinPolicyViolation = 0x37,
    InvalidSubcommand = 0x3E,
    UnauthorizedPermission = 0x40,
    Other = 0x7F
};

} // namespace ctap
