#include "capture/view/capture_dialog.h"
#include "capture/view/details_view.h"
#include "capture/view/device_config_dialog.h"
#include "capture/view/packet_details_dialog.h"
#include "tests/capture/captures.h"
#include "tests/capture/packet_bytes.h"
#include "tests/capture/scripted_capture_server.h"
#include "tests/support/scripted_prompter.h"
#include "tests/support/suite_registry.h"

#include <QApplication>
#include <QDateTime>
#include <QHeaderView>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QScreen>
#include <QScrollBar>
#include <QSignalSpy>

using tests::CaptureServer;
using tests::frame;
using tests::PacketBytes;

namespace {

struct Window
{
    CaptureServer server;
    ScriptedPrompter prompter;
    UsbIPCaptureDialog dialog{server.processId(), 9, nullptr, prompter};

    Window()
    {
        dialog.show();
        [this] { QTRY_VERIFY(server.hasClient() && dialog.client().isConnected()); }();
    }
    QPushButton* button(const char* text) const
    {
        for (auto* candidate : dialog.findChildren<QPushButton*>()) {
            if (candidate->text() == QLatin1String(text))
                return candidate;
        }
        return nullptr;
    }
    bool canStart() const { return button("Start Capture")->isEnabled(); }
    bool canStop() const { return button("Stop Capture")->isEnabled(); }
    QString status() const { return dialog.findChild<QLabel*>()->text(); }
    QTreeWidget* tree() const { return dialog.findChild<QTreeWidget*>(); }
    QString column(int column) const
    {
        QStringList texts;
        for (int row = 0; row < tree()->topLevelItemCount(); ++row)
            texts << tree()->topLevelItem(row)->text(column);
        return texts.join(QLatin1Char(' '));
    }
    void add(quint32 sequence, int type, bool request = true)
    {
        UsbIPPacketInfo packet;
        packet.sequenceNumber = sequence;
        packet.transferType = quint8(type);
        packet.isRequest = request;
        dialog.onPacketCaptured(9, packet);
    }
    void toggle(int entry)
    {
        dialog.onHeaderSectionClicked(4);
        auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        QVERIFY(menu);
        QStringList names;
        for (QAction* action : menu->actions())
            names << action->text();
        QCOMPARE(names.join(QLatin1Char('|')),
                 QStringLiteral("Control (CTL)|Isochronous (ISO)|Bulk (BLK)|Interrupt (INT)"));
        menu->actions().at(entry)->trigger();
        menu->close();
    }
    /// "-" for a row with the default background, "y" for a highlighted one, in every column alike.
    QString highlights() const
    {
        QString marks;
        for (int row = 0; row < tree()->topLevelItemCount(); ++row) {
            int highlighted = 0;
            for (int column = 0; column < 10; ++column) {
                const QBrush brush = tree()->topLevelItem(row)->background(column);
                highlighted += brush.style() != Qt::NoBrush && brush.color() == QColor(255, 255, 200) ? 1 : 0;
            }
            marks += QLatin1Char(highlighted == 10 ? 'y' : highlighted == 0 ? '-' : '?');
        }
        return marks;
    }
};

} // namespace

class CaptureDialogTest : public QObject
{
    Q_OBJECT

private slots:
    void walksThroughItsStates()
    {
        Window window;
        QCOMPARE(window.status(), QStringLiteral("Connected to USBIP capture daemon"));
        QVERIFY(window.canStart() && !window.canStop());

        window.button("Start Capture")->click();
        QCOMPARE(window.status(), QStringLiteral("Starting capture..."));
        QVERIFY(!window.canStart() && window.canStop());
        QTRY_VERIFY(window.server.received().startsWith(char(10)));
        window.server.send(frame(3, "{}"));
        QTRY_COMPARE(window.status(), QStringLiteral("Capture started successfully"));
        window.server.send(frame(2, QByteArray::fromHex("05000000030000000200000000000000")));
        QTRY_COMPARE(window.status(), QStringLiteral("Capturing... Total: 5 packets (Req: 3, Rep: 2)"));

        window.button("Stop Capture")->click();
        QCOMPARE(window.status(), QStringLiteral("Stopping capture..."));
        QVERIFY(window.canStart() && !window.canStop());
        window.server.send(frame(4, "{}"));
        QTRY_COMPARE(window.status(), QStringLiteral("Capture stopped successfully"));
        window.server.send(frame(2, QByteArray::fromHex("06000000030000000300000000000000")));
        QTRY_COMPARE(window.status(), QStringLiteral("Ready. Total: 6 packets captured"));

        window.button("Start Capture")->click();
        window.server.send(frame(4, "{}")); // the device process may stop by itself
        QTRY_VERIFY(window.canStart() && !window.canStop());

        window.server.stop();
        QTRY_COMPARE(window.status(), QStringLiteral("Disconnected from USBIP capture daemon"));
        QVERIFY(!window.canStart() && !window.canStop());
        window.dialog.onConnectionError(QStringLiteral("gone"));
        QCOMPARE(window.status(), QStringLiteral("Connection error: gone"));

        const QSize hint = window.dialog.sizeHint();
        window.dialog.onConnectionError(QString(100000, QLatin1Char('\n')) + QString(900000, QLatin1Char('x')));
        QCOMPARE(window.dialog.sizeHint(), hint); // a device process cannot make the window grow
        QVERIFY(window.status().size() < 1000);
    }

