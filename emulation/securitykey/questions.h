// questions.h: what the user is shown before an operation, as members of a confirmation request.
#pragma once

#include "emulation/securitykey/key_store.h"
#include "emulation/securitykey/requests.h"

#include <QJsonObject>

namespace ctap {

/// Members of every request.
QJsonObject plainQuestion(const KeyStore& store, const QString& operation);

QJsonObject makeCredentialQuestion(const KeyStore& store, const MakeCredentialRequest& request, bool isVerified);

/// `candidates` are what the host may get, at least one. `userChooses`: one of them, by its index.
QJsonObject getAssertionQuestion(const KeyStore& store, const std::vector<Credential>& candidates, bool userChooses,
                                 bool isVerified);

} // namespace ctap
