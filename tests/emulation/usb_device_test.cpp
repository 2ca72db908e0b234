#include "emulation/usb/device.h"
#include "emulation/usb/isochronous_pacer.h"
#include "tests/emulation/scripted_function.h"
#include "tests/support/suite_registry.h"

#include <QRandomGenerator>
#include <QtTest>

#include <array>

namespace {

QString resultText(const usb::Transfer& transfer)
{
    static const std::array<const char*, 6> names{"ok", "stall", "babble", "no answer", "cancelled", "gone"};
    const QString name = QLatin1String(names.at(static_cast<std::size_t>(transfer.status())));
    return transfer.dataIn().isEmpty() ? name : name + QLatin1Char(' ') + QLatin1String(transfer.dataIn().toHex());
}

} // namespace

/// A device in software between a test, which is its host, and a function that notes what reaches it.
class UsbDeviceTest : public QObject
{
    Q_OBJECT

private slots:
    void init() { start(usb::Speed::High); }

    void answersStandardRequests_data()
    {
        QTest::addColumn<QString>("before"); // requests, one after the other
        QTest::addColumn<QString>("setup");
        QTest::addColumn<QString>("expected");
        const auto addRow = [](const char* name, const char* before, const char* setup, const char* expected) {
            QTest::newRow(name) << QString::fromUtf8(before) << QString::fromUtf8(setup) << QString::fromUtf8(expected);
        };
        const char* const set = "00 09 01 00 00 00 00 00";
        addRow("device descriptor", "", "80 06 00 01 00 00 40 00",
               "ok 12010002000000406b1d020000010102"
               "0001");
        addRow("device descriptor, first bytes", "", "80 06 00 01 00 00 08 00", "ok 1201000200000040");
        addRow("second device descriptor", "", "80 06 01 01 00 00 40 00", "stall");
        addRow("configuration, head", "", "80 06 00 02 00 00 09 00", "ok 09023e000101008032");
        addRow("languages", "", "80 06 00 03 00 00 ff 00", "ok 04030904");
        addRow("product string", "", "80 06 02 03 09 04 ff 00",
               "ok 0c03470065007200"
               "e4007400");
        addRow("string in a language that it has not", "", "80 06 02 03 07 04 ff 00", "stall");
        addRow("string that no descriptor names", "", "80 06 09 03 09 04 ff 00", "stall");
        addRow("qualifier: nothing at full speed", "", "80 06 00 06 00 00 0a 00", "ok 0a060002000000400000");
        addRow("other speed's configuration", "", "80 06 00 07 00 00 09 00", "stall");
        addRow("binary object store below 2.01", "", "80 06 00 0f 00 00 05 00", "stall");
        addRow("descriptor to the device with the wrong way", "", "00 06 00 01 00 00 00 00", "stall");
        addRow("configuration, none yet", "", "80 08 00 00 00 00 01 00", "ok 00");
        addRow("configuration that is set", set, "80 08 00 00 00 00 01 00", "ok 01");
        addRow("configuration that it has not", "", "00 09 02 00 00 00 00 00", "stall");
        addRow("configuration taken away", "00 09 01 00 00 00 00 00, 00 09 00 00 00 00 00 00",
               "80 08 00 00 00 00 01 00", "ok 00");
        addRow("interface without a configuration", "", "81 0a 00 00 00 00 01 00", "stall");
        addRow("alternate setting", set, "81 0a 00 00 00 00 01 00", "ok 00");
        addRow("alternate setting that was selected", "00 09 01 00 00 00 00 00, 01 0b 01 00 00 00 00 00",
               "81 0a 00 00 00 00 01 00", "ok 01");
        addRow("alternate setting that it has not", set, "01 0b 02 00 00 00 00 00", "stall");
        addRow("interface that it has not", set, "01 0b 00 00 01 00 00 00", "stall");
        addRow("status of the device", "", "80 00 00 00 00 00 02 00", "ok 0000");
        addRow("status of an interface", set, "81 00 00 00 00 00 02 00", "ok 0000");
        addRow("status of an interface that it has not", set, "81 00 00 00 03 00 02 00", "stall");
        addRow("status of endpoint 0", "", "82 00 00 00 00 00 02 00", "ok 0000");
        addRow("status of an endpoint", set, "82 00 00 00 81 00 02 00", "ok 0000");
        addRow("status of an endpoint that was halted", "00 09 01 00 00 00 00 00, 02 03 00 00 81 00 00 00",
               "82 00 00 00 81 00 02 00", "ok 0100");
        addRow("status of an endpoint of another setting", set, "82 00 00 00 83 00 02 00", "stall");
        addRow("halt of an endpoint without a configuration", "", "02 03 00 00 81 00 00 00", "stall");
        addRow("remote wakeup of a device that cannot", set, "00 03 01 00 00 00 00 00", "stall");
        addRow("address", "", "00 05 07 00 00 00 00 00", "ok");
        addRow("new descriptor for the device", "", "00 07 00 01 00 00 12 00", "stall");
        addRow("synchronization frame", set, "82 0c 00 00 83 00 02 00", "stall");
        addRow("power states at high speed", set, "00 03 30 00 00 00 00 00", "stall");
        addRow("unknown standard request", set, "00 44 00 00 00 00 00 00", "stall");
    }

