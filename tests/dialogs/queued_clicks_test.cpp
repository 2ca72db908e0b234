#include "dialogs/camera_setting_dialog.h"
#include "dialogs/microphone_setting_dialog.h"
#include "tests/dialogs/form.h"
#include "tests/support/suite_registry.h"

#include <QMessageBox>
#include <QTimer>

#include <memory>

namespace {

/// Like the system, to the window: boxes in front of it are in the way.
void clickInWindow(const QDialog& dialog, const QWidget* button)
{
    QTest::mouseClick(dialog.windowHandle(), Qt::LeftButton, {}, button->mapTo(&dialog, button->rect().center()));
}

} // namespace

/// A check holds up the event loop: what a user clicks meanwhile arrives when the loop goes on.
class QueuedClicksTest : public QObject
{
    Q_OBJECT

private slots:
    void startNoSecondCheck_data()
    {
        QTest::addColumn<bool>("isCamera");
        QTest::addColumn<bool>("clicksOk");
        QTest::addColumn<QString>("state");
        QTest::newRow("camera's test") << true << false << QStringLiteral("open");
        QTest::newRow("camera's OK") << true << true << QStringLiteral("rejected");
        QTest::newRow("microphone's test") << false << false << QStringLiteral("open");
        QTest::newRow("microphone's OK") << false << true << QStringLiteral("open");
    }

    void startNoSecondCheck()
    {
        QFETCH(bool, isCamera);
        QFETCH(bool, clicksOk);
        std::unique_ptr<QDialog> dialog;
        QWidget* test = nullptr;
        QWidget* ok = nullptr;
        int checks = 0;
        int boxes = 0;
        QTimer closing;
        bool clicked = false;
        connect(&closing, &QTimer::timeout, [&] {
            if (!clicked && checks == 1)
                return; // the box stays in the way of the clicks
            if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
                ++boxes;
                box->accept();
            }
        });
        const SourceCheck failing = [&](const QString&, SourceProbe::Kind) {
            if (++checks == 1)
                QTimer::singleShot(0, dialog.get(), [&] {
                    closing.start(1);
                    clickInWindow(*dialog, test);
                    clickInWindow(*dialog, ok);
                    clicked = true;
                });
            return SourceProbeResult();
        };
        if (isCamera)
            dialog = std::make_unique<CameraSettingDialog>(nullptr, systemPrompter(), failing);
        else
            dialog = std::make_unique<MicrophoneSettingDialog>(nullptr, systemPrompter(), failing);
        const Form form(*dialog);
        dialog->open();
        form.toggle(isCamera ? "ipCamera" : "ipCam");
        QVERIFY(QTest::qWaitForWindowExposed(dialog.get()));
        test = form.find("testNetwork");
        ok = dialog->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok);

        clickInWindow(*dialog, clicksOk ? ok : test);
        QCOMPARE(boxes, 1);
        QCOMPARE(checks, 1);
        QTEST(form.state(), "state");
        QVERIFY(test->isEnabled());
    }
};

PLUGBOARD_SUITE(QueuedClicksTest)
#include "queued_clicks_test.moc"
