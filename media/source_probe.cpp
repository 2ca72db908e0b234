#include "media/source_probe.h"

#include "media/log.h"
#include "media/media_reader.h"

namespace {

int selectorOf(SourceProbe::Kind kind)
{
    switch (kind) {
    case SourceProbe::Kind::Video:
        return kSelectVideo;
    case SourceProbe::Kind::Audio:
        return kSelectAudio;
    case SourceProbe::Kind::VideoAndAudio:
        break;
    }
    return kSelectBoth;
}

} // namespace

SourceProbeResult SourceProbe::probe(const QString& source, Kind kind)
{
    SourceProbeResult result;
    MediaReader reader(source.toStdString(), selectorOf(kind), m_interrupt);
    result.opened = reader.open();
    if (!result.opened) {
        result.error = QString::fromStdString(reader.error());
        return result;
    }
    result.frameRate = reader.frameRate();
    if (const AVSource* video = reader.videoSource()) {
        result.hasVideo = true;
        result.width = video->width();
        result.height = video->height();
    }
    if (const AVSource* audio = reader.audioSource()) {
        result.hasAudio = true;
        result.channels = audio->channels();
        result.sampleRate = audio->sampleRate();
    }
    qCInfo(mediaLog) << "Source looked at: video" << result.width << "x" << result.height << "sound" << result.channels
                     << "channels," << result.sampleRate << "Hz";
    return result;
}