    void failedCommandsWarnAndChangeNothing_data()
    {
        QTest::addColumn<QString>("slot");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("text");
        QTest::newRow("start") << "onStartCapture"
                               << "Capture Error"
                               << "Failed to start capture. Please check daemon connection.";
        QTest::newRow("stop") << "onStopCapture"
                              << "Capture Error"
                              << "Failed to stop capture. Please check daemon connection.";
        QTest::newRow("clear") << "onClearCapture"
                               << "Clear Error"
                               << "Failed to clear capture. Please check daemon connection.";
        QTest::newRow("configuration") << "onShowDeviceConfig"
                                       << "Device Configuration"
                                       << "Failed to request device configuration. Please check daemon connection.";
    }

    void failedCommandsWarnAndChangeNothing()
    {
        QFETCH(QString, slot);
        QFETCH(QString, title);
        QFETCH(QString, text);
        Window window;
        window.server.stop();
        QTRY_VERIFY(!window.dialog.client().isConnected());
        const QString status = window.status();
        window.prompter.expectWarning(title, text);
        QVERIFY(QMetaObject::invokeMethod(&window.dialog, slot.toLatin1()));
        QCOMPARE(window.prompter.verify(), QString());
        QCOMPARE(window.status(), status);
        QVERIFY(!window.canStart() && !window.canStop());
    }

    void rowsShowTheirColumns_data()
    {
        QTest::addColumn<QByteArray>("payload");
        QTest::addColumn<QString>("columns");
        PacketBytes control;
        control.sequence = 4000000000;
        control.direction = 128;
        control.length = 255;
        control.setup = QByteArray::fromHex("800600020000ff00");
        QTest::newRow("control request")
            << control.payload()
            << "4000000000|REQ|0x00|CTL|IN|255|80 06 00 02 00 00 FF 00||"
               "INN STD TO_DEV USB_REQUEST_GET_DESCRIPTORUSB_CONFIGURATION_DESCRIPTOR_TYPE";
        PacketBytes bulk = control; // setup bytes of anything but a control transfer are not shown
        bulk.request = false;
        bulk.type = 2;
        bulk.endpoint = 0xAB;
        bulk.direction = 0;
        bulk.data = QByteArray(65, '\xFA');
        QTest::newRow("bulk reply with more data than a cell shows")
            << bulk.payload()
            << QString::fromLatin1("4000000000|REP|0xab|BLK|OUT|255||" + QByteArray("FA ").repeated(64) + "...|");
        PacketBytes interrupt;
        interrupt.type = 3;
        interrupt.data = QByteArray(64, '\1');
        QTest::newRow("64 bytes are shown whole")
            << interrupt.payload()
            << QString::fromLatin1("1|REQ|0x00|INT|IN|0||" + QByteArray(64, '\1').toHex(' ') + "|");
    }

    void rowsShowTheirColumns()
    {
        QFETCH(QByteArray, payload);
        Window window;
        window.server.send(frame(1, payload));
        QTRY_COMPARE(window.tree()->topLevelItemCount(), 1);
        const QTreeWidgetItem* item = window.tree()->topLevelItem(0);
        const QDateTime time = QDateTime::fromMSecsSinceEpoch(1700000000123);
        QCOMPARE(item->text(0), time.toString(QStringLiteral("hh:mm:ss.zzz")));
        QStringList texts;
        for (int column = 1; column < 10; ++column)
            texts << item->text(column);
        QTEST(texts.join(QLatin1Char('|')), "columns");
        QVERIFY(item->data(0, Qt::UserRole).canConvert<UsbIPPacketInfo>());
    }

