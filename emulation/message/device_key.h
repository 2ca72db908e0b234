// device_key.h: the RSA private key with which a device process reads its parameters.
#pragma once

#include "devices/openssl_handles.h"
#include "emulation/message/outcome.h"

#include <QByteArray>

#include <memory>

/// Shared because OpenSSL's owner cannot be copied; never null.
using DeviceKey = std::shared_ptr<EVP_PKEY>;

/// Takes an unencrypted PEM private key and accepts RSA only.
Outcome<DeviceKey> deviceKeyFromPem(const QByteArray& pem);

/// The key in the PEM file that PLUGBOARD_DEVICE_KEY names, otherwise the development key compiled into the program.
Outcome<DeviceKey> readDeviceKey();
