// links: plugboard::emulation_securitykey
// ctap_request_fuzzer.cpp: the parameters of a host's command, read as each of the requests that they may be.
#include "emulation/securitykey/cbor.h"
#include "emulation/securitykey/requests.h"

#include <cstdint>
#include <cstdlib>

namespace {

using namespace ctap;

void check(bool holds)
{
    if (!holds)
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char*>(data), int(size));
    const auto value = decodeCbor(bytes);
    if (!value)
        return 0;
    check(encodeCbor(*value) == bytes);
    MakeCredentialRequest registration;
    if (read(value->toMap(), registration) == Status::Ok) {
        check(registration.clientDataHash.size() == 32 && registration.wanted.rpIdHash.size() == 32);
        check(registration.wanted.algorithm != 0 && !registration.wanted.rpId.isEmpty());
    }
    GetAssertionRequest signIn;
    if (read(value->toMap(), signIn) == Status::Ok)
        check(signIn.clientDataHash.size() == 32);
    return 0;
}
