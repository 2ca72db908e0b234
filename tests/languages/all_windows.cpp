#include "tests/languages/all_windows.h"

#include "app/device_table.h"
#include "app/main_window.h"
#include "capture/view/capture_dialog.h"
#include "capture/view/details_view.h"
#include "capture/view/device_config_dialog.h"
#include "capture/view/packet_details_dialog.h"
#include "devices/device_record_manager.h"
#include "devices/device_type.h"
#include "dialogs/camera_setting_dialog.h"
#include "dialogs/microphone_setting_dialog.h"
#include "fido2/dialogs/credential_detail_dialog.h"
#include "fido2/dialogs/credential_edit_dialog.h"
#include "fido2/dialogs/credentials_file_chooser.h"
#include "fido2/dialogs/device_detail_dialog.h"
#include "fido2/dialogs/fido2_setting_dialog.h"
#include "fido2/dialogs/fido2_user_confirmation_dialog.h"
#include "fido2/dialogs/request_details_dialog.h"
#include "tools/capture/capture_window.h"

#include <QAbstractButton>
#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QLineEdit>

namespace {

constexpr qint64 kNoProcess = 1; // never a device process

const char* const kKeyFile = R"({"deviceInfo":{"serialNumber":"KEY-1","deviceName":"Key","vid":"0x1234","pid":"0x5678",
"usbVersion":"2.0","supportsPin":true},"pinInfo":{"pinSet":false,"maxPinRetries":8},"credentials":[{"id":"9f86d081",
"type":"public-key","sigCnt":3,"rp":{"id":"shop.example","name":"The Shop"},"user":{"id":"616e6e","name":"ann",
"displayName":"Ann"},"privateKeyFile":"/keys/a.pem","publicKeyFile":"/keys/b.pem","description":"laptop",
"createdAt":"2025-01-05 14:30:00","supportsResidentKey":true},{"id":"abc"},{"id":"9F86D081"}]})";

const char* const kRegistration = R"({"rpId":"shop.example","rpName":"The Shop","userName":"ann","credentialType":
"public-key","userId":"616e6e","credentialId":"9f86","deviceName":"Key","pinRequired":true,"allowDescriptionInput":true,
"supportedAlgorithms":[{"type":"public-key","id":-7},{"type":"public-key","id":-257}]})";

const char* const kPasswordless = R"({"rpId":"shop.example","rpName":"The Shop","isPasswordlessLogin":true,
"availableCredentials":[{"id":"9f86d081884c7d65","userName":"ann","userDisplayName":"Ann","createdAt":"2025-01-05"},
{"id":"60303ae22b998861","userName":"bob","description":"work"}]})";

const char* const kSignIn =
    R"({"rpId":"shop.example","userName":"ann","credentialId":"9f86","credentialType":"public-key",
"transports":["usb","nfc"],"signatureCounter":4,"userVerificationRequired":true})";

QJsonObject object(const char* text)
{
    return QJsonDocument::fromJson(text).object();
}

/// Looks at nothing: no test reaches into a network.
SourceProbeResult findNothing(const QString&, SourceProbe::Kind)
{
    return {};
}

template<typename Dialog>
std::unique_ptr<Dialog> withNetworkChosen(std::unique_ptr<Dialog> dialog, const char* button)
{
    dialog->template findChild<QAbstractButton*>(QLatin1String(button))->setChecked(true);
    return dialog;
}

UsbIPPacketInfo packet(TransferType type)
{
    UsbIPPacketInfo made;
    made.isRequest = true;
    made.transferType = type;
    if (type == ControlTransfer)
        made.setupData = QByteArray::fromHex("8006000100001200");
    else
        made.data = "some bytes";
    made.parsedDetails = QStringLiteral("details");
    return made;
}

} // namespace

AllWindows::AllWindows()
{
    QDir(m_folder.path()).mkdir(QStringLiteral("fido2"));
    QFile key(m_folder.filePath(QStringLiteral("fido2/KEY-1_credentials.json")));
    if (!key.open(QIODevice::WriteOnly) || key.write(kKeyFile) < 0)
        qFatal("The files of the windows cannot be made.");
    for (int code = 1; code <= 8; ++code) {
        DeviceRecord record;
        record.deviceType = code;
        record.deviceName = QStringLiteral("Device %1").arg(code);
        record.processId = 100 + code;
        record.usbVid = record.usbPid = QStringLiteral("0x1d6b");
        record.isRunning = true;
        DeviceRecordManager(m_folder.path(), nullptr).saveRecord(record);
    }
}

std::unique_ptr<QWidget> AllWindows::mainWindow()
{
    MainWindowServices services;
    services.recordsFolder = m_folder.path();
    services.takeSnapshot = [] { return ProcessSnapshot({101, 102, 103, 104, 105, 106, 107, 108}); };
    return std::make_unique<MainWindow>(nullptr, m_prompter, services);
}

