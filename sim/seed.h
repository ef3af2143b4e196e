// The configurations the reference service starts from, and how a write command changes them.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "sim/store.h"

namespace kv::sim {

/// A realistic 64-channel configuration: reply bodies keyed by response id.
SimStore::Documents demoDocuments();
/// A server with nothing configured (no users, no channels), still answering every read.
SimStore::Documents emptyDocuments();

/// The document a write command replaces: (key, new body) built from the command's Param body,
/// or nullopt when the write changes no stored document.
std::optional<std::pair<std::string, std::string>> documentFromWrite(int commandId, std::string_view paramBody);

}  // namespace kv::sim
