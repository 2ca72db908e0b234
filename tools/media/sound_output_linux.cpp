#include "tools/media/sound_output.h"

#include <QLibrary>

namespace {

// Of ALSA's programming interface, which is asked for at run time: a machine without sound need not have it.
struct Pcm;
constexpr int kPlayback = 0;
constexpr int kInterleaved = 3;
constexpr int kSigned16 = 2; // little-endian, as this processor
constexpr int kResamples = 1;

void ignoreError(const char*, int, const char*, int, const char*, ...)
{}

struct Alsa
{
    Alsa()
        : library(QStringLiteral("asound"), 2)
        , open(reinterpret_cast<decltype(open)>(library.resolve("snd_pcm_open")))
        , setParameters(reinterpret_cast<decltype(setParameters)>(library.resolve("snd_pcm_set_params")))
        , write(reinterpret_cast<decltype(write)>(library.resolve("snd_pcm_writei")))
        , recover(reinterpret_cast<decltype(recover)>(library.resolve("snd_pcm_recover")))
        , close(reinterpret_cast<decltype(close)>(library.resolve("snd_pcm_close")))
    {}
    /// What it has to say of missing devices is nothing for a user's terminal.
    void silence()
    {
        using Handler = void (*)(const char*, int, const char*, int, const char*, ...);
        const auto setHandler = reinterpret_cast<int (*)(Handler)>(library.resolve("snd_lib_error_set_handler"));
        if (setHandler)
            setHandler(&ignoreError);
    }
    bool isThere() const { return open && setParameters && write && recover && close; }

    QLibrary library;
    int (*open)(Pcm** device, const char* name, int stream, int mode);
    int (*setParameters)(Pcm* device, int format, int access, unsigned channels, unsigned rate, int softResample,
                         unsigned latency);
    long (*write)(Pcm* device, const void* samples, unsigned long frames);
    int (*recover)(Pcm* device, int error, int silent);
    int (*close)(Pcm* device);
};

Alsa& alsa()
{
    static Alsa s_alsa;
    return s_alsa;
}

class AlsaOutput final : public SoundOutput
{
public:
    AlsaOutput(Pcm* device, int channels) : m_device(device), m_frameSize(std::size_t(channels) * sizeof(std::int16_t))
    {}
    ~AlsaOutput() override { alsa().close(m_device); }
    AlsaOutput(const AlsaOutput&) = delete;
    AlsaOutput& operator=(const AlsaOutput&) = delete;

    bool write(const std::uint8_t* samples, std::size_t bytes) override
    {
        for (std::size_t left = bytes / m_frameSize; left > 0;) {
            const long written = alsa().write(m_device, samples, left);
            if (written < 0 && alsa().recover(m_device, int(written), 1) < 0)
                return false;
            if (written <= 0)
                continue; // It had run dry, and goes on.
            samples += std::size_t(written) * m_frameSize;
            left -= std::size_t(written);
        }
        return true;
    }

private:
    Pcm* m_device;
    const std::size_t m_frameSize;
};

} // namespace

std::unique_ptr<SoundOutput> SoundOutput::open(int channels, int rate)
{
    Pcm* device = nullptr;
    if (!alsa().isThere())
        return nullptr;
    alsa().silence();
    if (alsa().open(&device, "default", kPlayback, 0) < 0)
        return nullptr;
    auto output = std::make_unique<AlsaOutput>(device, channels);
    constexpr unsigned kLatency = kLatencyMilliseconds * 1000; // microseconds
    if (alsa().setParameters(device, kSigned16, kInterleaved, unsigned(channels), unsigned(rate), kResamples,
                             kLatency) < 0)
        return nullptr;
    return output;
}
