#include "media/end_of_stream.h"

#include "media/av_source_sink.h"

void endStream(AVSourceSink& head)
{
    if (auto* holding = dynamic_cast<HoldingStage*>(&head))
        holding->flush();
    for (AVSourceSink* stage : head.downstream())
        endStream(*stage);
}

void dropHeld(AVSourceSink& head)
{
    if (auto* holding = dynamic_cast<HoldingStage*>(&head))
        holding->drop();
    for (AVSourceSink* stage : head.downstream())
        dropHeld(*stage);
}
