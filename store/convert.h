// Carrying the data of a database of an older schema into the installed schema.
#pragma once

#include <filesystem>
#include <string>

namespace kv::base {
class Log;
}

namespace kv::store {

/// Copies the data of `source` into `target` (a fresh copy of the installed schema), comparing the
/// two schemas by table and field names. Rows of a common table are overwritten in place, row by
/// row, and the rest appended; auto-increment fields and "sDBVer" are never written; the
/// "EventTrigger" rows correspond by "SN". False when the conversion stopped: the target must
/// then not be used. Missing files: nothing done, true.
bool ConvertDB(const std::filesystem::path& source, const std::filesystem::path& target, base::Log* log = nullptr,
               std::string* error = nullptr);

/// Replaces `target` by `source` atomically (write beside, sync, rename).
bool CopyConvertMDBToDesDB(const std::filesystem::path& source, const std::filesystem::path& target,
                           std::string* error = nullptr);

}  // namespace kv::store