    void answersStandardRequests()
    {
        QFETCH(QString, before);
        QFETCH(QString, setup);
        const QStringList earlier = before.split(QLatin1Char(','), Qt::SkipEmptyParts);
        for (const QString& one : earlier)
            QCOMPARE(request(one), QStringLiteral("ok"));
        QTEST(request(setup, setup.startsWith(QStringLiteral("00 07")) ? QByteArray(18, 0) : QByteArray()), "expected");
    }

    void answersSuperSpeedRequests_data()
    {
        QTest::addColumn<QString>("setup");
        QTest::addColumn<QString>("expected");
        QTest::newRow("device descriptor: control packets of 2^9") << "80 06 00 01 00 00 08 00"
                                                                   << "ok 1201000300000009";
        QTest::newRow("binary object store with both capabilities") << "80 06 00 0f 00 00 ff 00"
                                                                    << "ok 050f160002"
                                                                       "07100202000000"
                                                                       "0a1003000c0003000000";
        QTest::newRow("no qualifier") << "80 06 00 06 00 00 0a 00"
                                      << "stall";
        QTest::newRow("exit latencies") << "00 30 00 00 00 00 06 00"
                                        << "ok";
        QTest::newRow("isochronous delay") << "00 31 28 00 00 00 00 00"
                                           << "ok";
        QTest::newRow("U1 enable") << "00 03 30 00 00 00 00 00"
                                   << "ok";
        QTest::newRow("function suspend") << "01 03 00 00 00 00 00 00"
                                          << "ok";
    }

    void answersSuperSpeedRequests()
    {
        start(usb::Speed::Super);
        QCOMPARE(request(QStringLiteral("00 09 01 00 00 00 00 00")), QStringLiteral("ok"));
        QFETCH(QString, setup);
        QTEST(request(setup, QByteArray(6, 0)), "expected");
    }

