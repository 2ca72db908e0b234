// links: plugboard::capture_view plugboard::emulation_channels
// capture_window_benchmark.cpp: a million packets in the capture window: memory, stalls while they arrive, filtering,
// saving, clearing and closing.
#include "benchmarks/report.h"
#include "capture/decode/packet_filter.h"
#include "capture/view/capture_dialog.h"
#include "tests/support/sample_traffic.h"

#include <QApplication>
#include <QDateTime>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QHeaderView>
#include <QLocalServer>
#include <QLocalSocket>
#include <QMenu>
#include <QPushButton>
#include <QTemporaryDir>
#include <QThread>
#include <QTimer>
#include <QtEndian>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <ctime>
#include <string>
#include <vector>

namespace {

constexpr int kPackets = 1'000'000;
constexpr int kRate = 50'000; // packets/s of the live part

/// Traffic of all kinds of device in turn, a slice of each at a time.
class MixedTraffic
{
public:
    MixedTraffic()
    {
        std::uint32_t id = 0x10001;
        for (const QString& kind : tests::SampleTraffic::kinds())
            m_devices.emplace_back(kind, id++);
    }
    QByteArray nextFrame()
    {
        constexpr int kFixed = 8 + 40; // of a frame, before header, data and setup
        const QByteArray frame =
            m_devices[m_count++ / 100 % m_devices.size()].nextFrame(QDateTime::currentMSecsSinceEpoch());
        m_dataBytes += frame.size() - kFixed;
        return frame;
    }
    qint64 dataBytes() const { return m_dataBytes; }

private:
    std::vector<tests::SampleTraffic> m_devices;
    std::size_t m_count = 0;
    qint64 m_dataBytes = 0;
};

std::size_t countOf(UsbIPCaptureDialog& dialog)
{
    return dialog.pane().packets().end() - dialog.pane().packets().first();
}

/// Bytes of memory that the process has of its own.
qint64 ownMemory()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    const QString text = QString::fromLatin1(status.readAll());
    const QString line = text.section(QStringLiteral("RssAnon:"), 1).section(QLatin1Char('\n'), 0, 0);
    return line.simplified().section(QLatin1Char(' '), 0, 0).toLongLong() * 1024;
}

/// A second of traffic that was made before it is sent: to make a frame takes longer than to send it.
class PreparedTraffic
{
public:
    PreparedTraffic()
    {
        MixedTraffic traffic;
        for (int frame = 0; frame < kRate; ++frame) {
            m_begins.push_back(m_bytes.size());
            m_bytes += traffic.nextFrame();
        }
        m_begins.push_back(m_bytes.size());
    }
    /// The frames from `first` on, at most `count`, as if they were captured now. Valid until the next call.
    QByteArray frames(int first, int count, int& taken)
    {
        constexpr int kTimestamp = 8; // its place in a frame
        const qint64 now = QDateTime::currentMSecsSinceEpoch();
        const int begin = first % kRate;
        taken = std::min(count, kRate - begin);
        for (int frame = begin; frame < begin + taken; ++frame)
            qToLittleEndian(now, m_bytes.data() + m_begins[std::size_t(frame)] + kTimestamp);
        const int place = m_begins[std::size_t(begin)];
        return QByteArray::fromRawData(m_bytes.constData() + place, m_begins[std::size_t(begin + taken)] - place);
    }

private:
    QByteArray m_bytes;
    std::vector<int> m_begins;
};

/// A device process in a thread of its own that sends 50,000 packets/s.
class PacedSender : public QThread
{
public:
    PacedSender(QString name, double seconds) : m_name(std::move(name)), m_seconds(seconds) {}
    int sent() const { return m_sent; }
    bool isListening() const { return m_listening; }

protected:
    void run() override
    {
        PreparedTraffic traffic;
        QLocalServer server;
        m_listening = server.listen(m_name);
        if (!m_listening || !server.waitForNewConnection(10000))
            return;
        QLocalSocket* socket = server.nextPendingConnection();
        QElapsedTimer clock;
        clock.start();
        while (clock.elapsed() < m_seconds * 1000) {
            const int due = static_cast<int>(clock.nsecsElapsed() * 1e-9 * kRate);
            while (m_sent < due) {
                int taken = 0;
                socket->write(traffic.frames(m_sent, due - m_sent, taken));
                m_sent += taken;
            }
            while (socket->bytesToWrite() > 0 && socket->waitForBytesWritten(1000)) {
            }
            usleep(500);
        }
        socket->disconnectFromServer();
    }

private:
    QString m_name;
    double m_seconds;
    std::atomic<int> m_sent{0};
    std::atomic<bool> m_listening{false};
};

