// source_check.h: how a dialog looks at the source that was chosen in it.
#pragma once

#include "media/source_probe.h"

#include <chrono>
#include <functional>

/// Looks at a path or URL, and blocks until it knows. Dialogs take one as a constructor argument.
using SourceCheck = std::function<SourceProbeResult(const QString& source, SourceProbe::Kind kind)>;

/// How a check asks its probe.
using ProbeCall = std::function<SourceProbeResult(SourceProbe&, const QString& source, SourceProbe::Kind kind)>;

/// In pixels; the picture that comes with a check of a source's video is no larger.
constexpr int kMostPreviewWidth = 480;
constexpr int kMostPreviewHeight = 270;

/// A check that blocks no longer than `limit` in all, and for which anything that goes wrong is a source that did not
/// open. The probe runs on a thread of its own, which is left to end by itself when the limit is over: a probe can be
/// cancelled while it connects and reads, but not while the system looks up the name of a host. The same thread then
/// gets the picture, which nobody waits for.
SourceCheck checkWithin(std::chrono::milliseconds limit = std::chrono::seconds(10),
                        ProbeCall call = &SourceProbe::probe);

/// Runs `check` under the busy cursor. A check that throws found nothing; what it threw is the result's error.
SourceProbeResult runCheck(const SourceCheck& check, const QString& source, SourceProbe::Kind kind);

/// Why a source that was looked at for video or sound is of no use, for people; empty when it is.
QString uselessReason(const SourceProbeResult& result, SourceProbe::Kind kind);