    void letsThroughWhatIsTheFunctionsOwn_data()
    {
        QTest::addColumn<bool>("configured");
        QTest::addColumn<QString>("setup");
        QTest::addColumn<QString>("expected");
        QTest::addColumn<bool>("reaches");
        QTest::newRow("class request") << true << "a1 01 00 00 00 00 08 00"
                                       << "ok 636c617373" << true;
        QTest::newRow("class request, cut") << true << "a1 01 00 00 00 00 02 00"
                                            << "ok 636c" << true;
        QTest::newRow("class request too early") << false << "a1 01 00 00 00 00 08 00"
                                                 << "stall" << false;
        QTest::newRow("vendor request to the device") << false << "c0 01 00 00 00 00 08 00"
                                                      << "ok 636c617373" << true;
        QTest::newRow("request to an entity of the interface") << true << "a1 01 00 00 00 07 08 00"
                                                               << "ok 636c617373" << true;
        QTest::newRow("request to an interface that is not there") << true << "a1 01 00 00 01 00 08 00"
                                                                   << "stall" << false;
        QTest::newRow("request to an endpoint of another setting") << true << "a2 01 00 00 83 00 08 00"
                                                                   << "ok 636c617373" << true;
        QTest::newRow("request that the function refuses") << true << "a1 ee 00 00 00 00 08 00"
                                                           << "stall" << true;
        QTest::newRow("descriptor of a class") << true << "81 06 00 22 00 00 08 00"
                                               << "ok 636c617373" << true;
        QTest::newRow("OUT request whose data are missing") << true << "21 09 00 00 00 00 08 00"
                                                            << "stall" << false;
    }

    void letsThroughWhatIsTheFunctionsOwn()
    {
        QFETCH(bool, configured);
        QFETCH(QString, setup);
        if (configured)
            request(QStringLiteral("00 09 01 00 00 00 00 00"));
        m_function->log.clear();
        QTEST(request(setup), "expected");
        QTEST(!m_function->log.isEmpty(), "reaches");
    }

    void completesEachTransferOnce()
    {
        m_device->submit(dataRequest(0x81));
        QCOMPARE(takeResults(), QStringLiteral("no answer")); // no configuration is set
        request(QStringLiteral("00 09 01 00 00 00 00 00"));
        m_device->submit(dataRequest(0x81));
        m_device->submit(dataRequest(0x81));
        m_device->submit(dataRequest(0x82));
        QCOMPARE(takeResults(), QStringLiteral("no answer")); // there is no 0x82
        QVERIFY(m_device->cancel(m_id - 2));
        QVERIFY(!m_device->cancel(m_id - 2));
        m_function->waiting.at(0)->completeIn("late");
        m_function->waiting.at(1)->completeIn("x");
        m_function->waiting.at(1)->completeIn("again");
        QCOMPARE(takeResults(), QStringLiteral("cancelled; ok 78"));
        QVERIFY(!m_device->cancel(m_id - 1)); // answered already
    }

    void boundsWhatTheHostGets()
    {
        request(QStringLiteral("00 09 01 00 00 00 00 00"));
        request(QStringLiteral("01 0b 01 00 00 00 00 00"));
        m_device->submit(dataRequest(0x81, {}, 2));
        m_function->waiting.back()->completeIn("abc");
        m_device->submit(dataRequest(0x02, "abc"));
        m_function->waiting.back()->completeOut(9);
        m_device->submit(dataRequest(0x83));
        const usb::TransferPointer isochronous = m_function->waiting.back();
        isochronous->completeIsochronous({{0, 512, 2, usb::Status::Ok}, {512, 512, 2, usb::Status::Ok}}, "ab");
        QCOMPARE(isochronous->packets().size(), std::size_t(1));
        QCOMPARE(isochronous->actualLength(), 2U);
        usb::Transfer::Request bulkAsIsochronous = dataRequest(0x81);
        bulkAsIsochronous.packets.resize(1);
        m_device->submit(bulkAsIsochronous);
        QCOMPARE(takeResults(), QStringLiteral("babble 6162; ok; ok 6162; no answer"));
    }

    void haltsAndClearsAnEndpoint()
    {
        request(QStringLiteral("00 09 01 00 00 00 00 00"));
        m_function->log.clear();
        m_device->submit(dataRequest(0x81));
        m_function->waiting.back()->complete(usb::Status::Stall);
        m_device->submit(dataRequest(0x81)); // does not reach the function
        m_device->submit(dataRequest(0x02, "x"));
        QCOMPARE(takeResults(), QStringLiteral("stall; stall"));
        QCOMPARE(request(QStringLiteral("02 03 00 00 02 00 00 00")), QStringLiteral("stall; ok")); // by the host
        QCOMPARE(request(QStringLiteral("02 01 00 00 81 00 00 00")), QStringLiteral("ok"));
        m_device->submit(dataRequest(0x81));
        QCOMPARE(m_function->log.join(QStringLiteral(", ")),
                 QStringLiteral("submit 81, submit 02, cancelled 02, cleared 81, submit 81"));
    }

