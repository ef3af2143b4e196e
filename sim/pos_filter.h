// Cutting a captured POS byte stream into receipts with a filter profile, as the service does.
#pragma once

#include <string>
#include <string_view>

namespace kv::sim {

/// Runs the profile (a TagFilter document, bare or inside a CMD) over the raw bytes and answers
/// `<FilteredData>` with one `<Receipt>` per receipt, each base64 of the receipt's bytes after
/// the substitutions. A receipt runs from the start tag (or the end of the previous receipt when
/// there is none) to the end tag, CR LF in line mode; an unfinished last receipt is left out.
std::string filterReceipts(std::string_view raw, std::string_view profileXml);

}  // namespace kv::sim
