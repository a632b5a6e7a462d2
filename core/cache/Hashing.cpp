#include "core/cache/Hashing.h"

#include <openssl/evp.h>

#include <memory>

namespace vantrel {

namespace {

// Fetched once for the process: the digest named on every call is looked up in the
// provider store each time, under its lock, which costs more than hashing a path.
const EVP_MD* sha256Digest() {
#if OPENSSL_VERSION_NUMBER >= 0x30000000L
    static EVP_MD* fetched = EVP_MD_fetch(nullptr, "SHA256", nullptr);
    if (fetched) return fetched;
#endif
    return EVP_sha256();
}

struct ContextDeleter {
    void operator()(EVP_MD_CTX* context) const { EVP_MD_CTX_free(context); }
};

}  // namespace

std::string sha256Hex(std::string_view data) {
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    // One context per thread, reset by each digest: most inputs are short paths.
    thread_local std::unique_ptr<EVP_MD_CTX, ContextDeleter> context(EVP_MD_CTX_new());
    // A digest fails only when the library cannot allocate; the empty text then stands
    // in, which no real digest equals, so such a hash never matches a stored one.
    if (!context || EVP_DigestInit_ex(context.get(), sha256Digest(), nullptr) != 1 ||
        EVP_DigestUpdate(context.get(), data.data(), data.size()) != 1 ||
        EVP_DigestFinal_ex(context.get(), digest, &length) != 1)
        return {};
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