    void takesTransfersBackBeforeASettingChanges()
    {
        request(QStringLiteral("00 09 01 00 00 00 00 00"));
        m_device->submit(dataRequest(0x81));
        QCOMPARE(request(QStringLiteral("01 0b 01 00 00 00 00 00")), QStringLiteral("cancelled; ok"));
        m_device->submit(dataRequest(0x83));
        m_device->submit(dataRequest(0x02, "x"));
        QCOMPARE(request(QStringLiteral("00 09 01 00 00 00 00 00")), QStringLiteral("cancelled; cancelled; ok"));
        QCOMPARE(m_device->alternate(0), std::uint8_t(0));
        m_device->submit(dataRequest(0x81));
        m_device->reset();
        QCOMPARE(m_device->configuration(), std::uint8_t(0));
        QCOMPARE(m_function->log.join(QStringLiteral(", ")),
                 QStringLiteral("configuration 1, alternate 0:0, submit 81, cancelled 81, alternate 0:1, submit 83, "
                                "submit 02, cancelled 83, cancelled 02, configuration 1, alternate 0:0, submit 81, "
                                "cancelled 81, reset"));
    }

    void survivesALateCompletion()
    {
        request(QStringLiteral("00 09 01 00 00 00 00 00"));
        m_device->submit(dataRequest(0x81));
        m_device.reset();
        m_function->waiting.back()->completeIn("x");
        QCOMPARE(takeResults(), QString());
    }

    void pacesIsochronousTransfers()
    {
        using namespace std::chrono_literals;
        QCOMPARE(usb::isochronousInterval(usb::Speed::High, 4).count(), std::chrono::nanoseconds(1ms).count());
        std::chrono::nanoseconds now = 5s;
        QStringList handedOut;
        usb::IsochronousPacer pacer(
            1ms, [&](const usb::TransferPointer& transfer) { handedOut << QString::number(transfer->request().id); },
            [&] { return now; });
        const auto submit = [&](std::uint32_t id, std::size_t packets) {
            usb::Transfer::Request request;
            request.id = id;
            request.packets.resize(packets);
            const auto transfer = std::make_shared<usb::Transfer>(request, [](const usb::Transfer&) {});
            pacer.submit(transfer);
            return transfer;
        };
        const auto seenAt = [&](std::chrono::nanoseconds time, const char* expected) {
            now = time;
            const std::size_t before = pacer.queued();
            const bool changes = qstrlen(expected) > 0;
            if (changes)
                QTRY_VERIFY(pacer.queued() < before);
            else
                QTest::qWait(20); // the timer may fire; nothing is due
            QCOMPARE(std::exchange(handedOut, {}).join(QLatin1Char(' ')), QString::fromLatin1(expected));
        };
        submit(1, 8); // ends at 8 ms
        const auto taken = submit(2, 8);
        submit(3, 4); // at 20 ms
        seenAt(5s + 7999us, "");
        seenAt(5s + 8ms, "1");
        pacer.cancelled(*taken);
        seenAt(5s + 16ms, "");
        seenAt(5s + 25ms, "3");
        submit(4, 2); // 5 ms late: at twice the speed
        submit(5, 8); // whose end, at 30 ms, is the schedule's again
        seenAt(5s + 25999us, "");
        seenAt(5s + 26ms, "4");
        seenAt(5s + 29999us, "");
        seenAt(5s + 30ms, "5");
        submit(6, 4); // later than anything is made up for: from now on
        seenAt(now, "");
        now += usb::kMostMadeUp + 5ms;
        const std::chrono::nanoseconds late = now;
        submit(7, 2);
        seenAt(late, "6");
        seenAt(late + 1999us, "");
        seenAt(late + 2ms, "7");
        pacer.cancelled(*submit(8, 8)); // until 10 ms
        now = late + 20ms;
        submit(9, 2); // whoever paused is not late
        seenAt(late + 21999us, "");
        seenAt(late + 22ms, "9");
    }

