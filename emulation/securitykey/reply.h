// reply.h: what a CTAP 2 command answers.
#pragma once

#include "emulation/securitykey/ctap_status.h"

#include <QCborMap>

#include <functional>

namespace ctap {

struct Reply
{
    Reply(Status ended) : status(ended) {}
    Reply(QCborMap members) : body(std::move(members)) {}

    Status status = Status::Ok;
    QCborMap body; ///< empty: the status alone
};

/// Called once, during the command or later, on the same thread.
using Replied = std::function<void(const Reply& reply)>;

} // namespace ctap
