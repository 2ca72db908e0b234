#include "fido2/dialogs/credential_detail_dialog.h"
#include "fido2/dialogs/fido2_user_confirmation_dialog.h"
#include "runtime/shown_text.h"
#include "tests/fido2/fido2_test_support.h"
#include "tests/support/log_lines.h"
#include "tests/support/suite_registry.h"

#include <QCheckBox>
#include <QJsonArray>
#include <QJsonDocument>
#include <QLabel>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QSignalSpy>
#include <QTextEdit>

namespace {

const char kThreeCandidates[] =
    "{'isPasswordlessLogin':true,'rpName':'Shop','rpId':'s.example','allowDescriptionInput':true,'availableCredentials'"
    ":["
    "{'id':'aa','userName':'ann'},{'id':'bb','userName':'bob'},{'id':'cc','userName':'cid'}]}";

} // namespace

class ConfirmationDialogTest : public QObject
{
    Q_OBJECT

private slots:
    void showsWhatIsAsked()
    {
        const KeyFolder folder;
        Fido2UserConfirmationDialog dialog(QStringLiteral("get_assertion"), json(kThreeCandidates), nullptr,
                                           folder.environment());
        QCOMPARE(dialog.windowTitle(), QStringLiteral("FIDO2 User Confirmation"));
        QCOMPARE(part<QLabel>(dialog, "heading")->text(), QStringLiteral("FIDO2 Authentication"));
        const auto* details = part<QTextEdit>(dialog, "details");
        QVERIFY(details->toPlainText().startsWith(QStringLiteral("Passwordless Login to: Shop (s.example)\n\n")));
        QCOMPARE(details->maximumHeight(), 250);
        for (const QLabel* label : dialog.findChildren<QLabel*>())
            QVERIFY2(label->textFormat() == Qt::PlainText || !Qt::mightBeRichText(label->text()),
                     qPrintable(label->text()));

        const Fido2UserConfirmationDialog plain(QStringLiteral("reset"), json("{'rpId':'a'}"));
        QCOMPARE(part<QTextEdit>(plain, "details")->maximumHeight(), 150);
        QCOMPARE(part<QTextEdit>(plain, "details")->toPlainText(), QString());
    }

    void answersOnce_data()
    {
        QTest::addColumn<QString>("way");
        QTest::addColumn<bool>("confirmed");
        QTest::addColumn<QByteArray>("result");
        const QByteArray denied = "{'rememberChoice':true,'userAction':'denied'}";
        QTest::newRow("CONFIRM") << QStringLiteral("confirm") << true
                                 << QByteArray("{'rememberChoice':true,'userAction':'confirmed'}");
        QTest::newRow("DENY") << QStringLiteral("deny") << false << denied;
        QTest::newRow("closing the window denies") << QStringLiteral("close") << false << denied;
        QTest::newRow("Escape denies") << QStringLiteral("escape") << false << denied;
    }

    void answersOnce()
    {
        QFETCH(QString, way);
        QFETCH(bool, confirmed);
        QFETCH(QByteArray, result);
        Fido2UserConfirmationDialog dialog(QStringLiteral("client_pin"), json("{'rpId':'a'}"));
        QSignalSpy answers(&dialog, &Fido2UserConfirmationDialog::userConfirmed);
        dialog.show();
        QCOMPARE(part<QLabel>(dialog, "heading")->text(), QStringLiteral("FIDO2 PIN Operation"));
        QVERIFY(QTest::qWaitForWindowActive(&dialog));
        QTest::keyClick(dialog.focusWidget(), Qt::Key_Return); // a key meant for another window answers nothing
        QVERIFY(answers.isEmpty());
        part<QCheckBox>(dialog, "remember")->setChecked(true);
        const auto answer = [&] {
            if (way == QStringLiteral("close"))
                dialog.close();
            else if (way == QStringLiteral("escape"))
                QTest::keyClick(&dialog, Qt::Key_Escape);
            else
                QTest::keyClick(part<QPushButton>(dialog, qPrintable(way)), Qt::Key_Return);
        };
        QTRY_VERIFY((answer(), !answers.isEmpty())); // the dialog is deaf to keys at first
        dialog.close();
        QCOMPARE(answers.size(), 1);
        QCOMPARE(answers.at(0).at(0).toBool(), confirmed);
        QCOMPARE(compact(answers.at(0).at(1).toJsonObject()), result);
        QCOMPARE(dialog.result(), int(confirmed ? QDialog::Accepted : QDialog::Rejected));
    }

    void handsBackTheChosenCandidate()
    {
        for (const auto& [row, index] : {std::pair(1, 1), std::pair(-1, 0)}) { // without a selection it is the first
            Fido2UserConfirmationDialog dialog(QStringLiteral("get_assertion"), json(kThreeCandidates));
            QSignalSpy answers(&dialog, &Fido2UserConfirmationDialog::userConfirmed);
            part<QListWidget>(dialog, "candidates")->setCurrentRow(row);
            click(dialog, "confirm");
            const QJsonObject result = answers.at(0).at(1).toJsonObject();
            QCOMPARE(result.value(QStringLiteral("selectedCredentialIndex")), QJsonValue(index));
            QVERIFY(!result.contains(QStringLiteral("description"))); // the list was in its place
        }
    }

