#include "emulation/securitykey/confirmation_desk.h"
#include "tests/support/suite_registry.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QLocalSocket>
#include <QtTest>

using ctap::Verdict;
using namespace std::chrono_literals;

/// The device's end of the confirmation channel against a program's end that the test writes itself.
class ConfirmationDeskTest : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_desk.reset();
        m_server = std::make_unique<Fido2Server>(QCoreApplication::applicationPid());
        QCOMPARE(m_server->listen(), QString());
        m_desk = std::make_unique<ctap::ConfirmationDesk>(*m_server);
    }

    void answersReachTheirQuestion()
    {
        const auto program = connected();
        QVERIFY(program);
        for (const bool confirmed : {true, false}) {
            Answers answers;
            m_desk->ask(QStringLiteral("get_assertion"), {{QStringLiteral("rpId"), confirmed}}, into(answers));
            QTRY_VERIFY(program->bytesAvailable() > 0);
            const QJsonObject request = QJsonDocument::fromJson(program->readAll()).object();
            QCOMPARE(request.value(QLatin1String("operation")).toString(), QStringLiteral("get_assertion"));
            QCOMPARE(request.value(QLatin1String("data")).toObject().value(QLatin1String("rpId")).toBool(), confirmed);
            answer(*program, confirmed);
            QCOMPARE(answers.verdicts, QList<Verdict>{confirmed ? Verdict::Confirmed : Verdict::Denied});
            QCOMPARE(answers.result.value(QLatin1String("description")).toBool(), confirmed);
        }
    }

    void nobodyToAskDenies()
    {
        Answers answers;
        m_desk->ask(QStringLiteral("reset"), {}, into(answers));
        QCOMPARE(answers.verdicts, QList<Verdict>{Verdict::Denied});
    }

    void anAnswerThatComesTooLateIsNobodys()
    {
        m_desk = std::make_unique<ctap::ConfirmationDesk>(*m_server, 1ms);
        const auto program = connected();
        QVERIFY(program);
        Answers first;
        m_desk->ask(QStringLiteral("make_credential"), {}, into(first));
        QTRY_COMPARE(first.verdicts, QList<Verdict>{Verdict::TimedOut});

        m_desk = std::make_unique<ctap::ConfirmationDesk>(*m_server);
        Answers second;
        m_desk->ask(QStringLiteral("reset"), {}, into(second));
        answer(*program, true); // to the first, whose dialog is still open
        QCOMPARE(second.verdicts, QList<Verdict>());
        answer(*program, false);
        QCOMPARE(second.verdicts, QList<Verdict>{Verdict::Denied});
        QCOMPARE(first.verdicts.size(), 1);
    }

    void aWithdrawnQuestionIsNotAnsweredByTheNextConnection()
    {
        Answers first;
        Answers second;
        {
            const auto program = connected();
            QVERIFY(program);
            m_desk->ask(QStringLiteral("make_credential"), {}, into(first));
            m_desk->withdraw();
        }
        QTRY_VERIFY(!m_server->isConnected());
        const auto program = connected(); // the same program perhaps, with the dialog still open
        QVERIFY(program);
        m_desk->ask(QStringLiteral("reset"), {}, into(second));
        answer(*program, true);
        QCOMPARE(second.verdicts, QList<Verdict>());
        answer(*program, true);
        QCOMPARE(second.verdicts, QList<Verdict>{Verdict::Confirmed});
        QVERIFY(first.verdicts.isEmpty());
    }

    void commandsAnswerInsteadOfTheUser()
    {
        Answers answers;
        const auto ask = [&] { m_desk->ask(QStringLiteral("reset"), {}, into(answers)); };
        m_desk->answerNext(Verdict::Confirmed);
        m_desk->answerNext(Verdict::Denied);
        QCOMPARE(m_desk->status(), QStringLiteral("2 answers prepared"));
        ask();
        ask();
        ask(); // nothing prepared, nobody there
        QCOMPARE(answers.verdicts, (QList<Verdict>{Verdict::Confirmed, Verdict::Denied, Verdict::Denied}));

        const auto program = connected();
        QVERIFY(program);
        answers.verdicts.clear();
        ask();
        QCOMPARE(m_desk->status(), QStringLiteral("waits for the answer to \"reset\""));
        m_desk->approveAll(true); // the question that waits too
        ask();
        QCOMPARE(answers.verdicts, (QList<Verdict>{Verdict::Confirmed, Verdict::Confirmed}));
        QCOMPARE(m_desk->status(), QStringLiteral("approves everything"));
        m_desk->approveAll(false);
        ask();
        QCOMPARE(answers.verdicts.size(), 2);
    }

    void aSecondProgramWaitsForItsTurn()
    {
        auto first = connected();
        QVERIFY(first);
        const auto second = connected();
        second->write(QJsonDocument(QJsonObject{{QStringLiteral("type"), QStringLiteral("ping")}}).toJson());
        QByteArray read;
        QTRY_VERIFY((read += second->readAll()).contains("pong"));
        Answers answers;
        m_desk->ask(QStringLiteral("reset"), {}, into(answers));
        QTRY_VERIFY(first->bytesAvailable() > 0);
        answer(*second, true); // it was not asked
        QCOMPARE(answers.verdicts, QList<Verdict>());
        QCOMPARE(first->state(), QLocalSocket::ConnectedState);
        first.reset();
        QTRY_VERIFY_WITH_TIMEOUT(second->bytesAvailable() > 0, 30000);
        QVERIFY(second->readAll().contains("reset"));
        answer(*second, true);
        QCOMPARE(answers.verdicts, QList<Verdict>{Verdict::Confirmed});
    }

    void choicesAreRemembered_data()
    {
        QTest::addColumn<QString>("operation");
        QTest::addColumn<QString>("rpId");
        QTest::addColumn<QString>("userId");
        QTest::addColumn<QString>("credential");
        QTest::addColumn<bool>("sameKind");
        const auto row = [](const char* name, const char* operation, const char* rp, const char* user, const char* id,
                            bool same) {
            QTest::newRow(name) << QString::fromLatin1(operation) << QString::fromLatin1(rp)
                                << QString::fromLatin1(user) << QString::fromLatin1(id) << same;
        };
        row("the same sign-in", "get_assertion", "shop.example", "00", "aa", true);
        row("a sign-in of who is named otherwise", "get_assertion", "shop.example", "01", "aa", true);
        row("another credential", "get_assertion", "shop.example", "00", "bb", false);
        row("another relying party", "get_assertion", "bank.example", "00", "aa", false);
        row("another operation", "make_credential", "shop.example", "00", "aa", false);
        row("a reset", "reset", "shop.example", "00", "aa", false);
    }

    void choicesAreRemembered()
    {
        QFETCH(QString, operation);
        QFETCH(QString, rpId);
        QFETCH(QString, userId);
        QFETCH(QString, credential);
        QFETCH(bool, sameKind);
        const bool isReset = operation == QLatin1String("reset"); // which nobody remembers
        const auto question = [](const QString& rp, const QString& user, const QString& id) {
            return QJsonObject{
                {QStringLiteral("rpId"), rp},
                {QStringLiteral("userId"), user},
                {QStringLiteral("availableCredentials"), QJsonArray{QJsonObject{{QStringLiteral("id"), id}}}}};
        };
        for (const bool confirmed : {true, false}) {
            const Verdict verdict = confirmed ? Verdict::Confirmed : Verdict::Denied;
            init();
            const auto program = connected();
            QVERIFY(program);
            Answers first;
            m_desk->ask(isReset ? operation : QStringLiteral("get_assertion"),
                        question(QStringLiteral("shop.example"), QStringLiteral("00"), QStringLiteral("aa")),
                        into(first));
            answer(*program, confirmed, true);
            QCOMPARE(first.verdicts, QList<Verdict>{verdict});
            Answers second;
            m_desk->ask(operation, question(rpId, userId, credential), into(second));
            QCOMPARE(second.verdicts, sameKind ? QList<Verdict>{verdict} : QList<Verdict>());
            m_desk->withdraw();
            QCOMPARE(m_desk->status(), isReset ? QString() : QStringLiteral("1 choices remembered"));
            m_desk->forgetChoices();
            QCOMPARE(m_desk->status(), QString());
        }
    }