    void filtersByTransferType()
    {
        Window window;
        for (int type = 0; type < 5; ++type)
            window.add(quint32(type), type);
        QCOMPARE(window.column(4), QStringLiteral("CTL ISO BLK INT")); // an unknown type is in no set
        window.dialog.onHeaderSectionClicked(3);
        QVERIFY(!QApplication::activePopupWidget());

        window.toggle(2);
        QCOMPARE(window.column(4), QStringLiteral("CTL ISO INT"));
        QCOMPARE(window.status(), QStringLiteral("Filtering by: CTL, ISO, INT"));
        window.add(10, 2);
        window.add(11, 0);
        QCOMPARE(window.column(1), QStringLiteral("0 1 3 11"));
        window.toggle(2);
        QCOMPARE(window.column(1), QStringLiteral("0 1 2 3 10 11"));
        QCOMPARE(window.status(), QStringLiteral("Showing all packet types"));

        window.dialog.pane().packets().setFilter([](const PacketView& packet) { return packet.sequenceNumber >= 10; });
        QCOMPARE(window.column(1), QStringLiteral("10 11"));
        QCOMPARE(window.dialog.pane().packets().rowOf(5)->packet().sequenceNumber, 10U);
        QVERIFY(!window.dialog.pane().packets().rowOf(0));
    }

    void emptySetOfTypesIsFilledByTheNextPacket()
    {
        Window window;
        window.add(1, 0);
        for (int type = 0; type < 4; ++type)
            window.toggle(type);
        QCOMPARE(window.tree()->topLevelItemCount(), 0);
        QCOMPARE(window.status(), QStringLiteral("Filtering by: "));
        window.add(2, 1);
        QCOMPARE(window.column(1), QStringLiteral("2"));
        window.add(3, 2);
        QCOMPARE(window.column(1), QStringLiteral("2 3"));
    }

    void clickHighlightsTheRequestAndItsReply()
    {
        Window window;
        for (const quint32 sequence : {1U, 2U, 3U})
            window.add(sequence, 0);
        window.add(2, 0, false);
        QCOMPARE(window.highlights(), QStringLiteral("----"));
        QCoreApplication::processEvents(); // lays the rows out
        const QRect cell = window.tree()->visualItemRect(window.tree()->topLevelItem(3));
        QTest::mouseClick(window.tree()->viewport(), Qt::LeftButton, {}, cell.center());
        QCOMPARE(window.highlights(), QStringLiteral("-y-y"));
        auto* details = window.dialog.findChild<PacketDetailsDialog*>();
        QVERIFY(details && details->isVisible());
        QCOMPARE(details->windowTitle(), QStringLiteral("USBIP Packet Details"));
        QCOMPARE(details->view().tree()->topLevelItem(0)->child(1)->text(1), QStringLiteral("REPLY"));

        // The selected one of both has a frame, and yellow inside.
        const QImage row = window.tree()->viewport()->grab(QRect(0, cell.top(), 60, cell.height())).toImage();
        const QRgb frame = window.tree()->palette().highlight().color().rgb();
        QCOMPARE(row.pixel(30, 0), frame);
        QCOMPARE(row.pixel(30, row.height() - 1), frame);
        QCOMPARE(row.pixel(50, 3), qRgb(255, 255, 200));

        window.dialog.onPacketItemClicked(window.tree()->topLevelItem(0), 5);
        QCOMPARE(window.highlights(), QStringLiteral("y---"));
        QCOMPARE(details->view().tree()->topLevelItem(0)->child(1)->text(1), QStringLiteral("REQUEST"));
        window.add(1, 0, false); // rows are painted when one is clicked, not when they come
        QCOMPARE(window.highlights(), QStringLiteral("y----"));
        window.toggle(1);
        QCOMPARE(window.highlights(), QStringLiteral("-----"));
    }

