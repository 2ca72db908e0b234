#include "media/av_source_sink.h"

#include <algorithm>
#include <utility>

AVSourceSink::AVSourceSink() = default;

AVSourceSink::~AVSourceSink() = default;

bool AVSourceSink::pushFrame(AVFrame* frame)
{
    return std::all_of(m_downstream.begin(), m_downstream.end(),
                       [frame](AVSourceSink* stage) { return stage->pushFrame(frame); });
}

bool AVSourceSink::pushPacket(AVPacket* packet)
{
    return std::all_of(m_downstream.begin(), m_downstream.end(),
                       [packet](AVSourceSink* stage) { return stage->pushPacket(packet); });
}

void AVSourceSink::chain(AVSourceSink& child)
{
    m_downstream.push_back(&child);
    child.m_upstream = this;
}

std::string AVSourceSink::refusal() const
{
    if (!m_refusal.empty())
        return m_refusal;
    for (const AVSourceSink* stage : m_downstream) {
        if (std::string below = stage->refusal(); !below.empty())
            return below;
    }
    return {};
}

bool AVSourceSink::refuse(std::string reason)
{
    m_refusal = std::move(reason);
    return false;
}

void AVSourceSink::recordInput(const AVFrame& frame)
{
    if (m_inputFormat != -1)
        return;
    m_inputFormat = frame.format;
    m_inputWidth = frame.width;
    m_inputHeight = frame.height;
}
