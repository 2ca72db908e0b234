// fido2_walk.cpp: the tour's walk through the life of a security key, with a real device process behind it.
#include "app/device_table.h"
#include "app/main_window.h"
#include "fido2/channel/fido2_channels.h"
#include "fido2/dialogs/credential_detail_dialog.h"
#include "tools/tour/tour.h"
#include "tools/tour/walks.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QLineEdit>
#include <QListWidget>
#include <QProcess>
#include <QPushButton>
#include <QTableWidget>
#include <QtTest>

#include <memory>

namespace {

const QString kSerial = QStringLiteral("TOUR-KEY");
const QString kPin = QStringLiteral("1234");
const QString kSuccess = QStringLiteral("Success");

template<typename Widget = QLineEdit>
Widget* part(const QWidget& window, const char* name)
{
    auto* widget = window.findChild<Widget*>(QLatin1String(name));
    Tour::require(widget, QStringLiteral("no widget named %1").arg(QLatin1String(name)));
    return widget;
}

void click(const QWidget& window, const char* name)
{
    part<QPushButton>(window, name)->click();
}

QMessageBox& messageBox(QWidget& window)
{
    auto* box = qobject_cast<QMessageBox*>(&window);
    Tour::require(box, QStringLiteral("the window is no message box"));
    return *box;
}

class Fido2Walk
{
public:
    explicit Fido2Walk(Tour& tour) : m_tour(tour) {}

    void run();

private:
    void createKey();
    QString fillSettings(QWidget& dialog);
    void addCredential(QWidget& dialog, const QString& user, const QString& id);
    void ask(const QStringList& arguments, const QString& stepName, const std::function<void(QWidget&)>& answer);
    void lookAtCandidate(QWidget& dialog, int row);
    void chooseFile();
    QString useDetails(QWidget& dialog);
    void deleteKey();

    QString keyPath(const QString& suffix) const { return m_folder + kSerial + suffix; }
    QJsonObject root() const;

