#include "capture/channel/usbip_header.h"
#include "capture/decode/packet_columns.h"
#include "capture/file/file_job.h"
#include "capture/view/capture_dialog.h"
#include "tests/capture/capture_server.h"
#include "tests/capture/captures.h"
#include "tests/capture/packet_bytes.h"
#include "tests/emulation/end_request.h"
#include "tests/support/sample_traffic.h"
#include "tests/support/scripted_prompter.h"
#include "tests/support/suite_registry.h"
#include "tools/capture/capture_window.h"
#include "tools/capture/headless_capture.h"

#include <QApplication>
#include <QBuffer>
#include <QClipboard>
#include <QLabel>
#include <QMenu>
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
using tests::Packets;
using tests::writeCapture;

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
    void fullDiskFailsTheWritingAndSaysWhy();
    void wrongFileLeavesTheWindowAsItIs();
    void livePacketsStayOutOfAnOpenedFile();
    void noTypeIsOnUntilAPacketComes();
    void showsOneDeviceOnly();
    void recordsOfOthersKeepTheirStatus_data();
    void recordsOfOthersKeepTheirStatus();
    void analyserAgreesPacketByPacket_data();
    void analyserAgreesPacketByPacket();
    void otherFormsReadBack_data();
    void otherFormsReadBack();
    void filtersJumpsAndCopies();
    void countsWhatIsMissing();
    void headlessPrintsDecodings();
    void interruptedProgramStopsTheCapture();
    void programSpeaksWithoutADisplay_data();
    void programSpeaksWithoutADisplay();
};

