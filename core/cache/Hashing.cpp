#include "cache/Hashing.h"

#include <openssl/evp.h>

namespace vantrel {

std::string sha256Hex(std::string_view data) {
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    // EVP_Digest fails only when the library cannot allocate; the empty text then stands
    // in, which no real digest equals, so such a hash never matches a stored one.
    if (EVP_Digest(data.data(), data.size(), digest, &length, EVP_sha256(), nullptr) != 1) return {};
    static const char hexDigits[] = "0123456789abcdef";
    std::string out;
    out.reserve(length * 2);
    for (unsigned int i = 0; i < length; ++i) {
        out.push_back(hexDigits[digest[i] >> 4]);
        out.push_back(hexDigits[digest[i] & 0x0F]);
    }
    return out;
}

}  // namespace vantrel