    Tour& m_tour;
    QString m_folder = QCoreApplication::applicationDirPath() + QStringLiteral("/fido2/");
    std::unique_ptr<MainWindow> m_window;
    int m_row = -1;
    qint64 m_processId = 0;
    QJsonObject m_answer; ///< what the device process printed last
};

void Fido2Walk::run()
{
    QDir(m_folder).removeRecursively(); // an earlier tour may have been cut off
    m_tour.step(QStringLiteral("create-security-key"), [this] {
        createKey();
        m_tour.picture(*m_window);
        return QStringLiteral("its process runs and its channel is open");
    });
    m_tour.step(QStringLiteral("sign-in-without-user-name"), [this] {
        ask({QStringLiteral("get_assertion")}, QStringLiteral("sign-in-dialog"), [this](QWidget& dialog) {
            lookAtCandidate(dialog, 1);
            click(dialog, "confirm");
        });
        Tour::require(
            m_answer.value(QStringLiteral("data")).toObject().value(QStringLiteral("selectedCredentialIndex")) ==
                QJsonValue(1),
            QStringLiteral("the device was told another credential"));
        return QStringLiteral("the device received the second of three credentials");
    });
    m_tour.step(QStringLiteral("register"), [this] {
        ask({QStringLiteral("make_credential"), QStringLiteral("--user"), QStringLiteral("ann")},
            QStringLiteral("registration-dialog"), [this](QWidget& dialog) {
                m_tour.whenWindowOpens(QStringLiteral("request-details"), [this](QWidget& details) {
                    m_tour.picture(details);
                    return details.windowTitle();
                });
                click(dialog, "showDetails");
                part(dialog, "description")->setText(QStringLiteral("Work laptop"));
                click(dialog, "confirm");
            });
        Tour::require(root().value(QStringLiteral("credentials")).toArray().size() == 4,
                      QStringLiteral("the file does not hold four credentials"));
        return QStringLiteral("the device added the credential to its file");
    });
    m_tour.step(QStringLiteral("credentials-file-chosen"), [this] {
        chooseFile();
        return QStringLiteral("serial number and credentials come from the file");
    });
    m_tour.step(QStringLiteral("key-details"), [this] {
        m_tour.whenWindowOpens(QStringLiteral("details-dialog"),
                               [this](QWidget& dialog) { return useDetails(dialog); });
        m_window->showDeviceDetails(m_row);
        return QStringLiteral("PIN set, then everything cleared");
    });
    m_tour.step(QStringLiteral("delete-security-key"), [this] {
        deleteKey();
        return QStringLiteral("process, row and channel are gone");
    });
}

void Fido2Walk::createKey()
{
    m_window = std::make_unique<MainWindow>();
    m_window->show();
    m_tour.whenWindowOpens(QStringLiteral("key-settings"), [this](QWidget& dialog) { return fillSettings(dialog); });
    m_window->onCreateFido2();
    DeviceTable& table = m_window->deviceTable();
    for (int row = 0; row < table.rowCount(); ++row) {
        if (table.cellTexts(row).at(DeviceTable::kTypeColumn) == QStringLiteral("fido2"))
            m_row = row;
    }
    Tour::require(m_row >= 0, QStringLiteral("the key has no row"));
    m_processId = table.identityAt(m_row)->processId.toLongLong();
    const auto* channels = m_window->findChild<Fido2Channels*>();
    Tour::waitUntil([&] { return channels->clientOf(m_processId)->isConnected(); }, QStringLiteral("its channel"));
}

QString Fido2Walk::fillSettings(QWidget& dialog)
{
    QDir().mkpath(m_folder);
    part(dialog, "serialNumber")->setText(kSerial);
    addCredential(dialog, QStringLiteral("ann"), QStringLiteral("9f86d081884c7d659a2feaa0c55ad015"));
    addCredential(dialog, QStringLiteral("bob"), QStringLiteral("60303ae22b998861bce3b28f33eec1be"));
    addCredential(dialog, QStringLiteral("cid"), QStringLiteral("fd61a03af4f77d870fc21e05e7e80678"));
    m_tour.answerBox(QStringLiteral("credentials-saved"), kSuccess, QStringLiteral("Credentials saved successfully"),
                     QMessageBox::Ok);
    click(dialog, "save");
    m_tour.picture(dialog);
    m_tour.whenWindowOpens(QStringLiteral("key-summary"), [this](QWidget& box) {
        m_tour.picture(box);
        return box.windowTitle();
    });
    click(dialog, "create");
    return QStringLiteral("three credentials added and saved");
}

void Fido2Walk::addCredential(QWidget& dialog, const QString& user, const QString& id)
{
    m_tour.whenWindowOpens(QStringLiteral("credential-of-") + user, [this, user, id](QWidget& editor) {
        part(editor, "id")->setText(id);
        part(editor, "rpId")->setText(QStringLiteral("shop.example"));
        part(editor, "rpName")->setText(QStringLiteral("The Example Shop"));
        part(editor, "userName")->setText(user);
        part(editor, "userId")->setText(QString::fromLatin1(user.toUtf8().toHex()));
        m_tour.picture(editor);
        click(editor, "save");
        return id;
    });
    m_tour.answerBox(QStringLiteral("added-") + user, kSuccess, QStringLiteral("New credential added successfully"),
                     QMessageBox::Ok);
    click(dialog, "add");
}

void Fido2Walk::ask(const QStringList& arguments, const QString& stepName, const std::function<void(QWidget&)>& answer)
{
    m_tour.whenWindowOpens(stepName, [this, answer](QWidget& dialog) {
        m_tour.picture(dialog);
        answer(dialog);
        return dialog.windowTitle();
    });
    QProcess request;
    request.start(QCoreApplication::applicationDirPath() + QStringLiteral("/usb-daemon.exe"),
                  QStringList{QStringLiteral("--request"), QString::number(m_processId)} + arguments +
                      QStringList{QStringLiteral("--rp"), QStringLiteral("shop.example"), QStringLiteral("--rp-name"),
                                  QStringLiteral("The Example Shop")});
    Tour::waitUntil([&request] { return request.state() == QProcess::NotRunning; }, QStringLiteral("the answer"));
    m_answer = QJsonDocument::fromJson(request.readAllStandardOutput()).object();
    Tour::require(request.exitCode() == 0, QString::fromUtf8(request.readAllStandardError()));
}

/// Opens the details of a credential from the list of a confirmation, which waits meanwhile.
void Fido2Walk::lookAtCandidate(QWidget& dialog, int row)
{
    auto* list = part<QListWidget>(dialog, "candidates");
    const QPoint centre = list->visualItemRect(list->item(row)).center();
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, centre);
    QTest::mouseDClick(list->viewport(), Qt::LeftButton, {}, centre);
    m_tour.step(QStringLiteral("credential-details"), [&] {
        auto* details = dialog.findChild<CredentialDetailDialog*>();
        Tour::require(details && QTest::qWaitForWindowExposed(details), QStringLiteral("the details never opened"));
        m_tour.picture(*details);
        Tour::require(part(*details, "userName")->text() == QStringLiteral("bob"), QStringLiteral("another user"));
        click(*details, "close");
        return details->windowTitle();
    });
}