namespace {

const QString kSaveFilter = QStringLiteral("Captures (*.pcapng);;pcap with records of Linux (*.pcap);;"
                                           "pcap with records of Windows (*.usbpcap)");

/// The packets of such a device as the client takes them in.
Packets sessionPackets(const QString& type, int count)
{
    UsbIPCaptureClient client;
    tests::SampleTraffic traffic(type, 0x10003);
    for (int packet = 0; packet < count; ++packet)
        client.receive(traffic.nextFrame(1700000000000 + packet));
    return client.packets(0x10003);
}

/// What no session sends: transfers without their other half, cut after 64 KiB, of a time long ago.
Packets oddPackets()
{
    Packets packets;
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
            QStringLiteral(
                "usb.urb_type usb.transfer_type usb.endpoint_address.number usb.endpoint_address.direction "
                "usb.urb_len usb.urb_status usb.urb_id usb.bmRequestType usb.setup.bRequest usbms.setup.bRequest "
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
        return QStringLiteral("%1 type %2 endpoint %3 direction %4 length %5 status %6 id %7")
            .arg(text("usb.urb_type"), text("usb.transfer_type"), text("usb.endpoint_address.number"),
                 text("usb.endpoint_address.direction"), text("usb.urb_len"), text("usb.urb_status"),
                 text("usb.urb_id"));
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

qint32 headerWord(const UsbIPPacketInfo& packet, int place, qint32 otherwise)
{
    const bool there = packet.usbipHeader.size() >= 4 * (place + 1);
    return there ? qFromBigEndian<qint32>(packet.usbipHeader.constData() + 4 * place) : otherwise;
}

/// The submissions and completions that these packets amount to: a reply to an unlink completes the transfer that the
/// unlink names, with the reply's status; nothing else is to be seen of unlinks.
Packets transfersOf(const Packets& packets)
{
    Packets transfers;
    QMap<qint32, UsbIPPacketInfo> pending;
    QMap<qint32, qint32> named;
    for (UsbIPPacketInfo packet : packets) {
        const auto sequence = qint32(packet.sequenceNumber);
        if (packet.isUnlink && packet.isRequest) {
            named[sequence] = headerWord(packet, 5, 0);
        } else if (packet.isUnlink) {
            if (!pending.contains(named.value(sequence)))
                continue;
            UsbIPPacketInfo ended = pending.take(named.value(sequence));
            ended.isRequest = false;
            ended.transferLength = 0;
            ended.setupData.clear();
            ended.usbipHeader = packet.usbipHeader.left(24);
            transfers.push_back(ended);
        } else {
            if (packet.isRequest)
                pending[sequence] = packet;
            else
                pending.remove(sequence);
            transfers.push_back(packet);
        }
    }
    return transfers;
}

QString transferOf(const UsbIPPacketInfo& packet)
{
    static const char* const kTypes[] = {"0x02", "0x00", "0x03", "0x01"};
    return QStringLiteral("%1 type %2 endpoint %3 direction %4 length %5 status %6 id 0x%7%8")
        .arg(packet.isRequest ? QStringLiteral("'S'") : QStringLiteral("'C'"))
        .arg(QLatin1String(kTypes[packet.transferType]))
        .arg(packet.endpoint)
        .arg(packet.direction)
        .arg(packet.isRequest ? packet.transferLength : quint32(headerWord(packet, 6, qint32(packet.transferLength))))
        .arg(packet.isRequest ? -115 : headerWord(packet, 5, 0))
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
        tests::receive(dialog->pane(), Packets(kCount));
        prompter.expectSaveFile(QStringLiteral("Save Capture"), kSaveFilter, path);
        dialog->pane().askAndSave();
        dialog->onCaptureCleared();
        dialog.reset();
        QCOMPARE(tables(), 1);
        QTRY_VERIFY(QFileInfo::exists(path));
        loop.quit();
    });
    loop.exec();
    QTRY_COMPARE(tables(), 0);
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(tests::readCapture(file).packets.size(), std::size_t(kCount));
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

void CaptureWindowTest::fileThatCannotBeReadSaysWhy_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("error");
    QTest::addColumn<int>("packets");
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    writeCapture(buffer, sessionPackets(QStringLiteral("keyboard"), 2));
    const QByteArray whole = buffer.data();
    QTest::newRow("whole") << whole << "" << 2;
    QTest::newRow("text") << QByteArray("GIF89a and more") << "The file is not a pcapng file." << 0;
    QTest::newRow("cut within the last packet") << whole.left(whole.size() - 3) << "The file ends within a block." << 1;
    QTest::newRow("cut within a block's head") << whole.left(33) << "The file ends within a block." << 0;
    const int interface = int(qFromLittleEndian<quint32>(whole.constData() + 4)); // where its block begins
    QByteArray endless = whole;
    endless.replace(interface + 4, 4, QByteArray(4, '\xF0'));
    QTest::newRow("block of four gigabytes") << endless << "The file has a block of impossible length." << 0;
    QByteArray wrongLink = whole;
    wrongLink[interface + 8] = 1;
    QTest::newRow("packets of another link")
        << wrongLink << "The file holds no USB packets; its packets are of link type 1." << 0;
    QTest::newRow("no packets") << whole.left(interface) << "The file holds no packets." << 0;
}

void CaptureWindowTest::fileThatCannotBeReadSaysWhy()
{
    QFETCH(QByteArray, bytes);
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    const tests::ReadResult result = tests::readCapture(buffer);
    QTEST(result.error, "error");
    QTEST(int(result.packets.size()), "packets");
}

void CaptureWindowTest::fullDiskFailsTheWritingAndSaysWhy()
{
    struct FullDisk : QIODevice // takes what fits, and says why when it is asked for more, as systems do
    {
        qint64 room = 5000;
        qint64 readData(char*, qint64) override { return -1; }
        qint64 writeData(const char*, qint64 size) override
        {
            const qint64 taken = std::min(size, room);
            room -= taken;
            if (taken == 0)
                setErrorString(QStringLiteral("No space left on device"));
            return taken > 0 ? taken : -1;
        }
    } disk;
    disk.open(QIODevice::WriteOnly | QIODevice::Unbuffered);
    QVERIFY(!writeCapture(disk, sessionPackets(QStringLiteral("camera"), 200)));
    QCOMPARE(disk.errorString(), QStringLiteral("No space left on device"));
}

void CaptureWindowTest::wrongFileLeavesTheWindowAsItIs()
{
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("holiday.pcapng"));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write("GIF89a and more") > 0);
    file.close();
    ScriptedPrompter prompter;
    CaptureWindow window({CaptureServer::nextProcessId(), 0}, prompter);
    tests::receive(window.pane(), sessionPackets(QStringLiteral("mouse"), 10));
    const QString question = QStringLiteral("Captured packets are in no file yet. Open another capture all the same?");
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

