// Routing of asynchronous responses to their parsers, the data-arrived flags and the page-ready
// entries derived from them, and the handling of the service's notifications.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>

namespace pugi {
class xml_document;
}

namespace kv::app {

inline constexpr size_t kDataReadyCount = 22;
inline constexpr size_t kPageReadyCount = 13;
using DataReady = std::array<bool, kDataReadyCount>;
using PageReady = std::array<int32_t, kPageReadyCount>;

/// Work that a response row runs after its parser, besides (or instead of) a flag.
enum class FollowUp {
    None,
    SearchDone,         // 8194: the camera search finished
    EnActionCondition,  // 32778: the shell refreshes the action conditions
    ServiceInfo,        // 32790: the local server table is rewritten
    ShowRecInfo,        // 32808: the shell shows the recording information
    ShowStorage,        // 32815: the shell shows the storage page and presses its first button
    ProfileListArrived, // 32832: mark consumed by the shell's timer
    StatusArrived,      // 40961: mark consumed by the shell's timer
};

struct ResponseRow {
    int32_t id = 0;
    const char* parser = "";  // the established name of the parser of this row
    int flag = -1;            // index into the data-ready flags, -1 for none
    FollowUp followUp = FollowUp::None;
};

/// The complete response table; every other id is dropped.
const std::map<int32_t, ResponseRow>& ResponseTable();

/// iPageReady from the data-ready flags: OR joins, entries 7, 8, 10, 11, 12 forced to 0,
/// entry 9 kept from `previous`.
PageReady DerivePageReady(const DataReady& flags, const PageReady& previous);

class Dispatcher {
public:
    /// Reads a reply the dispatcher has parsed once for its id and its reader.
    using Parser = std::function<void(const pugi::xml_document& reply)>;
    using FollowUpHandler = std::function<void()>;

    /// Registers the parser of a response id of the table (ids outside the table are refused).
    bool registerParser(int32_t responseId, Parser parser);
    void setFollowUp(FollowUp which, FollowUpHandler handler);
    /// Told at once when the service announces a restart (value True).
    void setRebootHandler(std::function<void(bool)> handler) { onReboot_ = std::move(handler); }

    /// Routes one asynchronous response; returns the id it was routed by (0 when dropped).
    int32_t ControlCOM_OnResponse(const std::string& xml);
    /// Reads a NOTIFY text; a `Reboot` of 1 sets bRebooting.
    void ServerNotify(const std::string& xml);

    /// Clears the data-ready flags (start of a login).
    void resetDataReady() { bDataReady.fill(false); }

    DataReady bDataReady{};
    bool bAppEnding = false;
    bool bRebooting = false;
    bool bSearchDone = false;
    int32_t iProfileListArrived = 0;
    bool bStatusArrived = false;

private:
    std::map<int32_t, Parser> parsers_;
    std::map<FollowUp, FollowUpHandler> followUps_;
    std::function<void(bool)> onReboot_;
};

}  // namespace kv::app
