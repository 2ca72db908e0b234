// openssl_handles.h: owners of OpenSSL's objects, and what else its users share.
#pragma once

#include <openssl/bio.h>
#include <openssl/bn.h>
#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/param_build.h>
#include <openssl/x509.h>

#include <memory>

namespace openssl {

/// Call before anything else of OpenSSL. The library then reads no settings file: one could name a module to load, and
/// where the library looks for the file was fixed when it was built, on Windows perhaps a folder that anyone can make.
inline void initialise()
{
    OPENSSL_init_crypto(OPENSSL_INIT_NO_LOAD_CONFIG | OPENSSL_INIT_ADD_ALL_CIPHERS | OPENSSL_INIT_LOAD_CRYPTO_STRINGS,
                        nullptr);
}

/// Handed to the readers of PEM files: a block with a passphrase is refused. The library's own default would ask for it
/// on the terminal.
inline int refusePassphrase(char*, int, int, void*)
{
    return -1;
}

template<auto Free>
struct Deleter
{
    template<typename T>
    void operator()(T* object) const
    {
        Free(object);
    }
};

using Bio = std::unique_ptr<BIO, Deleter<BIO_free_all>>;
using Key = std::unique_ptr<EVP_PKEY, Deleter<EVP_PKEY_free>>;
using KeyContext = std::unique_ptr<EVP_PKEY_CTX, Deleter<EVP_PKEY_CTX_free>>;
using DigestContext = std::unique_ptr<EVP_MD_CTX, Deleter<EVP_MD_CTX_free>>;
using CipherContext = std::unique_ptr<EVP_CIPHER_CTX, Deleter<EVP_CIPHER_CTX_free>>;
using BigNumber = std::unique_ptr<BIGNUM, Deleter<BN_clear_free>>;
using Parameters = std::unique_ptr<OSSL_PARAM, Deleter<OSSL_PARAM_free>>;
using ParameterBuilder = std::unique_ptr<OSSL_PARAM_BLD, Deleter<OSSL_PARAM_BLD_free>>;
using Certificate = std::unique_ptr<X509, Deleter<X509_free>>;
using Extension = std::unique_ptr<X509_EXTENSION, Deleter<X509_EXTENSION_free>>;
using Object = std::unique_ptr<ASN1_OBJECT, Deleter<ASN1_OBJECT_free>>;
using OctetString = std::unique_ptr<ASN1_OCTET_STRING, Deleter<ASN1_OCTET_STRING_free>>;

} // namespace openssl
