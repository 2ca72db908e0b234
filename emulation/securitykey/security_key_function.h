// security_key_function.h: the security key as a USB device of the class HID (CTAP 2.1, 11.2.8).
#pragma once

#include "emulation/channels/device_service.h"
#include "emulation/channels/fido2_server.h"
#include "emulation/hid/hid_function.h"
#include "emulation/message/outcome.h"
#include "emulation/securitykey/confirmation_desk.h"
#include "emulation/securitykey/key_store.h"
#include "emulation/securitykey/request_server.h"
#include "emulation/securitykey/security_key.h"

#include <memory>

namespace ctap {

/// Commands: "approve next" and "deny next" answer the question that waits or the next one, "approve all" all of them
/// until "ask again", which forgets the choices that the key was to remember too.
class SecurityKeyFunction final : public hid::HidFunction
{
public:
    /// Makes the key's files where they are missing, and serves its confirmation channel and its requests.
    static Outcome<std::unique_ptr<DeviceFunction>> make(usb::DeviceDescriptors identity, const DeviceContext& context);

    void controlRequest(const usb::TransferPointer& transfer) override;
    QString run(const QString& command) override;
    QString status() const override;

private:
    SecurityKeyFunction(usb::DeviceDescriptors identity, const DeviceContext& context);

    /// Empty, or the sentence that says what failed.
    QString start();
    void forgetState() override;
    void takeOutput(const QByteArray& report) override;
    void send(const QByteArray& report);

    KeyStore m_store;
    Fido2Server m_channel;
    ConfirmationDesk m_desk;
    RequestServer m_requests;
    std::unique_ptr<SecurityKey> m_key; // once its files are there
};

} // namespace ctap
