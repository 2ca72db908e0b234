#include "emulation/audio/audio_descriptors.h"
#include "emulation/audio/speaker.h"
#include "tests/emulation/function_host.h"
#include "tests/support/suite_registry.h"

#include <QTemporaryDir>
#include <QtEndian>
#include <QtTest>

#include <cmath>

namespace {

constexpr std::uint8_t kOutEndpoint = 0x01;
constexpr int kWavHeader = 44;

usb::DeviceDescriptors identity(std::uint16_t usbVersion = 0x0200)
{
    usb::DeviceDescriptors descriptors;
    descriptors.bcdUSB = usbVersion;
    descriptors.idVendor = 0x1D6B;
    descriptors.idProduct = 2;
    descriptors.manufacturer = QStringLiteral("Plugboard");
    descriptors.product = QStringLiteral("Device");
    return descriptors;
}

/// Numbers that count up, and wrap.
QByteArray counted(int first, int samples)
{
    QByteArray bytes(samples * 2, '\0');
    for (int sample = 0; sample < samples; ++sample)
        qToLittleEndian(std::uint16_t(first + sample), bytes.data() + sample * 2);
    return bytes;
}

QByteArray sine(double amplitude, int frames)
{
    QByteArray bytes(frames * 4, '\0');
    for (int frame = 0; frame < frames; ++frame)
        for (int channel = 0; channel < 2; ++channel)
            qToLittleEndian(std::int16_t(std::lround(amplitude * 32767 * std::sin(frame * 0.1))),
                            bytes.data() + frame * 4 + channel * 2);
    return bytes;
}

struct PluggedSpeaker
{
    PluggedSpeaker() : speaker(identity(), {2, 44100}), host(speaker) { host.configure(); }

    void stream(bool on) { host.control(on ? QStringLiteral("010b010001000000") : QStringLiteral("010b000001000000")); }

    /// False when it is not taken.
    bool play(const std::vector<QByteArray>& packets)
    {
        const std::uint32_t number = host.isochronousOut(kOutEndpoint, packets);
        return QTest::qWaitFor([&] { return host.isDone(number); }) && host.result(number) == QLatin1String("ok");
    }

    QString record() { return speaker.run(QStringLiteral("record ") + path()); }
    QString path() const { return folder.filePath(QStringLiteral("sound.wav")); }
    QByteArray file() const
    {
        QFile file(path());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("no file");
    }

    QTemporaryDir folder;
    audio::Speaker speaker;
    FunctionHost host;
};

} // namespace

/// Microphones' and speakers' USB side, and the speaker, as a host that plays to it sees it.
class AudioTest : public QObject
{
    Q_OBJECT

private slots:
    void describesWhatEveryBusCarries()
    {
        using namespace audio;
        for (const Direction direction : {Direction::ToHost, Direction::FromHost})
            for (const ClassVersion version : {ClassVersion::V1, ClassVersion::V2})
                for (const std::uint16_t usbVersion : {0x0200, 0x0300})
                    for (const int rate : {8000, 11025, 44100, 48000, 96000, 192000})
                        for (int channels = 1; channels <= 8; ++channels) {
                            const AudioKind kind{direction, version, {channels, rate}};
                            const usb::DeviceDescriptors device = describe(identity(usbVersion), kind);
                            QCOMPARE(usb::faultsOf(device), {});
                            QCOMPARE(usb::faultsOfBytes(usb::deviceDescriptor(device),
                                                        usb::configurationDescriptor(device), device.speed),
                                     {});
                            const usb::Endpoint& endpoint = streamEndpoint(device);
                            const auto interval = usb::isochronousInterval(device.speed, endpoint.bInterval);
                            const auto perSecond = std::chrono::seconds(1) / interval;
                            const auto frames = int(endpoint.maxPacketSize / kind.format.frameBytes());
                            QVERIFY2(frames * perSecond >= rate && interval <= std::chrono::milliseconds(1),
                                     qPrintable(QStringLiteral("%1 x %2").arg(channels).arg(rate)));
                        }
    }