/// The longest turn of the event loop. On a machine that does other things too, what the thread itself took of its
/// longest turn says more than the clock.
class WorstTurn
{
public:
    void turn()
    {
        const double before = threadMilliseconds();
        QElapsedTimer clock;
        clock.start();
        QCoreApplication::processEvents(QEventLoop::AllEvents);
        m_wall = std::max(m_wall, clock.nsecsElapsed() * 1e-6);
        m_thread = std::max(m_thread, threadMilliseconds() - before);
    }
    void reportAs(const std::string& name, const char* limit) const
    {
        report(name.c_str(), "ms", m_wall, nullptr, NAN, limit);
        report((name + "_of_thread").c_str(), "ms", m_thread, nullptr, NAN, limit);
    }

    static double threadMilliseconds()
    {
        timespec time;
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return double(time.tv_sec) * 1e3 + double(time.tv_nsec) * 1e-6;
    }

private:
    double m_wall = 0;   // ms
    double m_thread = 0; // ms
};

struct ArrivalRate
{
    double perSecond = 0;         // packets
    double perSecondOfThread = 0; // that the window's thread had
};

WorstTurn watchArrival(PacedSender& sender, UsbIPCaptureDialog& dialog, std::size_t before, ArrivalRate& rate)
{
    const double threadBefore = WorstTurn::threadMilliseconds();
    WorstTurn worst;
    QElapsedTimer whole;
    whole.start();
    while (sender.isRunning() || dialog.client().isConnected()) {
        worst.turn();
        QThread::usleep(200);
    }
    const auto packets = double(countOf(dialog) - before);
    rate = {packets / (whole.elapsed() * 1e-3), packets / (WorstTurn::threadMilliseconds() - threadBefore) * 1e3};
    return worst;
}

struct FilterTimes
{
    double shown = 0;    // ms until the newest rows are on the screen
    double complete = 0; // ms until all rows are there, the window being usable meanwhile
};

FilterTimes filterChange(UsbIPCaptureDialog& dialog, int entry, WorstTurn& worst)
{
    dialog.onHeaderSectionClicked(4);
    auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    FilterTimes times;
    QElapsedTimer clock;
    clock.start();
    menu->actions().at(entry)->trigger();
    dialog.table().viewport()->repaint();
    times.shown = clock.nsecsElapsed() * 1e-6;
    menu->close();
    while (dialog.pane().packets().isReplacingRows())
        worst.turn();
    times.complete = clock.nsecsElapsed() * 1e-6;
    return times;
}

void reportFilter(UsbIPCaptureDialog& dialog)
{
    constexpr int kIsochronousEntry = 1;
    WorstTurn worst;
    for (int change = 0; change < 2; ++change) {
        const FilterTimes times = filterChange(dialog, kIsochronousEntry, worst);
        report("capture_window_filter", "ms", times.shown, nullptr, NAN, "200 ms with 1,000,000 packets");
        report("capture_window_filter_complete", "ms", times.complete, nullptr, NAN, "none: in slices");
    }
    worst.reportAs("capture_window_filter_stall", "50 ms with 1,000,000 packets");
}

/// Answers the question where to save.
class SavingPrompter final : public Prompter
{
public:
    void information(QWidget*, const QString&, const QString&) override {}
    void warning(QWidget*, const QString&, const QString& text, const QString&) override
    {
        qFatal("%s", qPrintable(text));
    }
    bool question(QWidget*, const QString&, const QString&, const QString&) override { return false; }
    QString openFile(QWidget*, const QString&, const QString&, const QString&) override { return {}; }
    QString saveFile(QWidget*, const QString&, const QString&, const QString&) override { return path(); }

    QString path() const { return m_folder.filePath(QStringLiteral("capture.pcapng")); }

private:
    QTemporaryDir m_folder;
};

void reportSave(UsbIPCaptureDialog& dialog, const SavingPrompter& prompter)
{
    WorstTurn worst;
    QElapsedTimer clock;
    clock.start();
    QTimer::singleShot(0, &dialog, [&dialog] { dialog.pane().askAndSave(); });
    do
        worst.turn();
    while (!QFileInfo::exists(prompter.path()));
    report("capture_window_save", "ms", double(clock.elapsed()), nullptr, NAN, "none: beside the window");
    worst.reportAs("capture_window_save_stall", "50 ms with 1,000,000 packets");
}

/// A filter over every column and byte of all packets: a text that none has.
void reportTextFilter(UsbIPCaptureDialog& dialog)
{
    const PacketFilter filter = parsePacketFilter(QStringLiteral("nowhere"));
    PacketReader reader(dialog.client().store());
    const std::size_t count = dialog.client().store()->size();
    std::size_t found = 0;
    const double before = WorstTurn::threadMilliseconds();
    const double milliseconds = millisecondsOf([&] {
        for (std::size_t number = 0; number < count; ++number)
            found += filter.wants(reader.read(number)) ? 1 : 0;
    });
    const double ofThread = WorstTurn::threadMilliseconds() - before;
    if (found > 0)
        qFatal("the filter wants packets that it should not");
    const double part = double(kPackets) / double(count);
    report("capture_window_text_filter", "ms", milliseconds * part, nullptr, NAN, "300 ms for 1,000,000 packets");
    report("capture_window_text_filter_of_thread", "ms", ofThread * part, nullptr, NAN, "300 ms for 1,000,000 packets");
}

