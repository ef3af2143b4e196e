// The code page table of the POS pages and the conversions between UTF-8 text and code page bytes.
#pragma once

#include <array>
#include <string>
#include <string_view>

#include "base/result.h"

namespace kv::base {

/// One row of the code page list: the number a profile stores, the label the combo shows,
/// and the class number (1 for most rows; 2 for 950, 3 for 936, 4 for 932).
struct CodePageRow {
    int number;
    std::string_view label;
    int group;
};

constexpr size_t kCodePageCount = 147;
/// UTF-16 little-endian, converted without any table.
constexpr int kCodePageUtf16 = 1200;
constexpr int kCodePageUtf8 = 65001;

/// The 147 rows in their fixed display order.
const std::array<CodePageRow, kCodePageCount>& codePageTable();
/// The row of a code page number, or nullptr when the table has none.
const CodePageRow* findCodePage(int number);

/// The code page of the system's own text: UTF-8 on this platform.
int systemCodePage();

/// True when conversions in `cp` work on this machine.
bool isConvertible(int cp);

/// UTF-8 text to its bytes in `cp` (1200: UTF-16LE). Strict: invalid UTF-8, a character that
/// has no form in `cp` or a code page that cannot be converted gives an error.
Result<std::string> WideToCodePage(std::string_view utf8, int cp);

/// Bytes in `cp` to UTF-8 text (1200: the bytes read as UTF-16LE). Strict: a byte sequence
/// that is invalid or incomplete in `cp` gives an error naming its offset.
Result<std::string> CodePageToWide(std::string_view bytes, int cp);

/// Bytes in `cp` to UTF-8 text for display: each byte (for 1200 each 2-byte unit) that does not
/// convert is shown as U+FFFD and the rest still converts. Fails only when `cp` cannot be converted.
Result<std::string> BytesToDisplay(std::string_view bytes, int cp);

}  // namespace kv::base