    /// A host that is late again and again, sometimes by seconds, gets its packets at the same rate as one that never
    /// is.
    void pacesALateHostForTenMinutes()
    {
        using namespace std::chrono_literals;
        constexpr auto kTransfer = 40ms;
        const std::chrono::nanoseconds begin = 7s;
        std::chrono::nanoseconds now = begin;
        int handedOut = 0;
        usb::IsochronousPacer pacer(
            1ms, [&](const usb::TransferPointer&) { ++handedOut; }, [&] { return now; });
        usb::Transfer::Request request;
        request.packets.resize(kTransfer / 1ms);
        const auto turn = [&](std::chrono::nanoseconds late) {
            now += late;
            pacer.handOut();
            while (pacer.queued() < 2)
                pacer.submit(std::make_shared<usb::Transfer>(request, [](const usb::Transfer&) {}));
            return handedOut * kTransfer <= now - begin;
        };
        QRandomGenerator random(1);
        turn(0ms);
        while (now < begin + 600s)
            QVERIFY(turn(random.bounded(2000) == 0 ? 2000ms : random.bounded(100) * 1ms));
        while (now < begin + 610s) // the last seconds are made up for, too
            turn(10ms);
        QVERIFY(now - begin - handedOut * kTransfer <= kTransfer);
    }

private:
    QString request(const QString& setup, const QByteArray& data = {});
    usb::Transfer::Request dataRequest(std::uint8_t address, const QByteArray& data = {}, std::uint32_t length = 512);
    QString takeResults() { return std::exchange(m_results, {}).join(QStringLiteral("; ")); }
    void start(usb::Speed speed);

    std::unique_ptr<ScriptedFunction> m_function;
    std::unique_ptr<usb::Device> m_device;
    QStringList m_results;
    std::uint32_t m_id = 0;
};

void UsbDeviceTest::start(usb::Speed speed)
{
    m_device.reset();
    m_results.clear();
    m_function = std::make_unique<ScriptedFunction>(scriptedDescriptors(speed));
    m_device = std::make_unique<usb::Device>(
        *m_function, [this](const usb::Transfer& transfer) { m_results << resultText(transfer); });
}

/// What becomes of a control transfer with these setup bytes (hexadecimal).
QString UsbDeviceTest::request(const QString& setup, const QByteArray& data)
{
    const QByteArray bytes = QByteArray::fromHex(setup.toLatin1());
    std::array<std::uint8_t, 8> packet{};
    std::copy(bytes.begin(), bytes.end(), packet.begin());
    usb::Transfer::Request request;
    request.id = ++m_id;
    request.setup = usb::parseSetupPacket(packet);
    request.in = request.setup.isIn();
    request.length = request.setup.wLength;
    request.data = data;
    m_device->submit(request);
    return takeResults();
}

usb::Transfer::Request UsbDeviceTest::dataRequest(std::uint8_t address, const QByteArray& data, std::uint32_t length)
{
    usb::Transfer::Request request;
    request.id = ++m_id;
    request.endpoint = address & 0x0F;
    request.in = (address & 0x80) != 0;
    request.data = data;
    request.length = request.in ? length : static_cast<std::uint32_t>(data.size());
    if (request.endpoint == 3)
        request.packets = {{0, 512, 0, usb::Status::Ok}};
    return request;
}

PLUGBOARD_SUITE(UsbDeviceTest)
#include "usb_device_test.moc"
