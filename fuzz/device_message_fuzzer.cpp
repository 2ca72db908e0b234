// links: plugboard::emulation_message
// Parameter messages as a device process reads them. Inputs are ciphertext as it stands below the base64 text, since a
// random change of that text is nearly always just refused; and, encrypted first, plaintext in one block or in chunks.
#include "devices/parameter_encryptor.h"
#include "emulation/message/message_decoder.h"

#include <cstdint>
#include <cstdlib>

#include <openssl/pem.h>
#include <openssl/rsa.h>

namespace {

/// A pair of 512 bits, small for speed: one block carries up to 53 bytes.
struct Keys
{
    Keys() : privateKey(EVP_RSA_gen(512), EVP_PKEY_free)
    {
        const openssl::Bio bio{BIO_new(BIO_s_mem())};
        PEM_write_bio_PUBKEY(bio.get(), privateKey.get());
        char* bytes = nullptr;
        const long size = BIO_get_mem_data(bio.get(), &bytes);
        if (!encryptor.loadPublicKey(QByteArray(bytes, int(size))))
            std::abort();
    }

    DeviceKey privateKey;
    ParameterEncryptor encryptor;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static Keys keys;
    const auto bytes = QByteArray::fromRawData(reinterpret_cast<const char*>(data), int(size));
    decodeMessage(bytes, keys.privateKey);
    decodeMessage(bytes.toBase64(), keys.privateKey);

    const auto decoded = decodeMessage(keys.encryptor.encrypt(bytes).toBase64(), keys.privateKey);
    if (decoded && decoded.value().toUtf8() != bytes)
        std::abort();
    return 0;
}
