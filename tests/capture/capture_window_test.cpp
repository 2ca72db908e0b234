#include "capture/packet_columns.h"
#include "capture/pcapng_file.h"
#include "tests/capture/capture_server.h"
#include "tests/capture/packet_bytes.h"
#include "tests/support/scripted_prompter.h"
#include "tests/support/suite_registry.h"
#include "tools/capture/capture_window.h"
#include "tools/capture/headless_capture.h"
#include "tools/usb_daemon/sessions/device_session.h"

#include <QApplication>
#include <QBuffer>
#include <QClipboard>
#include <QLabel>
#include <QProcess>
#include <QPushButton>
#include <QSaveFile>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTemporaryFile>

using tests::CaptureServer;
using tests::frame;
using tests::PacketBytes;

class CaptureWindowTest : public QObject
{
    Q_OBJECT

private slots:
    void savedCaptureOpensAsItWas();
    void savingOutlivesClearingAndClosing();
    void savingThatEndsEarlyLeavesTheOldFile_data();
    void savingThatEndsEarlyLeavesTheOldFile();
    void fileThatCannotBeReadSaysWhy_data();
    void fileThatCannotBeReadSaysWhy();
    void fullDiskFailsTheWriting();
    void analyserAgreesPacketByPacket_data();
    void analyserAgreesPacketByPacket();
    void filtersJumpsAndCopies();
    void countsWhatIsMissing();
    void headlessPrintsDecodings();
    void programSpeaksWithoutADisplay_data();
    void programSpeaksWithoutADisplay();
};

namespace {

/// The packets of a simulated session as the client takes them in.
PcapngFile::PacketList sessionPackets(const QString& type, int count)
{
    UsbIPCaptureClient client;
    const auto session = makeDeviceSession(type, 0x10003);
    for (int packet = 0; packet < count; ++packet)
        client.receive(packetFrame(session->nextPacket(), 1700000000000 + packet));
    return client.packets(0x10003);
}

/// What no session sends: transfers without their other half, cut after 64 KiB, of a time long ago.
PcapngFile::PacketList oddPackets()
{
    PcapngFile::PacketList packets;
    for (const int type : {ControlTransfer, IsochronousTransfer, BulkTransfer, InterruptTransfer}) {
        for (const int direction : {0, 1}) {
            UsbIPPacketInfo packet;
            packet.deviceId = 0xFFFFFFFE;
            packet.sequenceNumber = 0x80000000 + quint32(packets.size());
            packet.transferType = quint8(type);
            packet.direction = quint8(direction);
            packet.endpoint = 15;
            packet.isRequest = direction == 0;
            packet.transferLength = 1 << 20;
            packet.data = QByteArray(65535, char(type));
            packets.push_back(packet);
            packet.isRequest = direction != 0; // the leg that carries nothing
            packet.isUnlink = true;
            packet.data.clear();
            packets.push_back(packet);
        }
    }
    return packets;
}

QString textOf(const UsbIPPacketInfo& packet)
{
    return packetRowText(packet) + QStringLiteral("|%1|%2|%3|%4|%5")
                                       .arg(packet.deviceId)
                                       .arg(packet.command)
                                       .arg(packet.isUnlink)
                                       .arg(packet.timestamp)
                                       .arg(QString::fromLatin1(packet.usbipHeader.toHex() + packet.data.toHex()));
}

/// Fields of one packet as the analyser prints them, by name.
class AnalysedPacket
{
public:
    static const QStringList& names()
    {
        static const QStringList s_names =
            QStringLiteral("usb.urb_type usb.transfer_type usb.endpoint_address.number usb.endpoint_address.direction "
                           "usb.urb_len usb.urb_id usb.bmRequestType usb.setup.bRequest usbms.setup.bRequest "
                           "usb.setup.wValue usbms.setup.wValue usb.bDescriptorType usb.DescriptorIndex "
                           "usb.bConfigurationValue usb.bAlternateSetting usb.setup.wIndex usbms.setup.wIndex "
                           "usb.LanguageId usb.setup.wInterface usb.setup.wLength usbms.setup.wLength "
                           "scsi_sbc.opcode scsi.spc.opcode")
                .split(QLatin1Char(' '));
        return s_names;
    }
    explicit AnalysedPacket(const QString& line) : m_values(line.split(QLatin1Char('\t'))) {}

