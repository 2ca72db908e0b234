#include "tools/media/sound_player.h"

#include <algorithm>
#include <chrono>
#include <utility>
#include <vector>

namespace {

constexpr std::chrono::milliseconds kWait(5);
constexpr std::chrono::milliseconds kTakeLimit(20);
constexpr double kTolerance = 0.25;      // Seconds that sound which flows may be off.
constexpr double kMostLead = 5;          // Seconds; more belongs to pictures that will not come.
constexpr std::size_t kMostBlocks = 512; // Some ten seconds.

} // namespace

SoundPlayer::SoundPlayer(Progress progress, std::unique_ptr<SoundOutput> output)
    : m_progress(std::move(progress))
    , m_output(std::move(output))
    , m_queue(std::make_shared<AVMediaSink>(AVMediaSink::Overflow::DropOldest,
                                            AVMediaSink::Bound{m_output ? kMostBlocks : 1, 16 * 1024 * 1024}))
{
    if (m_output)
        m_thread = std::thread([this] { run(); });
}

SoundPlayer::~SoundPlayer()
{
    m_stop = true;
    m_queue->stopQueue();
    if (m_thread.joinable())
        m_thread.join();
}

void SoundPlayer::run()
{
    while (!m_stop) {
        std::optional<MediaItem> block = m_queue->take(kTakeLimit);
        if (!block)
            continue;
        play(*block);
        m_queue->recycle(std::move(*block));
    }
}

/// Returns when the block has been handed over or is of no use.
void SoundPlayer::play(const MediaItem& block)
{
    constexpr double kLatency = SoundOutput::kLatencyMilliseconds / 1000.0;
    for (; !m_stop; std::this_thread::sleep_for(kWait)) {
        const PictureProgress pictures = m_progress();
        if (pictures.isPaused || pictures.rate <= 0 || pictures.number < 0) {
            m_flows = false;
            continue;
        }
        const double lead = double(block.timeStamp - pictures.number) / pictures.rate - kLatency;
        if (lead < -kTolerance || lead > kMostLead)
            return;
        if (lead > (m_flows ? kTolerance : 0)) {
            m_flows = false;
            continue;
        }
        if (m_muted) {
            const std::vector<std::uint8_t> silence(block.bytes.size());
            m_flows = m_output->write(silence.data(), silence.size());
        } else {
            m_flows = m_output->write(block.bytes.data(), block.bytes.size());
        }
        return;
    }
}
