// credential_entities.h: a credential as a host is told of it (WebAuthn, 5.8.3 and 5.4.3).
#pragma once

#include "emulation/securitykey/credential.h"

#include <QCborMap>

namespace ctap {

/// PublicKeyCredentialDescriptor.
QCborMap descriptorOf(const Credential& credential);

/// PublicKeyCredentialUserEntity; names that are empty are left out, long ones cut.
QCborMap userEntity(const Credential& credential, bool withNames);

} // namespace ctap