void reportLoad(SavingPrompter& prompter)
{
    CapturePane pane({}, prompter);
    WorstTurn worst;
    QElapsedTimer clock;
    clock.start();
    pane.openFile(prompter.path());
    QStringList seen;
    while (!pane.showsFile()) {
        worst.turn();
        for (const QPushButton* button : pane.findChildren<QPushButton*>()) {
            if (button->text().startsWith(QLatin1String("Cancel Opening")) && !seen.contains(button->text()))
                seen << button->text();
        }
    }
    report("capture_window_load", "ms", double(clock.elapsed()), nullptr, NAN, "none: beside the window");
    worst.reportAs("capture_window_load_stall", "50 ms with 1,000,000 packets");
    std::fprintf(stderr, "%d packets loaded, progress seen %d times\n", int(pane.packets().end()), int(seen.size()));
}

/// With its client, which keeps all packets for its lifetime.
void reportClose(std::unique_ptr<UsbIPCaptureDialog> dialog)
{
    WorstTurn worst;
    QTimer::singleShot(0, [&dialog] { dialog.reset(); });
    const auto tableIsThere = [] {
        const QWidgetList windows = QApplication::topLevelWidgets();
        return std::any_of(windows.begin(), windows.end(),
                           [](const QWidget* window) { return qobject_cast<const PacketTable*>(window) != nullptr; });
    };
    do
        worst.turn();
    while (dialog || tableIsThere());
    worst.reportAs("capture_window_close_stall", "200 ms with 1,000,000 packets");
}

void reportClear(UsbIPCaptureDialog& dialog)
{
    WorstTurn worst;
    QTimer::singleShot(0, &dialog, &UsbIPCaptureDialog::onCaptureCleared);
    do
        worst.turn();
    while (dialog.pane().packets().isReplacingRows() || countOf(dialog) > 0);
    worst.reportAs("capture_window_clear_stall", "50 ms with 1,000,000 packets");
}

void receiveMillion(UsbIPCaptureDialog& dialog)
{
    MixedTraffic traffic;
    const qint64 before = ownMemory();
    for (int packet = 0; packet < kPackets; packet += 100) {
        QByteArray frames;
        for (int i = 0; i < 100; ++i)
            frames += traffic.nextFrame();
        dialog.client().receive(frames);
    }
    QCoreApplication::processEvents();
    const PacketStore::Usage usage = dialog.client().store()->usage();
    const qint64 kept = ownMemory() - before + usage.file;
    report("capture_window_memory", "bytes/packet", double(kept - traffic.dataBytes()) / kPackets, nullptr, NAN,
           "400 bytes beside a packet's data");
    std::fprintf(stderr, "%lld MiB of memory, %lld MiB in the file, %lld MiB of them carried by packets\n",
                 (kept - usage.file) >> 20, usage.file >> 20, traffic.dataBytes() >> 20);
}

void reportArrival(UsbIPCaptureDialog& dialog)
{
    PacedSender sender(UsbIPCaptureClient::serverNameOf(dialog.processId()), 5);
    sender.start();
    while (!sender.isListening())
        QThread::msleep(1);
    while (!dialog.client().isConnected())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    ArrivalRate rate;
    const std::size_t stored = countOf(dialog);
    const WorstTurn worst = watchArrival(sender, dialog, stored, rate);
    worst.reportAs("capture_window_stall", "50 ms at 50,000 packets/s with 1,000,000 shown");
    report("capture_window_arrival", "packets/s", rate.perSecond, nullptr, NAN, "50,000, as sent");
    report("capture_window_arrival_of_thread", "packets/s", rate.perSecondOfThread, nullptr, NAN, "50,000");
    std::fprintf(stderr, "%d packets sent\n", sender.sent());
    sender.wait();
}

void measure()
{
    SavingPrompter prompter;
    const qint64 serverId = QCoreApplication::applicationPid();
    auto dialog = std::make_unique<UsbIPCaptureDialog>(serverId, 0, nullptr, prompter);
    dialog->show();
    QCoreApplication::processEvents();
    receiveMillion(*dialog);
    reportArrival(*dialog);
    reportFilter(*dialog);
    reportTextFilter(*dialog);
    reportSave(*dialog, prompter);
    reportLoad(prompter);
    reportClear(*dialog);
    dialog->pane().packets().showStore(dialog->client().store());
    while (dialog->pane().packets().isReplacingRows())
        QCoreApplication::processEvents();
    reportClose(std::move(dialog));
}

} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    QTimer::singleShot(0, &application, [] { // in the event loop, as a window of the program is
        measure();
        QCoreApplication::quit();
    });
    return QApplication::exec();
}