std::unique_ptr<QWidget> AllWindows::keyFileChooser()
{
    return std::make_unique<CredentialsFileChooser>(m_folder.filePath(QStringLiteral("fido2")),
                                                    QStringList{QStringLiteral("KEY-1_credentials.json")});
}

std::unique_ptr<QWidget> AllWindows::keyDetails()
{
    return std::make_unique<DeviceDetailDialog>(m_folder.filePath(QStringLiteral("fido2/KEY-1_credentials.json")),
                                                QStringLiteral("KEY-1"), nullptr, Fido2Environment::ofThisProgram(),
                                                m_prompter);
}

std::unique_ptr<QWidget> AllWindows::confirmation(const char* operation, const char* data)
{
    auto dialog = std::make_unique<Fido2UserConfirmationDialog>(QLatin1String(operation), object(data));
    dialog->showAsker(QStringLiteral("KEY-1 (KEY-1)"), kNoProcess, QDateTime::currentDateTime().addSecs(-75));
    return dialog;
}

std::unique_ptr<QWidget> AllWindows::packetDetails()
{
    auto dialog = std::make_unique<PacketDetailsDialog>();
    dialog->view().showPacket(packet(InterruptTransfer));
    return dialog;
}

std::vector<WindowMaker> AllWindows::makers()
{
    const auto camera = [this] { return std::make_unique<CameraSettingDialog>(nullptr, m_prompter, findNothing); };
    const auto microphone = [this] {
        return std::make_unique<MicrophoneSettingDialog>(nullptr, m_prompter, findNothing);
    };
    const auto editor = [this](bool isNew) {
        return std::make_unique<CredentialEditDialog>(isNew, nullptr, Fido2Environment::ofThisProgram(), m_prompter);
    };
    return {
        {"main window", [this] { return mainWindow(); }},
        {"camera settings", camera},
        {"camera settings, network", [camera] { return withNetworkChosen(camera(), "ipCamera"); }},
        {"microphone settings", microphone},
        {"microphone settings, network", [microphone] { return withNetworkChosen(microphone(), "ipCam"); }},
        {"key settings",
         [this] {
             auto dialog = std::make_unique<Fido2SettingDialog>(
                 nullptr, Fido2Environment{m_folder.path(), &QDateTime::currentDateTime}, m_prompter);
             dialog->findChild<QLineEdit*>(QStringLiteral("serialNumber"))->setText(QStringLiteral("KEY-1"));
             dialog->loadDeviceInfoFromCredentialsFile();
             return dialog;
         }},
        {"key file chooser", [this] { return keyFileChooser(); }},
        {"new credential", [editor] { return editor(true); }},
        {"credential",
         [editor] {
             auto dialog = editor(false);
             dialog->setCredential(object(kKeyFile)[QStringLiteral("credentials")].toArray()[0].toObject());
             dialog->setOtherIds({QStringLiteral("abc")});
             dialog->findChild<QLineEdit*>(QStringLiteral("id"))->setText(QStringLiteral("abc"));
             return dialog;
         }},
        {"credential details",
         [] {
             auto dialog = std::make_unique<CredentialDetailDialog>(
                 object(kKeyFile)[QStringLiteral("credentials")].toArray()[0].toObject());
             dialog->setAttribute(Qt::WA_DeleteOnClose, false); // the test owns it
             return dialog;
         }},
        {"key details", [this] { return keyDetails(); }},
        {"registration", [this] { return confirmation("make_credential", kRegistration); }},
        {"sign-in without user name", [this] { return confirmation("get_assertion", kPasswordless); }},
        {"sign-in", [this] { return confirmation("get_assertion", kSignIn); }},
        {"PIN operation", [this] { return confirmation("client_pin", "{}"); }},
        {"request details",
         [] {
             return std::make_unique<RequestDetailsDialog>(QStringLiteral("make_credential"), object(kRegistration));
         }},
        {"capture", [this] { return std::make_unique<UsbIPCaptureDialog>(kNoProcess, 1, nullptr, m_prompter); }},
        {"capture window",
         [this] {
             auto window = std::make_unique<CaptureWindow>(CaptureTarget{kNoProcess, 0}, m_prompter);
             window->pane().takePacket(packet(ControlTransfer));
             window->pane().takePacket(packet(BulkTransfer));
             return window;
         }},
        {"packet details", [this] { return packetDetails(); }},
        {"device configuration",
         [this] {
             const QJsonObject config = object(
                 R"({"configDescriptor":{"bLength":9},"interfaces":[{"alternateSettings":[{"endpoints":[{}]}]}]})");
             return std::make_unique<DeviceConfigDialog>(config, QStringLiteral("1"), nullptr, m_prompter);
         }},
    };
}
