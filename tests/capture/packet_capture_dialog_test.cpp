#include "app/packet_capture.h"
#include "capture/view/capture_dialog.h"
#include "tests/capture/scripted_capture_server.h"
#include "tests/support/scripted_prompter.h"
#include "tests/support/suite_registry.h"

using tests::CaptureServer;

/// What the main window's capture entry does in a build with CAPTURE_WINDOW.
class PacketCaptureDialogTest : public QObject
{
    Q_OBJECT

private slots:
    void opensOneWindowForEachProcess()
    {
        const CaptureServer server;
        ScriptedPrompter prompter;
        QWidget window;
        const auto open = [&](qint64 id) { openPacketCapture(window, QString::number(id), prompter); };
        const auto dialogs = [&window] { return window.findChildren<UsbIPCaptureDialog*>(); };
        open(server.processId());
        const QPointer<UsbIPCaptureDialog> first = dialogs().value(0);
        QVERIFY(first && first->isVisible() && first->isWindow() && !first->isModal());
        QTRY_VERIFY(server.hasClient() && first->client().isConnected());
        open(server.processId());
        QCOMPARE(dialogs().size(), 1);
        open(CaptureServer::nextProcessId());
        QCOMPARE(dialogs().size(), 2);

        first->close();
        open(server.processId()); // before the closed one is gone
        QTRY_VERIFY(!first);
        QCOMPARE(dialogs().size(), 2);
        QVERIFY(dialogs().at(1)->isVisible());
        QCOMPARE(prompter.verify(), QString());
    }

    void refusesWhatIsNoProcessId()
    {
        QWidget window;
        for (const char* processId : {"12 monkeys", "", "-4"}) {
            ScriptedPrompter prompter;
            prompter.expectWarning(QStringLiteral("Warning"), QStringLiteral("Invalid process ID"));
            openPacketCapture(window, QString::fromLatin1(processId), prompter);
            QCOMPARE(prompter.verify(), QString());
            QVERIFY(window.children().isEmpty());
        }
    }
};

PLUGBOARD_SUITE(PacketCaptureDialogTest)
#include "packet_capture_dialog_test.moc"
