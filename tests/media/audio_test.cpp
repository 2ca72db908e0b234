#include "media/audio_resampler.h"
#include "media/channel_layout.h"
#include "tests/media/stage_probe.h"
#include "tests/support/suite_registry.h"

#include <QtTest>

#include <cmath>

namespace {

/// A tone of 1 kHz at half of full scale on every channel.
ffmpeg::Frame tone(AVSampleFormat format, int rate, int channels, int samples, int start = 0)
{
    ffmpeg::Frame frame(av_frame_alloc());
    frame->format = format;
    frame->sample_rate = rate;
    frame->nb_samples = samples;
    ffmpeg::setChannels(*frame, channels, ffmpeg::defaultChannelMask(channels));
    if (av_frame_get_buffer(frame.get(), 0) < 0)
        return nullptr;
    for (int index = 0; index < samples; ++index) {
        const double value = 0.5 * std::sin(2 * M_PI * 1000 * (start + index) / rate);
        for (int channel = 0; channel < channels; ++channel) {
            if (format == AV_SAMPLE_FMT_FLTP)
                reinterpret_cast<float*>(frame->extended_data[channel])[index] = float(value);
            else
                reinterpret_cast<std::int16_t*>(frame->data[0])[index * channels + channel] =
                    std::int16_t(value * 32767);
        }
    }
    return frame;
}

} // namespace

class AudioTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { av_log_set_level(AV_LOG_QUIET); }
    void convertsSound_data()
    {
        QTest::addColumn<int>("format");
        QTest::addColumn<int>("rate");
        QTest::addColumn<int>("channels");
        QTest::addColumn<int>("outputChannels");
        QTest::addColumn<int>("outputRate");
        QTest::addColumn<QString>("printed");
        const auto row = [](const char* name, AVSampleFormat format, int rate, int channels, int outChannels,
                            int outRate, const char* source) {
            QTest::newRow(name) << int(format) << rate << channels << outChannels << outRate
                                << QString::fromLatin1(source);
        };
        row("planar float stereo to another rate", AV_SAMPLE_FMT_FLTP, 48000, 2, 2, 44100,
            "48000Hz, 2 channels, format=8\n  Target: 44100Hz, 2 channels, format=1");
        row("mono of 8 kHz", AV_SAMPLE_FMT_S16, 8000, 1, 2, 48000,
            "8000Hz, 1 channels, format=1\n  Target: 48000Hz, 2 channels, format=1");
        row("5.1 to stereo", AV_SAMPLE_FMT_FLTP, 48000, 6, 2, 48000,
            "48000Hz, 6 channels, format=8\n  Target: 48000Hz, 2 channels, format=1");
        row("stereo to mono", AV_SAMPLE_FMT_S16, 44100, 2, 1, 44100,
            "44100Hz, 2 channels, format=1\n  Target: 44100Hz, 1 channels, format=1");
        row("stereo to 5.1", AV_SAMPLE_FMT_FLTP, 44100, 2, 6, 48000,
            "44100Hz, 2 channels, format=8\n  Target: 48000Hz, 6 channels, format=1");
    }

    void convertsSound()
    {
        QFETCH(int, format);
        QFETCH(int, rate);
        QFETCH(int, channels);
        QFETCH(int, outputChannels);
        QFETCH(int, outputRate);
        QFETCH(QString, printed);
        PrintedText text;
        AudioResampler resampler(outputChannels, outputRate);
        StageProbe probe;
        resampler.chain(probe);
        double peak = 0;
        probe.onFrame = [&](const AVFrame& frame) {
            QCOMPARE(frame.format, int(AV_SAMPLE_FMT_S16));
            QCOMPARE(ffmpeg::channelCount(frame), outputChannels);
            QCOMPARE(frame.sample_rate, outputRate);
            for (int index = 0; index < frame.nb_samples; ++index)
                peak = std::max(
                    peak, std::abs(double(reinterpret_cast<std::int16_t*>(frame.data[0])[index * outputChannels])));
        };
        for (int block = 0; block < 50; ++block)
            QVERIFY(resampler.pushFrame(tone(AVSampleFormat(format), rate, channels, 1000, block * 1000).get()));
        const std::int64_t whole = std::int64_t(50000) * outputRate / rate;
        QCOMPARE(probe.samples < whole, outputRate != rate); // Changing the rate holds the last samples back.
        QVERIFY(resampler.flush());
        QVERIFY2(probe.samples == whole || probe.samples == whole + 1, qPrintable(QString::number(probe.samples)));
        QVERIFY2(peak > 8000 && peak <= 32767, qPrintable(QString::number(peak)));
        QCOMPARE(QString::fromStdString(text.take()),
                 QStringLiteral("AudioResampler configuration:\n  Source: ") + printed +
                     QStringLiteral("\nAudioResampler initialized successfully\n"));
    }

    /// Twenty seconds in which the speed changes twice: its samples come and go singly, and the tone stays one.
    void followsASpeedWithoutAClick()
    {
        PrintedText text;
        const auto speed = std::make_shared<SoundSpeed>();
        AudioResampler resampler(1, 48000, speed);
        StageProbe probe;
        resampler.chain(probe);
        std::vector<double> heard;
        probe.onFrame = [&](const AVFrame& frame) {
            const auto* samples = reinterpret_cast<const std::int16_t*>(frame.data[0]);
            heard.insert(heard.end(), samples, samples + frame.nb_samples);
        };
        for (int block = 0; block < 2000; ++block) {
            speed->partsPerMillion = block < 500 ? 0 : block < 1500 ? 1000 : -1000;
            QVERIFY(resampler.pushFrame(tone(AV_SAMPLE_FMT_S16, 48000, 1, 480, block * 480).get()));
        }
        QVERIFY(resampler.flush());
        const double more = double(heard.size()) - 2000 * 480; // of ten seconds faster and five slower
        QVERIFY2(std::abs(more - 240) < 10, qPrintable(QString::number(more)));
        // The second difference of a steady tone is its acceleration; a click is many times that.
        double sharpest = 0;
        for (std::size_t index = 1000; index + 1000 < heard.size(); ++index)
            sharpest = std::max(sharpest, std::abs(heard[index - 1] - 2 * heard[index] + heard[index + 1]));
        const double step = 2 * M_PI * 1000 / 48000;
        QVERIFY2(sharpest < 16384 * step * step * 1.05, qPrintable(QString::number(sharpest)));
    }

    void changedFormatsAreNotReadBeyondTheirEnd()
    {
        PrintedText text;
        AudioResampler resampler(2, 48000);
        StageProbe probe;
        resampler.chain(probe);
        QVERIFY(resampler.pushFrame(tone(AV_SAMPLE_FMT_FLTP, 48000, 2, 1000).get()));
        QCOMPARE(probe.frames, 1);
        text.take();
        QVERIFY(resampler.pushFrame(tone(AV_SAMPLE_FMT_S16, 48000, 2, 1000).get())); // One plane where two are read.
        QVERIFY(resampler.pushFrame(tone(AV_SAMPLE_FMT_FLTP, 48000, 1, 1000).get()));
        QCOMPARE(probe.frames, 1);
        QVERIFY(!text.take().empty());
        QVERIFY(resampler.pushFrame(tone(AV_SAMPLE_FMT_FLTP, 44100, 6, 1000).get())); // Read as the first format.
        QCOMPARE(probe.frames, 2);

        AudioResampler packed(2, 48000);
        packed.chain(probe);
        QVERIFY(packed.pushFrame(tone(AV_SAMPLE_FMT_S16, 48000, 2, 1000).get()));
        QVERIFY(packed.pushFrame(tone(AV_SAMPLE_FMT_S16, 48000, 1, 1000).get())); // Half of the bytes that are read.
        QCOMPARE(probe.frames, 3);
    }

    void refusesImpossibleSound()
    {
        PrintedText text;
        AudioResampler resampler(2, 0);
        QVERIFY(!resampler.pushFrame(tone(AV_SAMPLE_FMT_FLTP, 48000, 2, 1000).get()));
        QVERIFY(!resampler.pushFrame(tone(AV_SAMPLE_FMT_FLTP, 48000, 2, 1000).get()));
        QVERIFY(text.take().find("Error: Failed to ") != std::string::npos);
    }
};

PLUGBOARD_SUITE(AudioTest)
#include "audio_test.moc"