    void selectedFieldIsMarkedInTheBytes()
    {
        DetailsView view;
        view.resize(500, 500);
        UsbIPPacketInfo packet;
        packet.isRequest = true;
        packet.setupData = QByteArray::fromHex("8006000200002200");
        packet.data = QByteArray(1000, 'x') + QByteArray::fromHex("007e7f");
        view.showPacket(packet);
        view.show();
        BytesView& bytes = *view.bytes();
        QCOMPARE(bytes.lineCount(), 1 + 1 + 1 + 63); // all of it
        QCOMPARE(bytes.lineText(65), QStringLiteral("03e0    78 78 78 78 78 78 78 78 00 7e 7f").leftJustified(57) +
                                         QStringLiteral("xxxxxxxx.~."));
        QCOMPARE(bytes.markedText().size(), 3 * 1003 - 1);
        const auto field = [&](const char* name) {
            return view.tree()->findItems(QLatin1String(name), Qt::MatchExactly | Qt::MatchRecursive).value(0);
        };
        view.tree()->setCurrentItem(field("wLength"));
        QCOMPARE(bytes.markedText(), QStringLiteral("22 00"));
        const auto colourAt = [&](int offset) {
            return QColor(bytes.viewport()->grab().toImage().pixel(
                bytes.rectOf(ByteSpan::Part::Setup, offset).bottomLeft() - QPoint(0, 1)));
        };
        QCOMPARE(colourAt(7), bytes.palette().highlight().color());
        QCOMPARE(colourAt(5), bytes.palette().base().color());
        const QRect request = bytes.rectOf(ByteSpan::Part::Setup, 1);
        QTest::mouseClick(bytes.viewport(), Qt::LeftButton, {}, request.center());
        QCOMPARE(view.tree()->currentItem()->text(1), QStringLiteral("GET_DESCRIPTOR"));
        QCOMPARE(bytes.markedText(), QStringLiteral("06"));
        // A byte that no field is made of is marked alone, and one that is out of sight is brought there.
        bytes.mark({ByteSpan::Part::Data, 1001, 2});
        QCOMPARE(bytes.markedText(), QStringLiteral("7E 7F"));
        QVERIFY(bytes.viewport()->rect().contains(bytes.rectOf(ByteSpan::Part::Data, 1002)));
        view.showPacket(packet);
        QCOMPARE(bytes.marked().size, 0);
    }

    void detailsStandBesideTheTable()
    {
        Window window;
        window.dialog.setGeometry(0, 0, 500, 300);
        window.add(1, 0);
        window.dialog.onPacketItemClicked(window.tree()->topLevelItem(0), 0);
        const auto* details = window.dialog.findChild<PacketDetailsDialog*>();
        QVERIFY(!details->frameGeometry().intersects(window.dialog.frameGeometry()));
        QVERIFY(window.dialog.screen()->availableGeometry().contains(details->frameGeometry()));
    }

    void rowWithoutPacketShowsAnError()
    {
        Window window;
        QTreeWidgetItem item;
        window.dialog.onPacketItemClicked(&item, 0);
        auto* details = window.dialog.findChild<PacketDetailsDialog*>();
        QCOMPARE(details->view().tree()->topLevelItem(0)->text(0), QStringLiteral("Error"));
        QCOMPARE(details->view().tree()->topLevelItem(0)->text(1), QStringLiteral("No packet data available"));
    }

    void clearEmptiesTheTableOnceConfirmed()
    {
        Window window;
        window.add(1, 0);
        window.button("Clear")->click();
        QCOMPARE(window.status(), QStringLiteral("Capture cleared"));
        QCOMPARE(window.tree()->topLevelItemCount(), 1);
        window.server.send(frame(5, {}));
        QTRY_COMPARE(window.status(), QStringLiteral("Capture cleared successfully"));
        QCOMPARE(window.tree()->topLevelItemCount(), 0);
        window.toggle(0);
        window.toggle(0);
        QCOMPARE(window.tree()->topLevelItemCount(), 0);
    }

    void followsTheNewestRow()
    {
        Window window;
        QScrollBar* bar = window.tree()->verticalScrollBar();
        const auto addMany = [&window] {
            for (quint32 sequence = 0; sequence < 200; ++sequence)
                window.add(sequence, 0);
        };
        addMany();
        QTRY_VERIFY(bar->maximum() > 100);
        QTRY_COMPARE(bar->value(), bar->maximum());
        window.dialog.pane().packets().setFollowNewest(false);
        bar->setValue(5);
        const int range = bar->maximum();
        addMany();
        QTRY_COMPARE(bar->maximum(), range + 200);
        QCOMPARE(bar->value(), 5);
        window.tree()->setCurrentItem(window.tree()->topLevelItem(300));
        const QRect shown = window.tree()->visualItemRect(window.tree()->topLevelItem(300));
        QVERIFY(shown.top() >= 0 && shown.bottom() <= window.tree()->viewport()->height());
        QTest::keyClick(window.tree(), Qt::Key_End);
        QCOMPARE(window.tree()->currentItem(), window.tree()->topLevelItem(399));
        QCOMPARE(bar->value(), bar->maximum());
    }

