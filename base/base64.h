// Base64 with the standard alphabet, as the service uses it for captured POS data and filtered receipts.
#pragma once

#include <string>
#include <string_view>

#include "base/result.h"

namespace kv::base {

/// The description and source of the decoding error.
inline constexpr std::string_view kBase64Error = "Input string is not valid Base64.";
inline constexpr std::string_view kBase64ErrorSource = "MyDecode";

/// Decodes to bytes after removing every CR and LF. A length that is not a multiple of four,
/// or a character outside the alphabet, fails with `kBase64Error`.
Result<std::string> MyDecode(std::string_view text);
/// Encodes bytes; a remainder is padded with "=".
std::string MyEncode(std::string_view bytes);

}  // namespace kv::base