    QString text(const char* name) const { return m_values.value(names().indexOf(QLatin1String(name))); }
    /// The first of the fields that is there; -1 when none is.
    int number(std::initializer_list<const char*> candidates) const
    {
        for (const char* name : candidates) {
            if (!text(name).isEmpty())
                return text(name).toInt(nullptr, 0);
        }
        return -1;
    }

    QString transfer() const
    {
        return QStringLiteral("%1 type %2 endpoint %3 direction %4 length %5 id %6")
            .arg(text("usb.urb_type"), text("usb.transfer_type"), text("usb.endpoint_address.number"),
                 text("usb.endpoint_address.direction"), text("usb.urb_len"), text("usb.urb_id"));
    }
    QString setup() const
    {
        int value =
            number({"usb.setup.wValue", "usbms.setup.wValue", "usb.bConfigurationValue", "usb.bAlternateSetting"});
        if (value < 0)
            value = number({"usb.bDescriptorType"}) * 256 + number({"usb.DescriptorIndex"});
        return QStringLiteral("type %1 request %2 value %3 index %4 length %5")
            .arg(number({"usb.bmRequestType"}))
            .arg(number({"usb.setup.bRequest", "usbms.setup.bRequest"}))
            .arg(value)
            .arg(number({"usb.setup.wIndex", "usbms.setup.wIndex", "usb.LanguageId", "usb.setup.wInterface"}))
            .arg(number({"usb.setup.wLength", "usbms.setup.wLength"}));
    }

private:
    QStringList m_values;
};

QString transferOf(const UsbIPPacketInfo& packet)
{
    static const char* const kTypes[] = {"0x02", "0x00", "0x03", "0x01"};
    return QStringLiteral("%1 type %2 endpoint %3 direction %4 length %5 id 0x%6%7")
        .arg(packet.isRequest ? QStringLiteral("'S'") : QStringLiteral("'C'"))
        .arg(QLatin1String(kTypes[packet.transferType]))
        .arg(packet.endpoint)
        .arg(packet.direction)
        .arg(packet.transferLength)
        .arg(packet.deviceId, 8, 16, QLatin1Char('0'))
        .arg(packet.sequenceNumber, 8, 16, QLatin1Char('0'));
}

QString setupOf(const UsbIPPacketInfo& packet)
{
    const auto* bytes = reinterpret_cast<const uchar*>(packet.setupData.constData());
    return QStringLiteral("type %1 request %2 value %3 index %4 length %5")
        .arg(bytes[0])
        .arg(bytes[1])
        .arg(bytes[2] | bytes[3] << 8)
        .arg(bytes[4] | bytes[5] << 8)
        .arg(bytes[6] | bytes[7] << 8);
}

QStringList analyse(const QString& path)
{
    QStringList arguments{QStringLiteral("-n"),          QStringLiteral("-r"),     path,
                          QStringLiteral("-T"),          QStringLiteral("fields"), QStringLiteral("-E"),
                          QStringLiteral("occurrence=f")};
    // Decoders of device classes would give the fields of requests names of their own.
    for (const char* protocol : {"usbhid", "usbvideo", "usbaudio", "usbcom"})
        arguments << QStringLiteral("--disable-protocol") << QLatin1String(protocol);
    for (const QString& name : AnalysedPacket::names())
        arguments << QStringLiteral("-e") << name;
    QProcess process;
    process.start(QStringLiteral("tshark"), arguments);
    process.waitForFinished(120000);
    return QString::fromUtf8(process.readAllStandardOutput()).split(QLatin1Char('\n'));
}

} // namespace

void CaptureWindowTest::savedCaptureOpensAsItWas()
{
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("capture.pcapng"));
    ScriptedPrompter prompter;
    CaptureWindow window(CaptureServer::nextProcessId(), 1, prompter);
    PcapngFile::PacketList packets;
    for (const QString& type : deviceSessionTypes()) {
        for (const UsbIPPacketInfo& packet : sessionPackets(type, 300))
            packets.push_back(packet);
    }
    window.dialog().setPackets(packets);
    prompter.expectSaveFile(QStringLiteral("Save Capture"), QStringLiteral("Captures (*.pcapng)"), path);
    window.dialog().askAndSave();
    QTRY_VERIFY(QFileInfo::exists(path)); // whole as soon as it is there
    QCOMPARE(prompter.verify(), QString());
    const auto others = QFileDevice::ReadGroup | QFileDevice::ReadOther | QFileDevice::WriteGroup;
