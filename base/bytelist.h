// The hexadecimal byte lists of the POS filter profiles and the display forms of their bytes.
#pragma once

#include <string>
#include <string_view>

#include "base/result.h"

namespace kv::base {

/// Bytes as "0D,0A": two upper-case hex digits each, joined by ",", empty for no bytes.
std::string ToByteList(std::string_view bytes);

/// A byte list of any case ("44,45,4d,4f") back to bytes. Tokens are 1 or 2 hex digits with
/// blanks allowed around them; empty text gives no bytes; anything else is an error.
Result<std::string> ParseByteList(std::string_view text);

/// True when an entered value is in the escape form: after trimming it contains "," or is
/// exactly four characters beginning "0x".
bool isEscapeEntry(std::string_view text);

/// The bytes of an entered value in code page `cp`. In the escape form each trimmed token
/// "0xHH" is one byte and any other token is its text in `cp`; otherwise the whole text is
/// converted as it is.
Result<std::string> EntryToBytes(std::string_view text, int cp);

/// The two byte lists kept for a value: `list` in the profile's code page, `raw` in the system
/// code page.
struct ByteListPair {
    std::string list;
    std::string raw;
    bool operator==(const ByteListPair&) const = default;
};

/// The byte lists of an entered value; in the escape form both lists hold the same bytes.
Result<ByteListPair> TextToByteLists(std::string_view text, int cp);

/// The text shown for a stored value: the raw list's bytes as system text when that list is
/// not empty, otherwise each byte of the code page list as "0x0D", joined by ",".
Result<std::string> ByteListToDisplay(std::string_view codePageList, std::string_view rawList);

/// The raw viewer's form of bytes: 0 skipped, 33..126 as the character, any other byte as
/// "0xHH" set off from its neighbours by ",", and no trailing ",".
std::string RawViewerText(std::string_view bytes);

}  // namespace kv::base
