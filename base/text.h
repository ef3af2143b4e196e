// Small text helpers shared by every subject: XML escaping, send results, paths, padding, channel lists.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace kv::base {

class Language;

/// Escapes text for a command (`bEncode` true) or unescapes text read from a reply (false).
/// Writing escapes "<", "&" and the double quote only; reading undoes "&lt;", "&amp;", "&quot;"
/// one rule after the other over the whole text, in that order, so "&amp;lt;" reads as "<".
std::string XMLFilter(std::string_view value, bool bEncode);

/// The result of a synchronous send: its negative value when the text begins with "-"
/// (-1 when no digits follow), otherwise 1. Callers test `>= 0`.
int32_t CheckResult(std::string_view result);

/// A path of the service's machine with one trailing "\".
std::string AddBackslash(std::string_view path);

/// `text` padded on the left with "0" up to `width`.
std::string ZeroPad(std::string_view text, size_t width);

/// The text of a device operation's result code (detect, add, preview).
std::string DeviceErrorText(int32_t code, const Language& lang);

constexpr int kMaxChannel = 64;
using ChannelFlags = std::array<bool, kMaxChannel>;

/// A comma list of 1-based channel numbers as 64 flags; numbers out of 1..64 and non-numbers are skipped.
ChannelFlags CalCHList(std::string_view list);
/// 64 flags as a comma list of 1-based channel numbers, no trailing comma, empty for none.
std::string CalCHList(const ChannelFlags& flags);

/// Text with blanks removed at both ends.
std::string Trim(std::string_view text);
/// ASCII upper and lower case.
std::string ToUpper(std::string_view text);
std::string ToLower(std::string_view text);

/// The leading number of a text, read as a numeric value is read: blanks, a sign, digits; 0 when none.
int64_t LeadingNumber(std::string_view text);

}  // namespace kv::base