#ifndef Q_OS_WIN
    QVERIFY(!(QFile::permissions(path) & others));
#else
    Q_UNUSED(others)
#endif
    window.dialog().setPackets({});
    QCOMPARE(window.openCapture(path), QString());
    QCOMPARE(window.dialog().packets().size(), packets.size());
    for (std::size_t number = 0; number < packets.size(); ++number)
        QCOMPARE(textOf(window.dialog().packets()[number]), textOf(packets[number]));
    QCOMPARE(window.dialog().table().topLevelItemCount(), int(packets.size()));
}

void CaptureWindowTest::savingOutlivesClearingAndClosing()
{
    constexpr int kCount = 120'000;
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("capture.pcapng"));
    ScriptedPrompter prompter;
    const auto tables = [] {
        const auto windows = QApplication::topLevelWidgets();
        return std::count_if(windows.begin(), windows.end(), [](QWidget* w) { return qobject_cast<PacketTable*>(w); });
    };
    QEventLoop loop; // without one, closing frees everything at once
    QTimer::singleShot(0, &loop, [&] {
        auto dialog = std::make_unique<UsbIPCaptureDialog>(CaptureServer::nextProcessId(), 1, nullptr, prompter);
        dialog->setPackets(UsbIPCaptureDialog::PacketList(kCount));
        prompter.expectSaveFile(QStringLiteral("Save Capture"), QStringLiteral("Captures (*.pcapng)"), path);
        dialog->askAndSave();
        dialog->setPackets(UsbIPCaptureDialog::PacketList(kCount));
        dialog.reset();
        QCOMPARE(tables(), 1);
        QTRY_VERIFY(QFileInfo::exists(path));
        loop.quit();
    });
    loop.exec();
    QTRY_COMPARE(tables(), 0);
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(PcapngFile::read(file).packets.size(), std::size_t(kCount));
}

void CaptureWindowTest::savingThatEndsEarlyLeavesTheOldFile_data()
{
    QTest::addColumn<bool>("cancelled");
    QTest::newRow("cancelled") << true;
    QTest::newRow("file cannot be written") << false;
}