/// Settings of a new key that take over the file of the one that runs, and are cancelled.
void Fido2Walk::chooseFile()
{
    m_tour.whenWindowOpens(QStringLiteral("key-settings-from-file"), [this](QWidget& dialog) {
        m_tour.whenWindowOpens(QStringLiteral("choose-credentials-file"), [this](QWidget& chooser) {
            part<QTableWidget>(chooser, "files")->selectRow(0);
            m_tour.picture(chooser);
            click(chooser, "select");
            return chooser.windowTitle();
        });
        click(dialog, "selectFile");
        m_tour.picture(dialog);
        Tour::require(part(dialog, "serialNumber")->text() == kSerial, QStringLiteral("another serial number"));
        const int rows = part<QTableWidget>(dialog, "credentials")->rowCount();
        Tour::require(rows == 4, QStringLiteral("%1 credentials").arg(rows));
        dialog.close();
        return QStringLiteral("four credentials");
    });
    m_window->onCreateFido2();
}

QString Fido2Walk::useDetails(QWidget& dialog)
{
    m_tour.picture(dialog);
    part(dialog, "pin")->setText(kPin);
    part(dialog, "confirmPin")->setText(kPin);
    m_tour.answerBox(QStringLiteral("pin-set"), kSuccess, QStringLiteral("PIN has been set successfully"),
                     QMessageBox::Ok);
    click(dialog, "setPin");
    m_tour.whenWindowOpens(QStringLiteral("clear-question"), [this](QWidget& box) {
        m_tour.picture(box);
        messageBox(box).button(QMessageBox::Yes)->click();
        return box.windowTitle();
    });
    m_tour.answerBox(QStringLiteral("cleared"), kSuccess, QStringLiteral("Device has been cleared successfully"),
                     QMessageBox::Ok);
    click(dialog, "clear");
    Tour::require(root().isEmpty(), QStringLiteral("the credentials file is still there"));
    return QStringLiteral("PIN set, all files gone");
}

void Fido2Walk::deleteKey()
{
    m_tour.whenWindowOpens(QStringLiteral("confirm-key-deletion"), [](QWidget& box) {
        messageBox(box).button(QMessageBox::Yes)->click();
        return box.windowTitle();
    });
    m_tour.whenWindowOpens(QStringLiteral("key-deleted"), [](QWidget& box) { return box.windowTitle(); });
    m_window->onTableItemDoubleClicked(m_window->deviceTable().item(m_row, DeviceTable::kNameColumn));
    Tour::require(!m_window->findChild<Fido2Channels*>()->clientOf(m_processId),
                  QStringLiteral("the channel is still there"));
}

QJsonObject Fido2Walk::root() const
{
    QFile file(keyPath(QStringLiteral("_credentials.json")));
    return file.open(QIODevice::ReadOnly) ? QJsonDocument::fromJson(file.readAll()).object() : QJsonObject();
}

} // namespace

void walkSecurityKey(Tour& tour)
{
    Fido2Walk(tour).run();
}