    void answersRequests_data()
    {
        QTest::addColumn<int>("version");
        QTest::addColumn<QString>("setup");
        QTest::addColumn<QString>("data");
        QTest::addColumn<QString>("result");
        const auto addRow = [](const char* name, int version, const char* setup, const char* data, const char* result) {
            QTest::newRow(name) << version << QString::fromUtf8(setup) << QString::fromUtf8(data)
                                << QString::fromUtf8(result);
        };
        addRow("1.0: mute is off", 1, "a1 81 00 01 00 02 01 00", "", "ok 00");
        addRow("1.0: lowest volume", 1, "a1 82 00 02 00 02 02 00", "", "ok 00c4");
        addRow("1.0: highest volume", 1, "a1 83 00 02 00 02 02 00", "", "ok 0000");
        addRow("1.0: step of the volume", 1, "a1 84 00 02 00 02 02 00", "", "ok 0001");
        addRow("1.0: mute has no range", 1, "a1 82 00 01 00 02 01 00", "", "stall");
        addRow("1.0: volume of a channel", 1, "a1 81 01 02 00 02 02 00", "", "stall");
        addRow("1.0: bass", 1, "a1 81 00 03 00 02 01 00", "", "stall");
        addRow("1.0: another unit", 1, "a1 81 00 01 00 01 01 00", "", "stall");
        addRow("1.0: the streaming interface", 1, "a1 81 00 01 01 02 01 00", "", "stall");
        addRow("1.0: lowest cannot be set", 1, "21 02 00 02 00 02 02 00", "00c4", "stall");
        addRow("1.0: half a volume", 1, "21 01 00 02 00 02 01 00", "00", "stall");
        addRow("1.0: get the wrong way", 1, "21 81 00 01 00 02 01 00", "01", "stall");
        addRow("1.0: there is no clock", 1, "a1 81 00 01 00 04 04 00", "", "stall");
        addRow("2.0: mute is off", 2, "a1 01 00 01 00 02 01 00", "", "ok 00");
        addRow("2.0: range of the volume", 2, "a1 02 00 02 00 02 08 00", "", "ok 010000c400000001");
        addRow("2.0: number of ranges alone", 2, "a1 02 00 02 00 02 02 00", "", "ok 0100");
        addRow("2.0: mute has no range", 2, "a1 02 00 01 00 02 08 00", "", "stall");
        addRow("2.0: rate", 2, "a1 01 00 01 00 04 04 00", "", "ok 80bb0000");
        addRow("2.0: rates", 2, "a1 02 00 01 00 04 0e 00", "", "ok 010080bb000080bb000000000000");
        addRow("2.0: rate cannot be set", 2, "21 01 00 01 00 04 04 00", "44ac0000", "stall");
        addRow("2.0: request of 1.0", 2, "a1 81 00 01 00 02 01 00", "", "stall");
        addRow("2.0: request to an endpoint", 2, "a2 01 00 01 81 00 01 00", "", "stall");
    }

    void answersRequests()
    {
        QFETCH(int, version);
        QFETCH(QString, setup);
        QFETCH(QString, data);
        QFETCH(QString, result);
        using namespace audio;
        struct Recorder final : AudioFunction<DeviceFunction>
        {
            explicit Recorder(ClassVersion version)
                : AudioFunction(identity(), {Direction::ToHost, version, {2, 48000}}, AudioStream::Clock(),
                                usb::kMostMadeUp)
            {}
            QString run(const QString&) override { return {}; }
            QString status() const override { return {}; }
            void passed(const usb::TransferPointer&) override {}
            void streamingChanged() override {}
        } recorder(version == 1 ? ClassVersion::V1 : ClassVersion::V2);
        FunctionHost host(recorder);
        host.configure();
        QCOMPARE(host.control(setup, QByteArray::fromHex(data.toLatin1())), result);
    }

    void recordsWhatIsPlayed_data()
    {
        QTest::addColumn<QString>("setup");
        QTest::addColumn<QString>("value");
        QTest::addColumn<double>("gain");
        QTest::addColumn<QString>("said");
        const auto addRow = [](const char* name, const char* setup, const char* value, double gain, const char* said) {
            QTest::newRow(name) << QString::fromUtf8(setup) << QString::fromUtf8(value) << gain
                                << QString::fromUtf8(said);
        };
        const char* volume = "21 01 00 02 00 02 02 00";
        addRow("full volume", volume, "0000", 1, "volume 0 dB;");
        addRow("half", volume, "00fa", 0.501187, "volume -6 dB;");
        addRow("between two steps", volume, "33fa", 0.501187, "volume -6 dB;");
        addRow("below the lowest", volume, "0080", 0, "volume off;");
        addRow("above the highest", volume, "ff7f", 1, "volume 0 dB;");
        addRow("mute", "21 01 00 01 00 02 01 00", "01", 0, "volume 0 dB, muted;");
    }