void CaptureWindowTest::savingThatEndsEarlyLeavesTheOldFile()
{
    QFETCH(bool, cancelled);
    QTemporaryDir folder;
    QFile old(folder.filePath(QStringLiteral("capture.pcapng")));
    QVERIFY(old.open(QIODevice::WriteOnly) && old.write("old") == 3);
    old.close();
    ScriptedPrompter prompter;
    UsbIPCaptureDialog dialog(CaptureServer::nextProcessId(), 1, nullptr, prompter);
    dialog.setPackets(UsbIPCaptureDialog::PacketList(200'000));
    auto buttons = dialog.findChildren<QPushButton*>();
    const auto save = std::find_if(buttons.begin(), buttons.end(), [](const QPushButton* button) {
        return button->text() == QLatin1String("Save Capture...");
    });
    QSaveFile target(old.fileName() + (cancelled ? QString() : QStringLiteral("/below a file")));
    prompter.expectSaveFile(QStringLiteral("Save Capture"), QStringLiteral("Captures (*.pcapng)"), target.fileName());
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

void CaptureWindowTest::fileThatCannotBeReadSaysWhy_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("error");
    QTest::addColumn<int>("packets");
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    PcapngFile::write(buffer, sessionPackets(QStringLiteral("keyboard"), 2));
    const QByteArray whole = buffer.data();
    QTest::newRow("whole") << whole << "" << 2;
    QTest::newRow("text") << QByteArray("GIF89a and more") << "The file is not a pcapng file." << 0;
    QTest::newRow("cut within the last packet") << whole.left(whole.size() - 3) << "The file ends within a block." << 1;
    QTest::newRow("cut within a block's head") << whole.left(33) << "The file ends within a block." << 0;
    QByteArray bigEndian = whole;
    std::reverse(bigEndian.begin() + 8, bigEndian.begin() + 12);
    QTest::newRow("big-endian") << bigEndian << "The file's byte order is not supported." << 0;
    QByteArray endless = whole;
    endless.replace(32, 4, QByteArray(4, '\xF0'));
    QTest::newRow("block of four gigabytes")
        << endless << "The file has a block of impossible length or byte order." << 0;
    QByteArray wrongLink = whole;
    wrongLink[36] = 1;
    QTest::newRow("packets of another link are passed over") << wrongLink << "" << 0;
}

void CaptureWindowTest::fileThatCannotBeReadSaysWhy()
{
    QFETCH(QByteArray, bytes);
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    const PcapngFile::ReadResult result = PcapngFile::read(buffer);
    QTEST(result.error, "error");
    QTEST(int(result.packets.size()), "packets");
}

void CaptureWindowTest::fullDiskFailsTheWriting()
{
    struct FullDisk : QIODevice
    {
        qint64 room = 5000;
        qint64 readData(char*, qint64) override { return -1; }
        qint64 writeData(const char*, qint64 size) override
        {
            const qint64 taken = std::min(size, room);
            room -= taken;
            return taken > 0 ? taken : -1;
        }
    } disk;
    disk.open(QIODevice::WriteOnly | QIODevice::Unbuffered);
    QVERIFY(!PcapngFile::write(disk, sessionPackets(QStringLiteral("camera"), 200)));
}

void CaptureWindowTest::analyserAgreesPacketByPacket_data()
{
    QTest::addColumn<QString>("type");
    for (const QString& type : deviceSessionTypes())
        QTest::newRow(qPrintable(type)) << type;
    QTest::newRow("no packets") << "none";
    QTest::newRow("odd packets") << "odd";
}

void CaptureWindowTest::analyserAgreesPacketByPacket()
{
    QFETCH(QString, type);
    if (QStandardPaths::findExecutable(QStringLiteral("tshark")).isEmpty())
        QSKIP("tshark is not installed");
    QTemporaryDir folder;
    QFile file(folder.filePath(QStringLiteral("capture.pcapng")));
    QVERIFY(file.open(QIODevice::WriteOnly));
    PcapngFile::PacketList packets;
    if (type != QLatin1String("none"))
        packets = type == QLatin1String("odd") ? oddPackets() : sessionPackets(type, 200);
    QVERIFY(PcapngFile::write(file, packets));
    file.close();

    const QStringList lines = analyse(file.fileName());
    QCOMPARE(lines.size() - 1, int(packets.size()));
    int commands = 0;
    for (std::size_t number = 0; number < packets.size(); ++number) {
        const UsbIPPacketInfo& packet = packets[number];
        const AnalysedPacket analysed(lines[int(number)]);
        QCOMPARE(analysed.transfer(), transferOf(packet));
        if (packet.setupData.size() == 8)
            QCOMPARE(analysed.setup(), setupOf(packet));
        if (packet.isRequest && packet.data.startsWith("USBC")) {
            ++commands;
            QCOMPARE(analysed.number({"scsi_sbc.opcode", "scsi.spc.opcode"}), int(uchar(packet.data.at(15))));
        }
    }
    QVERIFY(commands > 10 || type != QLatin1String("udisk"));
}

void CaptureWindowTest::filtersJumpsAndCopies()
{
    ScriptedPrompter prompter;
    CaptureWindow window(CaptureServer::nextProcessId(), 1, prompter);
    window.dialog().setPackets(sessionPackets(QStringLiteral("udisk"), 100));
    PacketTable& table = window.dialog().table();
    QVERIFY(!window.jumpToCounterpart());
    table.setCurrentItem(table.topLevelItem(4));
    QVERIFY(window.jumpToCounterpart());
    QCOMPARE(table.currentItem(), table.topLevelItem(5));
    QVERIFY(window.jumpToCounterpart());
    QCOMPARE(table.currentItem(), table.topLevelItem(4));
    window.copyRow();
    QCOMPARE(QApplication::clipboard()->text(), packetRowText(window.dialog().packets()[4]));

    window.setTextFilter(QStringLiteral("usb_string"));
    QVERIFY(table.topLevelItemCount() > 0);
    for (int row = 0; row < table.topLevelItemCount(); ++row)
        QVERIFY(table.topLevelItem(row)->text(DetailsColumn).contains(QLatin1String("USB_STRING_DESCRIPTOR_TYPE")));
    table.setCurrentItem(table.topLevelItem(0));
    QVERIFY(!window.jumpToCounterpart()); // filtered out
    window.setTextFilter({});
    QCOMPARE(table.topLevelItemCount(), 100);
}

void CaptureWindowTest::countsWhatIsMissing()
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
    CaptureWindow window(CaptureServer::nextProcessId(), 1, prompter);
    UsbIPCaptureClient& client = window.dialog().client();
    QCOMPARE(window.lossText(), QStringLiteral("Cut: 0   Dropped: 0"));
    client.receive(stats(50) + frame(1, cut.payload()) + frame(1, request.payload()) + stats(52));
    QCOMPARE(window.lossText(), QStringLiteral("Cut: 1   Dropped: 0"));
    client.receive(stats(60));
    QCOMPARE(window.lossText(), QStringLiteral("Cut: 1   Dropped: 8"));
    QTest::ignoreMessage(QtWarningMsg, "Invalid packet captured message size");
    client.receive(frame(5, {}) + frame(1, "short") + stats(0));
    QCOMPARE(window.lossText(), QStringLiteral("Cut: 1   Dropped: 9"));
}

void CaptureWindowTest::headlessPrintsDecodings()
{
    CaptureServer server;
    QTemporaryFile output;
    QVERIFY(output.open());
    HeadlessCapture capture(server.processId(), 2, output);
    QSignalSpy finished(&capture, &HeadlessCapture::finished);
    QTRY_VERIFY(server.hasClient() && server.received().startsWith(char(10)));
    PacketBytes packet;
    packet.setup = QByteArray::fromHex("a181000200010200");
    server.send(frame(1, packet.payload()));
    QTRY_VERIFY(QFileInfo(output.fileName()).size() > 0);
    QCOMPARE(finished.count(), 0); // who watches sees the line when it comes
    QTRY_COMPARE(finished.count(), 1);
    QCOMPARE(finished[0][0].toString(), QString());
    output.seek(0);
    QVERIFY(output.readAll().endsWith(
        "1 REQ 0x00 CTL IN 0 INN CLS TO_INF GET_CUR(0x81) [INTF:00 UNIT:01 CS:02 ZERO:00]\n"));
}

void CaptureWindowTest::programSpeaksWithoutADisplay_data()
{
    QTest::addColumn<QString>("arguments");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QString>("text"); // in what it prints
    QTest::newRow("help") << "--help" << 0 << "--headless <SECONDS>";
    QTest::newRow("version") << "--version" << 0 << "plugboard-capture " PLUGBOARD_VERSION;
    QTest::newRow("nothing asked for") << "" << 3 << "The process id of a device process is missing.";
    QTest::newRow("unknown option") << "--nonsense" << 3 << "Unknown option 'nonsense'.";
    QTest::newRow("process id") << "12x" << 3 << "'12x' is not a process id.";
    QTest::newRow("two process ids") << "12 13" << 3 << "Unexpected argument '13'.";
    QTest::newRow("device id") << "12 --device -1" << 3 << "'-1' is not a device id.";
    QTest::newRow("seconds") << "12 --headless nan" << 3 << "'nan' is not a number of seconds.";
    QTest::newRow("no device process") << "4000000 --headless 0.1" << 1 << "No capture was possible: ";
}

void CaptureWindowTest::programSpeaksWithoutADisplay()
{
    QFETCH(QString, arguments);
    QFETCH(QString, text);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"})
        environment.remove(QLatin1String(name));
    QProcess process;
    process.setProcessEnvironment(environment);
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(QCoreApplication::applicationDirPath() + QStringLiteral("/plugboard-capture"),
                  arguments.split(QLatin1Char(' '), Qt::SkipEmptyParts));
    QVERIFY(process.waitForFinished());
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QTEST(process.exitCode(), "exitCode");
    const QString printed = QString::fromUtf8(process.readAll());
    QVERIFY2(printed.contains(text), qPrintable(printed));
}

PLUGBOARD_SUITE(CaptureWindowTest)
#include "capture_window_test.moc"