    void longListIsReplacedInSlices()
    {
        constexpr int kCount = 120'000;
        Window window;
        tests::Packets packets(kCount);
        quint32 sequence = 0;
        for (UsbIPPacketInfo& packet : packets) {
            packet.sequenceNumber = sequence++;
            packet.transferType = packet.sequenceNumber % 2 == 0 ? 0 : 2;
        }
        tests::receive(window.dialog.pane(), packets);
        QTRY_COMPARE(window.tree()->topLevelItemCount(), kCount);
        window.toggle(2);
        window.add(kCount, 0); // arrives while rows are replaced
        QCOMPARE(window.tree()->itemAt(5, 5)->text(4), QStringLiteral("CTL"));
        QTRY_COMPARE(window.tree()->topLevelItemCount(), kCount / 2 + 1);
        for (int row = 0; row <= kCount / 2; ++row) {
            if (window.tree()->topLevelItem(row)->text(1).toInt() != 2 * row)
                QFAIL("a row is out of order");
        }
        window.toggle(2);
        QCOMPARE(window.dialog.pane().packets().rowOf(0)->packet().sequenceNumber, 0U); // completes the table at once
        QCOMPARE(window.tree()->topLevelItemCount(), kCount + 1);
    }

    void longListIsClearedWhilePacketsArrive()
    {
        Window window;
        tests::receive(window.dialog.pane(), tests::Packets(120'000));
        window.dialog.onPacketItemClicked(window.dialog.pane().packets().rowOf(0),
                                          0); // every row has its sequence number, 0
        PacketBytes packet;
        packet.sequence = 0;
        const QByteArray stream = frame(1, packet.payload());
        window.dialog.client().receive(stream + frame(5, {}) + stream + stream);
        QCOMPARE(tests::countOf(window.dialog.pane()), std::size_t(2));
        PacketPane& packets = window.dialog.pane().packets();
        QCOMPARE(window.tree()->itemAt(5, 5), packets.rowOf(packets.first()));
        window.dialog.client().receive(frame(5, {}) + stream); // again, before the first rows are gone
        window.toggle(1);
        window.dialog.client().receive(stream);
        QTRY_VERIFY(!window.dialog.pane().packets().isReplacingRows());
        QCOMPARE(window.tree()->topLevelItemCount(), 2);
        QCOMPARE(window.highlights(), QStringLiteral("--"));
        QVERIFY(window.tree()->topLevelItem(0) == packets.rowOf(packets.first()));
        QVERIFY(window.tree()->topLevelItem(1) == packets.rowOf(packets.first() + 1));
    }

    void configurationOpensWithoutStoppingTheStream()
    {
        Window window;
        window.button("Device Configuration")->click();
        QCOMPARE(window.status(), QStringLiteral("Requesting device configuration..."));
        window.server.send(frame(23, "{\"config\":{\"interfaces\":[]}}") + frame(1, PacketBytes().payload()));
        QTRY_COMPARE(window.tree()->topLevelItemCount(), 1);
        QCOMPARE(window.status(), QStringLiteral("Device configuration displayed"));
        QDialog* viewer = nullptr;
        for (auto* child : window.dialog.findChildren<QDialog*>()) {
            if (child->windowTitle().startsWith(QLatin1String("Device Configuration - ")))
                viewer = child;
        }
        QVERIFY(viewer && viewer->isVisible() && !viewer->isModal());

        for (int answer = 0; answer < 20; ++answer) // one viewer, whatever comes
            window.dialog.onDeviceConfigReceived({{QStringLiteral("interfaces"), answer}});
        QCOMPARE(window.dialog.findChildren<DeviceConfigDialog*>().size(), 1);

        window.prompter.expectInformation(QStringLiteral("Device Configuration"),
                                          QStringLiteral("No configuration information available for this device."));
        window.dialog.onDeviceConfigReceived({});
        window.dialog.onDeviceConfigReceived({});     // as long as the box waits, it stands for both
        QVERIFY(!window.prompter.verify().isEmpty()); // not below the caller, which is the socket's handler
        QCOMPARE(window.status(), QStringLiteral("No configuration available"));
        QTRY_COMPARE(window.prompter.verify(), QString());
    }
};

PLUGBOARD_SUITE(CaptureDialogTest)
#include "capture_dialog_test.moc"
