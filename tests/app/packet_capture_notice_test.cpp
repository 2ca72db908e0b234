#include "app/packet_capture.h"
#include "tests/support/scripted_prompter.h"
#include "tests/support/suite_registry.h"

#include <QWidget>
#include <QtTest>

class PacketCaptureNoticeTest : public QObject
{
    Q_OBJECT

private slots:
    void saysThatThisBuildHasNoWindow();
};

void PacketCaptureNoticeTest::saysThatThisBuildHasNoWindow()
{
    QWidget window;
    ScriptedPrompter prompter;
    prompter.expectInformation(QString(), QStringLiteral("for debug version"));
    openPacketCapture(window, QStringLiteral("42"), prompter);
    QCOMPARE(prompter.verify(), QString());
    QVERIFY(window.children().isEmpty());
}

PLUGBOARD_SUITE(PacketCaptureNoticeTest)
#include "packet_capture_notice_test.moc"
