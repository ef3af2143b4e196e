// Login proofs: HMAC-SHA256 over both nonces and the user, keyed with the password.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace kv::link {

inline constexpr std::size_t kNonceSize = 32;
inline constexpr std::size_t kProofSize = 32;

/// `count` bytes from the system's secure random source; empty if it failed.
std::string randomBytes(std::size_t count);
std::string hmacSha256(std::string_view key, std::string_view message);
/// What the client proves: it knows the password of `user` for these two nonces.
std::string clientProof(std::string_view password, std::string_view clientNonce, std::string_view serverNonce,
                        std::string_view user);
/// What the service proves back; differs from the client's proof by its label.
std::string serverProof(std::string_view password, std::string_view clientNonce, std::string_view serverNonce,
                        std::string_view user);
/// Compares in time independent of where the texts differ.
bool sameProof(std::string_view a, std::string_view b);

}  // namespace kv::link
