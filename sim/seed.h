// The configurations the reference service starts from, and how a write command changes them.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "sim/store.h"

namespace kv::sim {

/// A realistic 64-channel configuration: reply bodies keyed by response id.
SimStore::Documents demoDocuments();
/// A server with nothing configured (no users, no channels), still answering every read.
SimStore::Documents emptyDocuments();
/// The demo with every channel configured and the account lists filled up: the load of a
/// fully used server, for measurements.
SimStore::Documents fullDocuments();

/// Looks up a stored document by key.
using DocumentLookup = std::function<std::optional<std::string>(const std::string& key)>;
/// All documents a write command changes, as (key, new body; an empty body removes the document),
/// built by the update of its row in the command table from the Param body and the current
/// documents. Empty when the command changes no document, the service refuses it, or its body
/// cannot be read.
SimStore::Documents documentsFromWrite(int commandId, std::string_view paramBody, const DocumentLookup& current);

/// The key of the document a read command answers from: its row's key, with ".<n>" for the reads
/// that pick one document by a Param element ("4098.<Type>", "32833.<ID>", "4101.<CH>"); "" for a
/// command that reads no stored document.
std::string readKey(int commandId, std::string_view paramBody);

/// The body of the answer to 4109, the group of a user name, from the stored user list: GroupID -1
/// when no account has that name.
std::string groupReplyBody(const std::string& userListBody, const std::string& userName);

}  // namespace kv::sim