private:
    struct Answers
    {
        QList<Verdict> verdicts;
        QJsonObject result;
    };

    std::unique_ptr<QLocalSocket> connected();
    /// Writes the user's answer, and waits until the device has read it.
    void answer(QLocalSocket& program, bool confirmed, bool remember = false);
    ctap::UserPresence::Answered into(Answers& answers) const;

    std::unique_ptr<Fido2Server> m_server;
    std::unique_ptr<ctap::ConfirmationDesk> m_desk;
};

std::unique_ptr<QLocalSocket> ConfirmationDeskTest::connected()
{
    auto program = std::make_unique<QLocalSocket>();
    program->connectToServer(QStringLiteral("Fido2Server_%1").arg(QCoreApplication::applicationPid()));
    const bool accepted = QTest::qWaitFor([this] { return m_server->isConnected(); });
    return accepted ? std::move(program) : nullptr;
}

void ConfirmationDeskTest::answer(QLocalSocket& program, bool confirmed, bool remember)
{
    const QJsonObject message{{QStringLiteral("type"), QStringLiteral("user_confirmation_response")},
                              {QStringLiteral("confirmed"), confirmed},
                              {QStringLiteral("data"), QJsonObject{{QStringLiteral("description"), confirmed},
                                                                   {QStringLiteral("rememberChoice"), remember}}}};
    program.write(QJsonDocument(message).toJson());
    program.flush();
    QCoreApplication::processEvents(); // the device's end is in this process: it reads here
    program.readAll();
    program.write(QJsonDocument(QJsonObject{{QStringLiteral("type"), QStringLiteral("ping")}}).toJson());
    QByteArray read;
    QTRY_VERIFY((read += program.readAll()).contains("pong")); // so the answer was read, and not together with the ping
}

ctap::UserPresence::Answered ConfirmationDeskTest::into(Answers& answers) const
{
    return [&answers](const ctap::UserAnswer& answer) {
        answers.verdicts << answer.verdict;
        answers.result = answer.result;
    };
}

PLUGBOARD_SUITE(ConfirmationDeskTest)
#include "confirmation_desk_linux_test.moc"
