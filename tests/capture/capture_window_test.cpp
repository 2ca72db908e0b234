#include "capture/decode/packet_columns.h"
#include "capture/file/file_job.h"
#include "capture/view/capture_dialog.h"
#include "tests/capture/captures.h"
#include "tests/capture/packet_bytes.h"
#include "tests/capture/scripted_capture_server.h"
#include "tests/support/sample_traffic.h"
#include "tests/support/scripted_prompter.h"
#include "tests/support/suite_registry.h"
#include "tools/capture/capture_window.h"

#include <QApplication>
#include <QClipboard>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QSaveFile>
#include <QScopeGuard>
#include <QTemporaryDir>

using tests::CaptureServer;
using tests::frame;
using tests::PacketBytes;
using tests::Packets;
using tests::sessionPackets;
using tests::writeCapture;

namespace {

const QString kSaveFilter = QStringLiteral("Captures (*.pcapng);;pcap with records of Linux (*.pcap);;"
                                           "pcap with records of Windows (*.usbpcap);;"
                                           "usbmon text (*.txt);;usbmon records (*.mon)");

QString textOf(const UsbIPPacketInfo& packet)
{
    return packetRowText(packet) + QStringLiteral("|%1|%2|%3|%4|%5")
                                       .arg(packet.deviceId)
                                       .arg(packet.command)
                                       .arg(packet.isUnlink)
                                       .arg(packet.timestamp)
                                       .arg(QString::fromLatin1(packet.usbipHeader.toHex() + packet.data.toHex()));
}

} // namespace

class CaptureWindowTest : public QObject
{
    Q_OBJECT

private slots:
    void savedCaptureOpensAsItWas()
    {
        QTemporaryDir folder;
        const QString path = folder.filePath(QStringLiteral("capture.pcapng"));
        ScriptedPrompter prompter;
        CaptureWindow window({CaptureServer::nextProcessId(), 0}, prompter);
        Packets packets;
        for (const QString& type : tests::SampleTraffic::kinds()) {
            for (const UsbIPPacketInfo& packet : sessionPackets(type, 300))
                packets.push_back(packet);
        }
        tests::receive(window.pane(), packets);
        prompter.expectSaveFile(QStringLiteral("Save Capture"), kSaveFilter, path);
        window.pane().askAndSave();
        QTRY_VERIFY(QFileInfo::exists(path)); // whole as soon as it is there
        QCOMPARE(prompter.verify(), QString());
        const auto others = QFileDevice::ReadGroup | QFileDevice::ReadOther | QFileDevice::WriteGroup;
#ifndef Q_OS_WIN
        QVERIFY(!(QFile::permissions(path) & others));
#else
        Q_UNUSED(others)
#endif
        QTRY_COMPARE(window.pane().findChild<QLabel*>()->text(), QStringLiteral("Capture saved"));
        window.openCapture(path);
        QTRY_VERIFY(window.pane().showsFile());
        QCOMPARE(tests::countOf(window.pane()), packets.size());
        for (std::size_t number = 0; number < packets.size(); ++number)
            QCOMPARE(textOf(window.pane().packets().store()->at(number)), textOf(packets[number]));
        QCOMPARE(window.table().topLevelItemCount(), int(packets.size()));
    }

