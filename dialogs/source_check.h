// source_check.h: how a dialog looks at the source that was chosen in it.
#pragma once

#include "media/source_probe.h"

#include <chrono>
#include <functional>

/// Looks at a path or URL and blocks meanwhile. Dialogs take one as a constructor argument.
using SourceCheck = std::function<SourceProbeResult(const QString& source, SourceProbe::Kind kind)>;

/// A check that blocks no longer than `limit` in all, and for which anything that goes wrong is a source that did not
/// open.
SourceCheck checkWithin(std::chrono::milliseconds limit = std::chrono::seconds(10));

/// Runs `check` under the busy cursor. A check that throws found nothing.
SourceProbeResult runCheck(const SourceCheck& check, const QString& source, SourceProbe::Kind kind);