void CaptureWindowTest::livePacketsStayOutOfAnOpenedFile()
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

    // A file that is being read while the capture is cleared or the window closed.
    prompter.expectQuestion(QStringLiteral("Unsaved Packets"),
                            QStringLiteral("Captured packets are in no file yet. Open another capture all the same?"),
                            true);
    window.openCapture(file.fileName());
    window.pane().onCleared();
    QTRY_VERIFY(window.pane().showsFile());
    QCOMPARE(window.table().topLevelItemCount(), 5);
    auto closed = std::make_unique<CaptureWindow>(CaptureTarget{}, prompter);
    closed->openCapture(file.fileName());
    closed.reset();
    QTRY_VERIFY(!QCoreApplication::instance()->findChild<FileJob*>());
}

void CaptureWindowTest::noTypeIsOnUntilAPacketComes()
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

void CaptureWindowTest::showsOneDeviceOnly()
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

// Records as the kernel writes them: an address for an id, no block of ours, either byte order and size of header.
void CaptureWindowTest::recordsOfOthersKeepTheirStatus_data()
{
    QTest::addColumn<int>("headerSize");
    QTest::addColumn<bool>("bigEndian");
    QTest::newRow("64 bytes") << 64 << false;
    QTest::newRow("48 bytes") << 48 << false;
    QTest::newRow("64 bytes, big-endian") << 64 << true;
}

void CaptureWindowTest::recordsOfOthersKeepTheirStatus()
{
    QFETCH(int, headerSize);
    QFETCH(bool, bigEndian);
    const auto add = [bigEndian](QByteArray& bytes, auto value, int offset = -1) {
        char raw[sizeof value];
        if (bigEndian)
            qToBigEndian(value, raw);
        else
            qToLittleEndian(value, raw);
        bytes.replace(offset < 0 ? bytes.size() : offset, offset < 0 ? 0 : int(sizeof raw), raw, int(sizeof raw));
    };
    const auto block = [&](quint32 type, const QByteArray& body) {
        QByteArray bytes;
        add(bytes, type);
        add(bytes, quint32(body.size() + 12));
        bytes += body;
        add(bytes, quint32(body.size() + 12));
        return bytes;
    };
    const auto packet = [&](char event, qint32 status) {
        QByteArray record(headerSize, '\0');
        add(record, Q_UINT64_C(0xffff888012345678), 0);
        record[8] = event;
        record[9] = 2; // control
        record[10] = char(0x80);
        record[11] = 5; // device
        add(record, quint16(3), 12);
        record[14] = event == 'S' ? 0 : '-';
        record[15] = '<';
        add(record, qint64(1700000000), 16);
        add(record, qint32(5000), 24);
        add(record, status, 28);
        add(record, quint32(event == 'S' ? 18 : 0), 32);
        record.replace(40, 8, QByteArray::fromHex("8006000100001200"));
        QByteArray body;
        for (const quint32 word : {0U, 0U, 0U, quint32(headerSize), quint32(headerSize)})
            add(body, word);
        return block(6, body + record);
    };
    QByteArray section;
    add(section, quint32(0x1A2B3C4D));
    add(section, quint16(1));
    add(section, quint16(0));
    add(section, qint64(-1));
    QByteArray interface;
    add(interface, quint16(headerSize == 64 ? 220 : 189));
    add(interface, quint16(0));
    add(interface, quint32(0));
    QByteArray file = block(0x0A0D0D0A, section) + block(1, interface) + packet('S', -115) + packet('C', -32) +
                      packet('S', -115) + packet('C', 0);
    QBuffer buffer(&file);
    buffer.open(QIODevice::ReadOnly);
    const tests::ReadResult result = tests::readCapture(buffer);
    QCOMPARE(result.error, QString());
    QStringList lines;
    for (const UsbIPPacketInfo& read : result.packets)
        lines << QStringLiteral("%1 %2 %3").arg(read.deviceId, 0, 16).arg(read.sequenceNumber).arg(read.parsedDetails);
    const QString request = QStringLiteral(" INN STD TO_DEV USB_REQUEST_GET_DESCRIPTORUSB_DEVICE_DESCRIPTOR_TYPE");
    QCOMPARE(lines,
             QStringList({QStringLiteral("30005 1") + request, QStringLiteral("30005 1 status=0xffffffe0 len=0x0"),
                          QStringLiteral("30005 2") + request, QStringLiteral("30005 2 status=0x0 len=0x0")}));
    QCOMPARE(result.packets[0].timestamp, 1700000000005);
}

