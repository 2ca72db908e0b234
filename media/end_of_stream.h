// end_of_stream.h: how the end of a stream reaches the stages that still hold something.
#pragma once

class AVSourceSink;

/// A stage that gives items away later than it takes them implements this beside AVSourceSink.
class HoldingStage
{
public:
    virtual ~HoldingStage() = default;

    /// Pushes what the stage still holds. It takes nothing afterwards. False when a stage below refused, or when the
    /// stage has never worked.
    virtual bool flush() = 0;

    /// Forgets what the stage still holds: the stream goes on elsewhere.
    virtual void drop() {}
};

/// The end of the stream travels down the chain from `head`: each stage gives its rest away before the stages below it
/// do. For the final end only, never when an input starts again. On the chain's thread.
void endStream(AVSourceSink& head);

/// All stages from `head` downwards forget what they hold. On the chain's thread.
void dropHeld(AVSourceSink& head);
