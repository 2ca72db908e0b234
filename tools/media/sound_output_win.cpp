#include "tools/media/sound_output.h"

#include <windows.h>

#include <mmsystem.h>

#include <array>
#include <vector>

namespace {

/// A few blocks go round: one is filled while the others play.
class WaveOutput final : public SoundOutput
{
public:
    WaveOutput(int channels, int rate) : m_done(CreateEventW(nullptr, FALSE, FALSE, nullptr))
    {
        WAVEFORMATEX format = {};
        format.wFormatTag = WAVE_FORMAT_PCM;
        format.nChannels = WORD(channels);
        format.nSamplesPerSec = DWORD(rate);
        format.wBitsPerSample = 16;
        format.nBlockAlign = WORD(channels * 2);
        format.nAvgBytesPerSec = DWORD(rate) * format.nBlockAlign;
        m_blockSize = std::size_t(rate) * kLatencyMilliseconds / 1000 / m_blocks.size() * format.nBlockAlign;
        if (waveOutOpen(&m_device, WAVE_MAPPER, &format, DWORD_PTR(m_done), 0, CALLBACK_EVENT) != MMSYSERR_NOERROR)
            m_device = nullptr;
    }
    ~WaveOutput() override
    {
        if (m_device) {
            waveOutReset(m_device);
            for (Block& block : m_blocks)
                waveOutUnprepareHeader(m_device, &block.header, sizeof block.header);
            waveOutClose(m_device);
        }
        CloseHandle(m_done);
    }
    WaveOutput(const WaveOutput&) = delete;
    WaveOutput& operator=(const WaveOutput&) = delete;

    bool isOpen() const { return m_device != nullptr; }

    bool write(const std::uint8_t* samples, std::size_t bytes) override
    {
        while (bytes > 0) {
            Block& block = m_blocks[m_next];
            if (!waitFor(block))
                return false;
            const std::size_t part = bytes < m_blockSize ? bytes : m_blockSize;
            block.samples.assign(samples, samples + part);
            block.header = {};
            block.header.lpData = reinterpret_cast<char*>(block.samples.data());
            block.header.dwBufferLength = DWORD(part);
            if (waveOutPrepareHeader(m_device, &block.header, sizeof block.header) != MMSYSERR_NOERROR ||
                waveOutWrite(m_device, &block.header, sizeof block.header) != MMSYSERR_NOERROR)
                return false;
            m_next = (m_next + 1) % m_blocks.size();
            samples += part;
            bytes -= part;
        }
        return true;
    }

private:
    struct Block
    {
        WAVEHDR header = {};
        std::vector<std::uint8_t> samples;
    };

    /// Until the block has been played; false when it will not be.
    bool waitFor(Block& block)
    {
        constexpr DWORD kMostWait = 1000; // milliseconds
        if (block.header.lpData == nullptr)
            return true;
        while ((block.header.dwFlags & WHDR_DONE) == 0) {
            if (WaitForSingleObject(m_done, kMostWait) != WAIT_OBJECT_0)
                return false;
        }
        return waveOutUnprepareHeader(m_device, &block.header, sizeof block.header) == MMSYSERR_NOERROR;
    }

    HANDLE m_done;
    HWAVEOUT m_device = nullptr;
    std::array<Block, 4> m_blocks;
    std::size_t m_next = 0;
    std::size_t m_blockSize = 0; ///< bytes
};

} // namespace

std::unique_ptr<SoundOutput> SoundOutput::open(int channels, int rate)
{
    auto output = std::make_unique<WaveOutput>(channels, rate);
    return output->isOpen() ? std::unique_ptr<SoundOutput>(std::move(output)) : nullptr;
}
