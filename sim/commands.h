// The service's command table: one row per command id with its kind, its system-log sub-code, its
// stored document and its handler. Adding a subject's commands means adding rows.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include <pugixml.hpp>

#include "link/server_handler.h"
#include "sim/envelope.h"
#include "sim/seed.h"
#include "sim/store.h"

namespace kv::sim {

class SimService;
struct CommandRow;

enum class CommandKind {
    kRead,    // answers from the stored configuration or the service's state, changes nothing
    kWrite,   // changes the configuration or drives a device
    kNotice,  // a notice of the client, or a session command (queries, captures)
};

/// The call a handler answers: who sent it, the command, and the command's row.
struct Call {
    const link::PeerInfo& peer;
    const Command& cmd;
    const CommandRow& row;
};

/// The answer text of a command.
using Handler = std::string (SimService::*)(const Call& call);

/// The documents a write changes, from the Param element and the current documents; empty when the
/// service refuses the write. Pure: the tests apply it to documents without a service.
using Update = SimStore::Documents (*)(const CommandRow& row, pugi::xml_node param, const DocumentLookup& current);

struct CommandRow {
    int32_t id = 0;
    CommandKind kind = CommandKind::kNotice;
    int32_t logSubCode = 0;      // sub-code of the "configuration changed" row (512) a write logs; 0: none
    std::string_view key;        // the stored document a read answers from or a write changes; "" for none
    Handler handler = nullptr;
    Update update = nullptr;     // writes that change documents
    std::string_view elements;   // names the handler or update works with (whole documents, list and entry, selector)
};

/// Every command id the service answers, in rising order.
std::span<const CommandRow> commandTable();
/// The row of a command id; nullptr for an id the service does not know.
const CommandRow* findCommand(int32_t id);

}  // namespace kv::sim