    void takesADescription()
    {
        const KeyFolder folder;
        Fido2UserConfirmationDialog dialog(QStringLiteral("make_credential"),
                                           json("{'allowDescriptionInput':true,'defaultDescription':'my key'}"),
                                           nullptr, folder.environment());
        QSignalSpy answers(&dialog, &Fido2UserConfirmationDialog::userConfirmed);
        QCOMPARE(part(dialog, "description")->text(), QStringLiteral("my key"));
        part(dialog, "description")->clear();
        click(dialog, "confirm");
        QCOMPARE(answers.at(0).at(1).toJsonObject().value(QStringLiteral("description")).toString(),
                 QStringLiteral("2025-01-05 14:30:00"));
    }

    void standsInForAnEmptyRequest()
    {
        const LogLines logged(LogLines::Least::Warning);
        Fido2UserConfirmationDialog dialog(QStringLiteral("make_credential"), {});
        QCOMPARE(logged.lines(),
                 (QStringList{QStringLiteral("WARNING: Received empty data in Fido2UserConfirmationDialog!"),
                              QStringLiteral("Operation: make_credential")}));
        QCOMPARE(part<QLabel>(dialog, "heading")->text(), QStringLiteral("Create New FIDO2 Credential"));
        QCOMPARE(part<QTextEdit>(dialog, "details")->toPlainText(),
                 QStringLiteral("Relying Party: Unknown (Unknown)\nUser: Unknown User"));
    }

    void showsTheDetails()
    {
        Fido2UserConfirmationDialog dialog(QStringLiteral("reset"), json("{'rpId':'a'}"));
        QCOMPARE(part<QLabel>(dialog, "heading")->text(), QStringLiteral("FIDO2 Operation: reset"));
        bool seen = false;
        whenModal([&](QWidget& window) {
            QCOMPARE(window.windowTitle(), QStringLiteral("Detailed FIDO2 Request Information"));
            const auto* text = part<QPlainTextEdit>(window, "request");
            QVERIFY(text->isReadOnly());
            QCOMPARE(text->font().family(), QStringLiteral("Consolas"));
            QCOMPARE(text->font().pointSize(), 10);
            QVERIFY(text->toPlainText().startsWith(QStringLiteral("Operation Type: reset\n\nRaw Request Data:\n{\n")));
            seen = true;
            click(window, "close");
        });
        click(dialog, "showDetails");
        QVERIFY(seen);
    }

    void opensACandidateWithoutBlocking()
    {
        Fido2UserConfirmationDialog dialog(QStringLiteral("get_assertion"), json(kThreeCandidates));
        dialog.show();
        auto* list = part<QListWidget>(dialog, "candidates");
        list->setCurrentRow(2);
        QTest::keyClick(list, Qt::Key_Enter); // as a double click does
        auto* detail = dialog.findChild<CredentialDetailDialog*>();
        QVERIFY(detail && detail->isVisible() && !detail->isModal());
        QCOMPARE(part(*detail, "id")->text(), QStringLiteral("cc"));
        QTest::keyClick(part<QPushButton>(*detail, "close"), Qt::Key_Return);
        QTRY_VERIFY(!dialog.findChild<CredentialDetailDialog*>());
    }

    void staysUsableWithHugeRequests_data()
    {
        QTest::addColumn<QJsonObject>("request");
        QJsonArray many;
        for (int number = 0; number < 320000; ++number)
            many.append(QJsonObject());
        const QJsonObject base{{QStringLiteral("isPasswordlessLogin"), true}};
        QJsonObject manyCandidates = base;
        manyCandidates.insert(QStringLiteral("availableCredentials"), many);
        QTest::newRow("as many credentials as a message holds") << manyCandidates;
        const QString megabyte(1024 * 1024, QLatin1Char('x'));
        QJsonObject longName = base;
        longName.insert(QStringLiteral("rpName"), megabyte);
        longName.insert(
            QStringLiteral("availableCredentials"),
            QJsonArray{QJsonObject{{QStringLiteral("userName"), megabyte}, {QStringLiteral("id"), megabyte}}});
        QTest::newRow("names of 1 MiB") << longName;
    }

    void staysUsableWithHugeRequests()
    {
        QFETCH(QJsonObject, request);
        Fido2UserConfirmationDialog dialog(QStringLiteral("get_assertion"), request);
        QSignalSpy answers(&dialog, &Fido2UserConfirmationDialog::userConfirmed);
        dialog.show();
        QVERIFY(QTest::qWaitForWindowExposed(&dialog));
        QVERIFY(dialog.width() < 800 && dialog.height() < 800);
        auto* list = part<QListWidget>(dialog, "candidates");
        const int count = request.value(QStringLiteral("availableCredentials")).toArray().size();
        QCOMPARE(list->count(), qMin(count, kMostShownItems + 1));
        QVERIFY(part<QTextEdit>(dialog, "details")->document()->blockCount() < kMostShownItems + 10);
        const int last = qMin(count, kMostShownItems) - 1;
        emit list->itemDoubleClicked(list->item(last));
        whenModal([](QWidget& window) {
            QVERIFY(window.width() < 1000);
            click(window, "close");
        });
        click(dialog, "showDetails");
        list->setCurrentRow(last);
        click(dialog, "confirm");
        QCOMPARE(answers.at(0).at(1).toJsonObject().value(QStringLiteral("selectedCredentialIndex")).toInt(), last);
    }
};

PLUGBOARD_SUITE(ConfirmationDialogTest)
#include "confirmation_dialog_test.moc"
