#include "app/device_table.h"
#include "app/main_window.h"
#include "app/script_commands.h"
#include "tests/dialogs/form.h"
#include "tests/support/scripted_prompter.h"
#include "tests/support/suite_registry.h"
#include "tests/support/when_opens.h"

/// The creation slots that ask first, with real device processes in the test's folder.
class CreationDialogsTest : public QObject
{
    Q_OBJECT

private slots:
    void cleanup()
    {
        const auto devices = m_records.restoreDevices();
        for (const auto& device : devices)
            deleteDevice(m_records, device.record.processId);
    }

    void createsWhatWasAccepted_data()
    {
        QTest::addColumn<QByteArray>("slot");
        QTest::addColumn<QString>("field");
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("accepted");
        QTest::addColumn<QString>("parameters"); // empty: nothing is created
        const auto row = [](const char* name, const char* slot, const char* field, const char* text, bool accepted,
                            const char* parameters) {
            QTest::newRow(name) << QByteArray(slot) << QString::fromLatin1(field) << QString::fromLatin1(text)
                                << accepted << QString::fromLatin1(parameters);
        };
        row("a camera without a source", "onCreateCamera", "deviceName", "Cam A", true,
            "1|0x1234|0x5678|Cam A|0||7|-1|640|480|25|0x0100|0|END");
        row("a camera that was not wanted", "onCreateCamera", "deviceName", "Cam B", false, "");
        row("a microphone of a file that is there", "onCreateMicrophone", "path", ":/icons/res/logo.png", true,
            "3|1d6b|0002|USB Microphone|0|1.0|0|:/icons/res/logo.png|2|48000|1|END");
        row("a microphone that was not wanted", "onCreateMicrophone", "deviceName", "Mic", false, "");
    }

    void createsWhatWasAccepted()
    {
        QFETCH(QByteArray, slot);
        QFETCH(QString, field);
        QFETCH(QString, text);
        QFETCH(bool, accepted);
        QFETCH(QString, parameters);
        ScriptedPrompter prompter;
        MainWindow window(nullptr, prompter);
        const QString rowsBefore = window.deviceTable().cellTexts(0).join(QLatin1Char('|'));
        bool hadParent = true;
        whenOpens({}, [&](QDialog& dialog) {
            hadParent = dialog.parentWidget() != nullptr;
            const Form form(dialog);
            form.type(field.toLatin1().constData(), text);
            accepted ? form.ok() : form.cancel();
        });
        QVERIFY(QMetaObject::invokeMethod(&window, slot.constData()));
        QCOMPARE(prompter.verify(), QString());
        QVERIFY(!hadParent);
        if (!accepted) {
            QCOMPARE(window.deviceTable().cellTexts(0).join(QLatin1Char('|')), rowsBefore);
            QVERIFY(m_records.restoreDevices().empty());
            return;
        }
        QTRY_COMPARE_WITH_TIMEOUT(m_records.restoreDevices().size(), std::size_t(1), 30000);
        const DeviceRecord record = m_records.restoreDevices().front().record;
        QCOMPARE(record.publicParams.join(QLatin1Char('|')), parameters);
        QCOMPARE(window.deviceTable().identityAt(0)->processId, QString::number(record.processId));
    }

private:
    DeviceRecordManager m_records;
};

PLUGBOARD_SUITE(CreationDialogsTest)
#include "creation_dialogs_test.moc"
