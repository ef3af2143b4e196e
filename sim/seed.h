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

/// The document a write command replaces: (key, new body) built from the command's Param body,
/// or nullopt when the write changes no stored document.
/// Also nullopt for writes that change part of a document or two documents: use documentsFromWrite.
std::optional<std::pair<std::string, std::string>> documentFromWrite(int commandId, std::string_view paramBody);

/// Looks up a stored document by key.
using DocumentLookup = std::function<std::optional<std::string>(const std::string& key)>;
/// All documents a write command changes, as (key, new body), built from the Param body and, for a
/// write that changes one channel's entries or some fields, the current documents. Empty when the
/// command changes no document or its body cannot be read.
SimStore::Documents documentsFromWrite(int commandId, std::string_view paramBody, const DocumentLookup& current);
/// True for the write commands that `documentsFromWrite` maps onto documents.
bool isDocumentWrite(int commandId);

/// The key of the document that answers a read command: "4098.<Type>" and "32833.<ID>" from the
/// Param body, otherwise the decimal id; "" for a command that reads no stored document.
std::string readKey(int commandId, std::string_view paramBody);

/// The body of the answer to 4109, the group of a user name, from the stored user list: GroupID -1
/// when no account has that name.
std::string groupReplyBody(const std::string& userListBody, const std::string& userName);

}  // namespace kv::sim