    void recordsWhatIsPlayed()
    {
        QFETCH(QString, setup);
        QFETCH(QString, value);
        QFETCH(double, gain);
        QFETCH(QString, said);
        PluggedSpeaker plugged;
        QCOMPARE(plugged.host.control(setup, QByteArray::fromHex(value.toLatin1())), QStringLiteral("ok"));
        QVERIFY2(plugged.speaker.status().contains(said), qPrintable(plugged.speaker.status()));
        plugged.stream(true);
        QVERIFY(plugged.play({counted(7, 88)})); // before the recording: nothing is kept of it
        QCOMPARE(plugged.record(), QStringLiteral("OK: recording ") + plugged.path());
        QVERIFY(plugged.play({counted(-200, 88), counted(-112, 90), QByteArray(), counted(-22, 88)}));
        plugged.stream(false);
        plugged.stream(true);
        QVERIFY(plugged.play({counted(66, 86) + "\1"})); // half a sample is none
        QCOMPARE(plugged.speaker.run(QStringLiteral("stop")), QStringLiteral("OK: 0.0 s in ") + plugged.path());
        QVERIFY(plugged.play({counted(0, 88)}));
        const QByteArray file = plugged.file();
        const QByteArray header = QByteArray::fromHex("52494646 e4020000 57415645 666d7420 10000000 0100 0200 44ac0000"
                                                      "10b10200 0400 1000 64617461 c0020000");
        QCOMPARE(file.left(kWavHeader).toHex(), header.toHex());
        QCOMPARE(file.size(), kWavHeader + 352 * 2);
        for (int sample = 0; sample < 352; ++sample) {
            const auto heard = qFromLittleEndian<std::int16_t>(file.constData() + kWavHeader + sample * 2);
            QVERIFY2(std::abs(heard - (sample - 200) * gain) < (gain == 1 ? 0.1 : 1.0),
                     qPrintable(QStringLiteral("sample %1 is %2").arg(sample).arg(heard)));
        }
    }

    void keepsTheFilePlayable()
    {
        PluggedSpeaker plugged;
        plugged.stream(true);
        plugged.record();
        QVERIFY(plugged.play({counted(0, 44100)})); // half a second
        const auto said = qFromLittleEndian<std::uint32_t>(plugged.file().constData() + kWavHeader - 4);
        QCOMPARE(said, 88200U);
        QVERIFY(plugged.play({counted(0, 88)}));
        plugged.host.device().reset();
        QCOMPARE(plugged.file().size(), kWavHeader + 88200 + 176);
        QVERIFY(plugged.speaker.status().contains(QStringLiteral("recording, 0.5 s in ")));
    }

    void tellsTheLevel()
    {
        PluggedSpeaker plugged;
        QVERIFY(plugged.speaker.status().contains(QStringLiteral("not in use")));
        plugged.stream(true);
        QVERIFY(plugged.play({sine(0.5, 4410)}));
        QCOMPARE(plugged.speaker.status(),
                 QStringLiteral(
                     "UAC 1.0, 2 channels at 44100 Hz, in use by a host, volume 0 dB; level -6.0 dB, peak -6.0 dB"));
        QVERIFY(plugged.play({QByteArray(4410 * 4, '\0')}));
        QVERIFY(plugged.speaker.status().endsWith(QStringLiteral("; silent")));
    }

    void refusesCommands_data()
    {
        QTest::addColumn<QStringList>("commands");
        QTest::addColumn<QString>("answer");
        const auto addRow = [](const char* name, const QStringList& commands, const char* answer) {
            QTest::newRow(name) << commands << QString::fromUtf8(answer);
        };
        const QString wav = QDir::temp().filePath(QStringLiteral("plugboard-refused.wav"));
        const char* whole = "ERROR: record takes the whole path of a file.";
        addRow("no file", {QStringLiteral("record")}, whole);
        addRow("file beside the program", {QStringLiteral("record sound.wav")}, whole);
        addRow("folder", {QStringLiteral("record ") + QDir::tempPath()}, "ERROR: .* cannot be written: .*");
        addRow("second recording", {QStringLiteral("record ") + wav, QStringLiteral("record ") + wav},
               "ERROR: A recording is being made already, 0.0 s in .*");
        addRow("stop of nothing", {QStringLiteral("stop")}, "ERROR: Nothing is being recorded.");
        addRow("command of another device", {QStringLiteral("type hello")},
               "ERROR: A speaker knows: record FILE, stop, status.");
#ifdef Q_OS_LINUX
        addRow("full disk", {QStringLiteral("record /dev/full")}, "ERROR: /dev/full cannot be written: .*");
#endif
    }

    void refusesCommands()
    {
        QFETCH(QStringList, commands);
        QFETCH(QString, answer);
        QString last;
        {
            PluggedSpeaker plugged;
            for (const QString& command : commands)
                last = plugged.speaker.run(command);
        }
        QFile::remove(QDir::temp().filePath(QStringLiteral("plugboard-refused.wav")));
        QVERIFY2(QRegularExpression(QStringLiteral("\\A(?:%1)\\z").arg(answer)).match(last).hasMatch(),
                 qPrintable(last));
    }
};

PLUGBOARD_SUITE(AudioTest)
#include "audio_test.moc"
