// Login proofs on OpenSSL's libcrypto.
#include "link/auth.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <openssl/rand.h>

namespace kv::link {
namespace {

std::string labelledProof(std::string_view label, std::string_view password, std::string_view clientNonce,
                          std::string_view serverNonce, std::string_view user) {
    std::string message;
    message.reserve(label.size() + clientNonce.size() + serverNonce.size() + user.size());
    message.append(label).append(clientNonce).append(serverNonce).append(user);
    return hmacSha256(password, message);
}

}  // namespace

std::string randomBytes(std::size_t count) {
    std::string out(count, '\0');
    if (RAND_bytes(reinterpret_cast<unsigned char*>(out.data()), static_cast<int>(count)) != 1) return {};
    return out;
}

std::string hmacSha256(std::string_view key, std::string_view message) {
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    // A zero-length key must still be a valid pointer for HMAC().
    static const unsigned char kEmpty = 0;
    const void* keyData = key.empty() ? static_cast<const void*>(&kEmpty) : key.data();
    if (HMAC(EVP_sha256(), keyData, static_cast<int>(key.size()),
             reinterpret_cast<const unsigned char*>(message.data()), message.size(), digest, &length) == nullptr) {
        return {};
    }
    return std::string(reinterpret_cast<const char*>(digest), length);
}

std::string clientProof(std::string_view password, std::string_view clientNonce, std::string_view serverNonce,
                        std::string_view user) {
    return labelledProof("kv-login-client", password, clientNonce, serverNonce, user);
}

std::string serverProof(std::string_view password, std::string_view clientNonce, std::string_view serverNonce,
                        std::string_view user) {
    return labelledProof("kv-login-server", password, clientNonce, serverNonce, user);
}

bool sameProof(std::string_view a, std::string_view b) {
    if (a.size() != b.size() || a.empty()) return false;
    return CRYPTO_memcmp(a.data(), b.data(), a.size()) == 0;
}

}  // namespace kv::link