void CaptureWindowTest::analyserAgreesPacketByPacket_data()
{
    QTest::addColumn<QString>("type");
    for (const QString& type : tests::SampleTraffic::kinds())
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
    Packets packets;
    if (type != QLatin1String("none"))
        packets = type == QLatin1String("odd") ? oddPackets() : sessionPackets(type, 200);
    QVERIFY(writeCapture(file, packets));
    file.close();

    const QStringList lines = analyse(file.fileName());
    packets = transfersOf(packets);
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

void CaptureWindowTest::otherFormsReadBack_data()
{
    QTest::addColumn<QString>("form");
    QTest::addColumn<QString>("converter"); ///< program and arguments before the two files
    QTest::addColumn<int>("leftOut");       ///< column that the form does not keep, -1 for none
    QTest::newRow("pcap") << "a.pcap"
                          << "" << -1;
    QTest::newRow("Windows") << "a.usbpcap"
                             << "" << int(LengthColumn);
    QTest::newRow("without our blocks") << "a.pcapng"
                                        << "editcap -F pcapng" << -1;
    QTest::newRow("nanoseconds") << "a.pcapng"
                                 << "editcap -F nsecpcap" << -1;
    QTest::newRow("merged") << "a.pcapng"
                            << "mergecap -w" << -1;
}

void CaptureWindowTest::otherFormsReadBack()
{
    QFETCH(QString, form);
    QFETCH(QString, converter);
    QFETCH(int, leftOut);
    QStringList command = converter.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    if (!command.isEmpty() && QStandardPaths::findExecutable(command[0]).isEmpty())
        QSKIP("the analyser's tools are not installed");
    const auto textsOf = [leftOut](const Packets& packets) {
        QStringList texts;
        for (UsbIPPacketInfo packet : packets) {
            packet.transferLength = quint32(packet.isRequest ? packet.transferLength : carriedLength(packet));
            QStringList columns;
            for (int column = 0; column < DetailsColumn; ++column)
                columns << (column == leftOut ? QString() : packetColumnText(packet, column));
            columns << QString::number(packet.deviceId)
                    << (packet.isRequest
                            ? QString()
                            : QString::number(qint32(usbip_header::word(packet.usbipHeader, usbip_header::Status))));
            texts << columns.join(QLatin1Char('|'));
        }
        return texts;
    };
    QTemporaryDir folder;
    for (const QString& kind : tests::SampleTraffic::kinds()) {
        const Packets packets = sessionPackets(kind, 300);
        QFile file(folder.filePath(form));
        QVERIFY(file.open(QIODevice::WriteOnly) && writeCapture(file, packets, form));
        file.close();
        if (!command.isEmpty()) {
            const QString converted = folder.filePath(QStringLiteral("converted"));
            const bool outputFirst = command[0] == QLatin1String("mergecap");
            QCOMPARE(
                QProcess::execute(command[0], command.mid(1) + QStringList{outputFirst ? converted : file.fileName(),
                                                                           outputFirst ? file.fileName() : converted}),
                0);
            file.setFileName(converted);
        }
        QVERIFY(file.open(QIODevice::ReadOnly));
        const tests::ReadResult result = tests::readCapture(file);
        QCOMPARE(result.error, QString());
        QCOMPARE(textsOf(result.packets), textsOf(transfersOf(packets)));
        if (form.endsWith(QLatin1String(".usbpcap")) &&
            !QStandardPaths::findExecutable(QStringLiteral("tshark")).isEmpty()) {
            QProcess analyser;
            analyser.start(QStringLiteral("tshark"),
                           {QStringLiteral("-n"), QStringLiteral("-r"), file.fileName(), QStringLiteral("-T"),
                            QStringLiteral("fields"), QStringLiteral("-E"), QStringLiteral("occurrence=f"),
                            QStringLiteral("-e"), QStringLiteral("usb.transfer_type"), QStringLiteral("-e"),
                            QStringLiteral("usb.endpoint_address"), QStringLiteral("-e"),
                            QStringLiteral("usb.irp_info.direction")});
            QVERIFY(analyser.waitForFinished(120000));
            QStringList expected;
            for (const UsbIPPacketInfo& packet : result.packets) {
                static const char* const kTypes[] = {"0x02", "0x00", "0x03", "0x01"};
                expected << QStringLiteral("%1\t0x%2\t%3")
                                .arg(QLatin1String(kTypes[packet.transferType]))
                                .arg(packet.endpoint | (packet.direction != 0 ? 0x80 : 0), 2, 16, QLatin1Char('0'))
                                .arg(packet.isRequest ? QStringLiteral("0x00") : QStringLiteral("0x01"));
            }
            QCOMPARE(QString::fromUtf8(analyser.readAllStandardOutput()).split(QLatin1Char('\n'), Qt::SkipEmptyParts),
                     expected);
        }
    }
}

void CaptureWindowTest::filtersJumpsAndCopies()
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

void CaptureWindowTest::headlessPrintsDecodings()
{
    CaptureServer server;
    QTemporaryFile output;
    QVERIFY(output.open());
    HeadlessCapture::Options options{server.processId(), 2, {}};
    options.print.deviceId = 7;
    HeadlessCapture capture(options, output);
    QSignalSpy finished(&capture, &HeadlessCapture::finished);
    QTRY_VERIFY(server.hasClient() && server.received().startsWith(char(10)));
    PacketBytes packet;
    packet.setup = QByteArray::fromHex("a181000200010200");
    PacketBytes other = packet; // not asked for
    other.deviceId = 8;
    server.send(frame(1, other.payload()) + frame(1, packet.payload()));
    QTRY_VERIFY(QFileInfo(output.fileName()).size() > 0);
    QCOMPARE(finished.count(), 0); // who watches sees the line when it comes
    QTRY_COMPARE(finished.count(), 1);
    QCOMPARE(finished[0][0].toString(), QString());
    output.seek(0);
    const QByteArray lines = output.readAll();
    QCOMPARE(lines.count('\n'), 1);
    QVERIFY(lines.endsWith("1 REQ 0x00 CTL IN 0 INN CLS TO_INF GET_CUR(0x81) [INTF:00 UNIT:01 CS:02 ZERO:00]\n"));
}

void CaptureWindowTest::interruptedProgramStopsTheCapture()
{
    CaptureServer server;
    EndRequest interrupt;
    QProcess process;
    process.start(QCoreApplication::applicationDirPath() + QStringLiteral("/plugboard-capture"),
                  {QString::number(server.processId()), QStringLiteral("--headless"), QStringLiteral("1000")});
    QTRY_VERIFY_WITH_TIMEOUT(server.hasClient() && server.received().startsWith(char(10)), 30000);
    server.takeReceived();
    QVERIFY(interrupt.send(process));
    QTRY_VERIFY_WITH_TIMEOUT(process.state() == QProcess::NotRunning, 30000);
    QTRY_VERIFY(server.received().startsWith(char(11)));
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), 0);
}

void CaptureWindowTest::programSpeaksWithoutADisplay_data()
{
    QTest::addColumn<QString>("arguments");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QString>("text"); // in what it prints
    QTest::newRow("help") << "--help" << 0 << "--headless <SECONDS>";
    QTest::newRow("version") << "--version" << 0 << "plugboard-capture " PLUGBOARD_VERSION;
    QTest::newRow("nothing asked for") << "" << 3 << "The process id of a device process, or a file, is missing.";
    QTest::newRow("unknown option") << "--nonsense" << 3 << "Unknown option 'nonsense'.";
    QTest::newRow("process id") << "12x" << 3 << "'12x' is neither a process id nor a file.";
    QTest::newRow("two process ids") << "12 13" << 3 << "Unexpected argument '13'.";
    QTest::newRow("device id") << "12 --device -1" << 3 << "'-1' is not a device id.";
    QTest::newRow("filter") << "12 --filter endpoint==" << 3 << "--filter, letter 11: A number is expected here";
    QTest::newRow("seconds") << "12 --headless nan" << 3 << "'nan' is not a number of seconds.";
    QTest::newRow("no device process") << "4000000 --headless 0.1" << 1
                                       << "there is no capture server of process 4000000";
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
