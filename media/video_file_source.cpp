#include "media/video_file_source.h"

#include "media/av_decoder.h"
#include "media/av_encoder.h"
#include "media/media_reader.h"

#include <utility>

VideoFileSource::VideoFileSource(VideoFileSettings settings, QObject* parent)
    : QThread(parent)
    , AVMediaSink(settings.overflow)
    , m_settings(std::move(settings))
    , m_interrupt(m_settings.inputTimeLimit)
{}

VideoFileSource::~VideoFileSource()
{
    requestStop();
    wait();
}

void VideoFileSource::requestStop()
{
    m_interrupt.stop();
    stopQueue();
}

void VideoFileSource::run()
{
    m_reader = std::make_unique<MediaReader>(m_settings.url, m_settings.selector, m_interrupt);
    const bool opened = m_reader->open();
    if (opened) {
        m_reader->buildVideoChain(m_settings.codec, m_settings.pixelFormat, m_settings.width, m_settings.height,
                                  m_settings.frameRate, *this, m_settings.scaling);
        m_reader->buildAudioChain(m_settings.audioChannels, m_settings.audioRate, *this);
    }
    describe();
    m_started.exchange(1);
    if (opened) {
        m_reader->readLoop(true);
        describe();
    }
    if (m_completed)
        m_completed(std::string());
}

void VideoFileSource::describe()
{
    std::string text;
    const auto add = [&text](const char* role, const std::string& name) {
        if (!name.empty())
            text += (text.empty() ? "" : ", ") + (role + name);
    };
    if (const AVDecoder* decoder = m_reader->videoDecoder())
        add("video decoder ", decoder->name() + (decoder->deviceName().empty() ? "" : " on " + decoder->deviceName()));
    if (const AVEncoder* encoder = m_reader->encoder())
        add("encoder ", encoder->name());
    if (const AVDecoder* decoder = m_reader->audioDecoder())
        add("audio decoder ", decoder->name());
    if (!m_reader->error().empty())
        add("", m_reader->error());
    const std::lock_guard guard(m_descriptionLock);
    m_description = text;
}

std::string VideoFileSource::description() const
{
    const std::lock_guard guard(m_descriptionLock);
    return m_description;
}