    void savingOutlivesClearingAndClosing()
    {
        constexpr int kCount = 120'000;
        QTemporaryDir folder;
        const QString path = folder.filePath(QStringLiteral("capture.pcapng"));
        ScriptedPrompter prompter;
        const auto tables = [] {
            const auto windows = QApplication::topLevelWidgets();
            return std::count_if(windows.begin(), windows.end(),
                                 [](QWidget* w) { return qobject_cast<PacketTable*>(w); });
        };
        QEventLoop loop; // without one, closing frees everything at once
        QTimer::singleShot(0, &loop, [&] {
            const auto end = qScopeGuard([&loop] { loop.quit(); });
            auto dialog = std::make_unique<UsbIPCaptureDialog>(CaptureServer::nextProcessId(), 1, nullptr, prompter);
            tests::receive(dialog->pane(), Packets(kCount));
            prompter.expectSaveFile(QStringLiteral("Save Capture"), kSaveFilter, path);
            dialog->pane().askAndSave();
            dialog->onCaptureCleared();
            dialog.reset();
            QCOMPARE(tables(), 1);
            QTRY_VERIFY_WITH_TIMEOUT(QFileInfo::exists(path), 60'000);
        });
        loop.exec();
        QTRY_COMPARE(tables(), 0);
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(tests::readCapture(file).packets.size(), std::size_t(kCount));
    }

    void savingThatEndsEarlyLeavesTheOldFile_data()
    {
        QTest::addColumn<bool>("cancelled");
        QTest::newRow("cancelled") << true;
        QTest::newRow("file cannot be written") << false;
    }

    void savingThatEndsEarlyLeavesTheOldFile()
    {
        QFETCH(bool, cancelled);
        QTemporaryDir folder;
        QFile old(folder.filePath(QStringLiteral("capture.pcapng")));
        QVERIFY(old.open(QIODevice::WriteOnly) && old.write("old") == 3);
        old.close();
        ScriptedPrompter prompter;
        UsbIPCaptureDialog dialog(CaptureServer::nextProcessId(), 1, nullptr, prompter);
        tests::receive(dialog.pane(), Packets(200'000));
        auto buttons = dialog.findChildren<QPushButton*>();
        const auto save = std::find_if(buttons.begin(), buttons.end(), [](const QPushButton* button) {
            return button->text() == QLatin1String("Save Capture...");
        });
        QSaveFile target(old.fileName() + (cancelled ? QString() : QStringLiteral("/below a file")));
        prompter.expectSaveFile(QStringLiteral("Save Capture"), kSaveFilter, target.fileName());
        (*save)->click();
        QVERIFY((*save)->text().startsWith(QLatin1String("Cancel Saving (")));
        if (cancelled)
            (*save)->click();
        else if (!target.open(QIODevice::WriteOnly))
            prompter.expectWarning(QStringLiteral("Error"),
                                   QStringLiteral("The capture could not be saved: ") + target.errorString());
        QTRY_COMPARE((*save)->text(), QStringLiteral("Save Capture..."));
        QCOMPARE(prompter.verify(), QString());
        QCOMPARE(dialog.findChild<QLabel*>()->text() == QLatin1String("Saving cancelled"), cancelled);
        QVERIFY(old.open(QIODevice::ReadOnly));
        QCOMPARE(old.readAll(), QByteArray("old"));
        QCOMPARE(QDir(folder.path()).entryList(QDir::Files), {QStringLiteral("capture.pcapng")});
    }

    void wrongFileLeavesTheWindowAsItIs()
    {
        QTemporaryDir folder;
        const QString path = folder.filePath(QStringLiteral("holiday.pcapng"));
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write("GIF89a and more") > 0);
        file.close();
        ScriptedPrompter prompter;
        CaptureWindow window({CaptureServer::nextProcessId(), 0}, prompter);
        tests::receive(window.pane(), sessionPackets(QStringLiteral("mouse"), 10));
        const QString question =
            QStringLiteral("Captured packets are in no file yet. Open another capture all the same?");
        prompter.expectQuestion(QStringLiteral("Unsaved Packets"), question, false);
        window.openCapture(path);
        QCOMPARE(prompter.verify(), QString());
        const auto refuse = [&] {
            prompter.expectWarning(QStringLiteral("Error"),
                                   QStringLiteral("The capture could not be read: The file is not a pcapng file."));
            window.openCapture(path); // these packets were asked about
        };
        refuse();
        QTRY_COMPARE(prompter.verify(), QString());
        QCOMPARE(window.table().topLevelItemCount(), 10);
        tests::receive(window.pane(), sessionPackets(QStringLiteral("mouse"), 1));
        prompter.expectQuestion(QStringLiteral("Unsaved Packets"), question, true);
        refuse();
        QTRY_COMPARE(prompter.verify(), QString());
        QCOMPARE(window.table().topLevelItemCount(), 11);
        QVERIFY(window.close()); // asked about too
    }

    void livePacketsStayOutOfAnOpenedFile()
    {
        QTemporaryDir folder;
        QFile file(folder.filePath(QStringLiteral("capture.pcapng")));
        QVERIFY(file.open(QIODevice::WriteOnly) && writeCapture(file, sessionPackets(QStringLiteral("mouse"), 5)));
        file.close();
        ScriptedPrompter prompter;
        CaptureWindow window({CaptureServer::nextProcessId(), 0}, prompter);
        window.openCapture(file.fileName());
        QTRY_VERIFY(window.pane().showsFile());
        const QByteArray stream = frame(1, PacketBytes().payload());
        window.pane().client().receive(stream + stream + frame(5, {}) + stream);
        QCOMPARE(window.table().topLevelItemCount(), 5);
        window.pane().showLive();
        QCOMPARE(window.table().topLevelItemCount(), 1);
        window.pane().client().receive(stream);
        QCOMPARE(window.table().topLevelItemCount(), 2);

        // A file that is being read, which is cancelled, while the capture is cleared or the window closed.
        auto* cancel = window.pane().findChildren<QPushButton*>().at(3);
        prompter.expectQuestion(
            QStringLiteral("Unsaved Packets"),
            QStringLiteral("Captured packets are in no file yet. Open another capture all the same?"), true);
        window.openCapture(file.fileName());
        QVERIFY(cancel->text().startsWith(QLatin1String("Cancel Opening (")));
        cancel->click();
        QTRY_COMPARE(window.pane().findChild<QLabel*>()->text(), QStringLiteral("Opening cancelled"));
        QCOMPARE(window.table().topLevelItemCount(), 2);
        window.openCapture(file.fileName());
        window.pane().onCleared();
        QTRY_VERIFY(window.pane().showsFile());
        QCOMPARE(window.table().topLevelItemCount(), 5);
        auto closed = std::make_unique<CaptureWindow>(CaptureTarget{}, prompter);
        closed->openCapture(file.fileName());
        closed.reset();
        QTRY_VERIFY(!QCoreApplication::instance()->findChild<FileJob*>());
    }

    void noTypeIsOnUntilAPacketComes()
    {
        ScriptedPrompter prompter;
        CaptureWindow window({CaptureServer::nextProcessId(), 0}, prompter);
        tests::receive(window.pane(), sessionPackets(QStringLiteral("mouse"), 10));
        for (int type = 0; type < 4; ++type) {
            window.pane().packets().clickHeader(TransferTypeColumn);
            auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
            menu->actions().at(type)->trigger();
            menu->close();
        }
        QCOMPARE(window.table().topLevelItemCount(), 0);
        window.pane().client().receive(frame(1, PacketBytes().payload()));
        QCOMPARE(window.table().topLevelItemCount(), 11);
        QCOMPARE(window.pane().findChild<QLabel*>()->text(), QStringLiteral("Showing all packet types"));
    }

    void showsOneDeviceOnly()
    {
        ScriptedPrompter prompter;
        CaptureWindow window({CaptureServer::nextProcessId(), 8}, prompter);
        PacketBytes packet;
        const QByteArray other = frame(1, packet.payload());
        packet.deviceId = 8;
        window.pane().client().receive(other + frame(1, packet.payload()) + other);
        QCOMPARE(window.table().topLevelItemCount(), 1);
        window.setFilterText(QStringLiteral("x"));
        window.setFilterText({});
        QCOMPARE(window.table().topLevelItemCount(), 1);
    }

    void filtersJumpsAndCopies()
    {
        ScriptedPrompter prompter;
        CaptureWindow window({CaptureServer::nextProcessId(), 0}, prompter);
        tests::receive(window.pane(), sessionPackets(QStringLiteral("udisk"), 100));
        PacketTable& table = window.table();
        QVERIFY(!window.jumpToCounterpart());
        table.setCurrentItem(table.topLevelItem(4));
        QVERIFY(window.jumpToCounterpart());
        QCOMPARE(table.currentItem(), table.topLevelItem(5));
        QVERIFY(window.jumpToCounterpart());
        QCOMPARE(table.currentItem(), table.topLevelItem(4));
        window.copyRow();
        QCOMPARE(QApplication::clipboard()->text(), packetRowText(window.pane().packets().store()->at(4)));

        // Searching goes round, and finds only what the filter leaves.
        const auto found = [&](const char* text, PacketSearch::Direction direction) {
            window.find(QString::fromLatin1(text), direction);
            QCoreApplication::processEvents();
            return static_cast<PacketItem*>(table.currentItem())->number();
        };
        const auto next = PacketSearch::Direction::Next;
        const auto previous = PacketSearch::Direction::Previous;
        const quint32 read = found("data contains \"USBC\"", next);
        QVERIFY(read > 4);
        QVERIFY(window.pane().packets().store()->at(read).data.startsWith("USBC"));
        QVERIFY(found("data contains \"USBC\"", previous) > read);
        QCOMPARE(found("data contains \"USBC\"", next), read);
        window.setFilterText(QStringLiteral("kind == request && transfer == control"));
        QVERIFY(window.pane().packets().store()->at(found("!unlink", next)).isRequest);
        QTRY_VERIFY(!window.pane().packets().isReplacingRows());
        QCOMPARE(window.countText(), QStringLiteral("%1 of 100 packets").arg(table.topLevelItemCount()));
        const int rows = table.topLevelItemCount();
        window.setFilterText(QStringLiteral("kind == reqest"));
        QCOMPARE(table.topLevelItemCount(), rows); // while it is wrong, the last one that made sense

        window.setFilterText(QStringLiteral("usb_string"));
        QVERIFY(table.topLevelItemCount() > 0);
        for (int row = 0; row < table.topLevelItemCount(); ++row)
            QVERIFY(table.topLevelItem(row)->text(DetailsColumn).contains(QLatin1String("USB_STRING_DESCRIPTOR_TYPE")));
        table.setCurrentItem(table.topLevelItem(0));
        QVERIFY(!window.jumpToCounterpart()); // filtered out
        window.setFilterText({});
        QCOMPARE(table.topLevelItemCount(), 100);
        // A text is found in what a packet means, too: no other column knows of it.
        QVERIFY(window.pane().packets().store()->at(found("bot command", next)).data.startsWith("USBC"));
        window.setFilterText(QStringLiteral("meaning contains \"bot command\""));
        const int commands = table.topLevelItemCount();
        window.setFilterText(QStringLiteral("data contains \"USBC\""));
        QVERIFY(commands > 0 && commands == table.topLevelItemCount());
    }

    void countsWhatIsMissing()
    {
        const auto stats = [](quint32 total) {
            QByteArray counters(16, '\0');
            qToLittleEndian(total, counters.data());
            return frame(2, counters);
        };
        PacketBytes cut;
        cut.type = 2;
        cut.direction = 0;
        cut.length = 100000;
        cut.data = QByteArray(65535, 'x');
        PacketBytes request = cut; // has no data of its own
        request.direction = 1;
        request.data.clear();
        ScriptedPrompter prompter;
        CaptureWindow window({CaptureServer::nextProcessId(), 0}, prompter);
        UsbIPCaptureClient& client = window.pane().client();
        QCOMPARE(window.lossText(), QStringLiteral("Cut: 0   Dropped: 0"));
        PacketBytes shortReply; // its length is that of the buffer, of which less was used
        shortReply.request = false;
        shortReply.length = 255;
        shortReply.data = QByteArray(18, 'x');
        shortReply.header = QByteArray(48, '\0');
        tests::put(shortReply.header, 24, quint32(18));
        client.receive(stats(50) + frame(1, cut.payload()) + frame(1, request.payload()) + stats(52) +
                       frame(1, shortReply.payload()) + stats(53));
        QCOMPARE(window.lossText(), QStringLiteral("Cut: 1   Dropped: 0"));
        client.receive(stats(61));
        QCOMPARE(window.lossText(), QStringLiteral("Cut: 1   Dropped: 8"));
        QTest::ignoreMessage(QtWarningMsg, "Invalid packet captured message size");
        client.receive(frame(5, {}) + frame(1, "short") + stats(0));
        QCOMPARE(window.lossText(), QStringLiteral("Cut: 1   Dropped: 9"));
    }
};

PLUGBOARD_SUITE(CaptureWindowTest)
#include "capture_window_test.moc"
