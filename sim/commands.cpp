// The service's command table, and the two questions the seed answers from it: which document a
// read finds and which documents a write changes.
#include "sim/commands.h"

#include <algorithm>
#include <array>

#include "sim/seed_internal.h"
#include "sim/service.h"
#include "sim/updates.h"

namespace kv::sim {

namespace {

using K = CommandKind;
using S = SimService;
namespace u = update;

// Sub-codes of the "configuration changed" log row: which part of the configuration a write changed.
constexpr int32_t kSystem = 513, kChannel = 514, kIntelligent = 515, kEventHandling = 516, kEMap = 517,
                  kUsers = 518, kRecording = 519;

}  // namespace

// The rows name the service's handlers, which only the table may see.
struct CommandRows {
// id, kind, log sub-code, key, handler, update, elements.
static constexpr auto kTable = std::to_array<CommandRow>({
    {4098, K::kRead, 0, "4098", &S::readStored, nullptr, "Type"},  // e-map nodes: "4098.<Type>"
    {4100, K::kRead, 0, "4100", &S::serverInfo},
    {4101, K::kRead, 0, "4101", &S::presets, nullptr, "CH"},      // a channel's presets: "4101.<CH>"
    {4109, K::kRead, 0, "32801", &S::userGroup},
    {8193, K::kRead, 0, "", &S::detectDevice},
    {8194, K::kRead, 0, "", &S::searchCameras},
    {8199, K::kRead, 0, "4101", &S::presets, nullptr, "CH"},
    {12289, K::kWrite, 0, "12297", &S::write, u::move},           // pan and tilt; positions: "12297.<CH>"
    {12290, K::kWrite, 0, "12297", &S::write, u::move},           // zoom
    {12291, K::kWrite, 0, "12297", &S::write, u::move},           // focus
    {12292, K::kWrite, 0, "12297", &S::write, u::move},           // iris
    {12294, K::kWrite, 0, "12297", &S::write, u::gotoPreset},
    {12297, K::kRead, 0, "12297", &S::ptzPosition, nullptr, "CH"},
    {12298, K::kWrite, kChannel, "4101", &S::write, u::storePreset},
    {12300, K::kWrite, 0, "4101", &S::selectPresetPoint},
    {12302, K::kRead, 0, "24582", &S::fisheyeMode},
    {12303, K::kWrite, 0, "24582", &S::write, u::fisheyeMode},
    {22546, K::kRead, 0, "", &S::previewCamera},
    {24578, K::kRead, 0, "24578", &S::channelStatus},
    {24581, K::kWrite, kChannel, "24582", &S::writeChannel, u::commitChannel},  // settings wait for 40963
    {24582, K::kRead, 0, "24582", &S::channelDetail},
    {28677, K::kNotice, 0, "", &S::acknowledge},                 // exports run through the link's export call
    {32769, K::kWrite, kEventHandling, "32772", &S::write, u::eventList, "MailList"},
    {32770, K::kWrite, kEventHandling, "32773", &S::write, u::eventList, "FTPList"},
    {32771, K::kWrite, kEventHandling, "32774", &S::write, u::eventList, "HTTPList"},
    {32772, K::kRead, 0, "32772", &S::readStored},
    {32773, K::kRead, 0, "32773", &S::readStored},
    {32774, K::kRead, 0, "32774", &S::readStored},
    {32775, K::kWrite, kEventHandling, "32777", &S::write, u::wholeDocument, "ActionList"},
    {32776, K::kWrite, kEventHandling, "32778", &S::write, u::eventList, "ActionGroupList"},
    {32777, K::kRead, 0, "32777", &S::readStored},
    {32778, K::kRead, 0, "32778", &S::readStored},
    {32779, K::kWrite, kEventHandling, "32780", &S::write, u::eventList, "FilePathList"},
    {32780, K::kRead, 0, "32780", &S::readStored},
    {32782, K::kWrite, kRecording, "32808", &S::write, u::recSchedule},
    {32783, K::kRead, 0, "32783", &S::readStored},
    {32784, K::kWrite, kRecording, "32783", &S::write, u::recSettings},
    {32785, K::kRead, 0, "32785", &S::readStored},
    {32786, K::kWrite, kRecording, "32785", &S::writeStorage, u::storage, "FilePathList RetainTime ReservedSpace"},
    {32787, K::kRead, 0, "32787", &S::readStored},
    {32789, K::kWrite, kIntelligent, "32787", &S::write, u::analytics},
    {32791, K::kWrite, kSystem, "4100", &S::write, u::serverInfo},
    {32792, K::kRead, 0, "32792", &S::readStored},
    {32793, K::kWrite, kIntelligent, "32792", &S::write, u::rectangles},
    {32794, K::kRead, 0, "32794", &S::readStored},
    {32795, K::kWrite, kIntelligent, "32794", &S::write, u::mask},
    {32796, K::kRead, 0, "32796", &S::readStored},
    {32797, K::kWrite, kIntelligent, "32796", &S::write, u::lines},
    {32799, K::kRead, 0, "32799", &S::readStored},
    {32800, K::kWrite, kEventHandling, "32799", &S::write, u::eventList, "SOPList"},
    {32801, K::kRead, 0, "32801", &S::readStored},
    {32802, K::kWrite, kUsers, "32801", &S::write, u::wholeDocument, "UserList"},
    {32803, K::kRead, 0, "32803", &S::readStored},
    {32804, K::kWrite, kUsers, "32803", &S::write, u::wholeDocument, "UserGroupList"},
    {32805, K::kRead, 0, "32805", &S::readStored},
    {32806, K::kWrite, kEventHandling, "32805", &S::write, u::eventList, "TCPList"},
    {32807, K::kWrite, kEMap, "4098", &S::write, u::emap},       // groups "4098.1", cameras "4098.0"
    {32808, K::kRead, 0, "32808", &S::readStored},
    {32809, K::kRead, 0, "32809", &S::readStored},
    {32810, K::kWrite, kEventHandling, "32809", &S::write, u::schedule},
    {32811, K::kRead, 0, "32811", &S::readStored},
    {32812, K::kWrite, kIntelligent, "32811", &S::write, u::lines},
    {32813, K::kNotice, 0, "", &S::acknowledge},
    {32814, K::kWrite, kChannel, "4101", &S::write, u::presetList},
    {32815, K::kRead, 0, "", &S::diskSpace},                     // the mapped disks' file systems
    {32816, K::kRead, 0, "", &S::listFolders},
    {32820, K::kRead, 0, "32820", &S::readStored},
    {32821, K::kWrite, kIntelligent, "32820", &S::write, u::mask},
    {32822, K::kNotice, 0, "24582", &S::simulator},
    {32824, K::kRead, 0, "32824", &S::readStored},
    {32825, K::kWrite, 0, "32824", &S::writeAdded, u::addEntry, "POSDeviceList POSDevice"},
    {32826, K::kWrite, 0, "32824", &S::write, u::changeEntry, "POSDeviceList POSDevice"},
    {32827, K::kWrite, 0, "32824", &S::write, u::removeEntry, "POSDeviceList POSDevice"},
    {32828, K::kRead, 0, "32828", &S::readStored},
    {32829, K::kWrite, 0, "32828", &S::writeAdded, u::addEntry, "UserDefinedEventList UserDefinedEvent"},
    {32830, K::kWrite, 0, "32828", &S::write, u::changeEntry, "UserDefinedEventList UserDefinedEvent"},
    {32831, K::kWrite, 0, "32828", &S::write, u::removeEntry, "UserDefinedEventList UserDefinedEvent"},
    {32832, K::kRead, 0, "32832", &S::readStored},
    {32833, K::kRead, 0, "32833", &S::readExisting, nullptr, "ID"},  // one profile: "32833.<ID>"
    {32834, K::kWrite, 0, "32832", &S::writeAdded, u::addProfile, "FilterProfileList FilterProfile"},
    {32835, K::kWrite, 0, "32832", &S::write, u::changeProfile, "FilterProfileList FilterProfile"},
    {32836, K::kWrite, 0, "32832", &S::write, u::removeProfile, "FilterProfileList FilterProfile"},
    {32837, K::kRead, 0, "32837", &S::readStored},
    {32838, K::kWrite, kSystem, "32837", &S::write, u::wholeDocument,
     "Enable Server Period DomainName UserName Password"},
    {36865, K::kNotice, 0, "36867", &S::openQuery},              // system log
    {36866, K::kNotice, 0, "", &S::closeQuery},
    {36867, K::kNotice, 0, "", &S::searchLog},
    {36868, K::kNotice, 0, "", &S::nextPage},
    {36870, K::kNotice, 0, "", &S::previousPage},
    {36871, K::kNotice, 0, "", &S::clearLog},
    {36872, K::kNotice, 0, "", &S::gotoPage},
    {40961, K::kRead, 0, "", &S::serviceStatus},
    {40963, K::kNotice, 0, "", &S::applyChannels},
    {40964, K::kNotice, 0, "", &S::acknowledge},
    {40992, K::kNotice, 0, "40994", &S::startCapture},
    {40993, K::kNotice, 0, "", &S::stopCapture},
    {40994, K::kRead, 0, "40994", &S::readStored},
    {40995, K::kRead, 0, "32837", &S::ddnsStatus},
    {40996, K::kRead, 0, "", &S::ddnsCheck},
    {45057, K::kNotice, 0, "45057", &S::openQuery},              // counting log
    {45058, K::kNotice, 0, "", &S::closeQuery},
    {1183748, K::kRead, 0, "", &S::portCheck},
});
};

namespace {

constexpr const auto& kTable = CommandRows::kTable;

static_assert(std::is_sorted(kTable.begin(), kTable.end(), [](const CommandRow& a, const CommandRow& b) {
    return a.id < b.id;
}), "rows in rising id order, so that a lookup can halve");

// The text of the first element of that name in a Param body, if there is one.
std::optional<std::string> paramText(std::string_view body, const char* name) {
    pugi::xml_document doc;
    if (!seed::parseBody(doc, body)) return std::nullopt;
    const pugi::xml_node n = seed::bodyRoot(doc).child(name);
    if (!n) return std::nullopt;
    return std::to_string(seed::toInt(n.text().get()));
}

}  // namespace

std::span<const CommandRow> commandTable() { return kTable; }

const CommandRow* findCommand(int32_t id) {
    const auto it = std::lower_bound(kTable.begin(), kTable.end(), id,
                                     [](const CommandRow& r, int32_t v) { return r.id < v; });
    return it != kTable.end() && it->id == id ? &*it : nullptr;
}

std::string readKey(int commandId, std::string_view paramBody) {
    const CommandRow* row = findCommand(commandId);
    if (!row || row->kind != CommandKind::kRead || row->key.empty()) return "";
    // A read that selects one document of several names it by a Param element; without it there
    // is nothing to find.
    if (row->elements.empty()) return std::string(row->key);
    const auto selector = paramText(paramBody, std::string(row->elements).c_str());
    return selector ? std::string(row->key) + "." + *selector : "";
}

SimStore::Documents documentsFromWrite(int commandId, std::string_view paramBody, const DocumentLookup& current) {
    const CommandRow* row = findCommand(commandId);
    if (!row || !row->update) return {};
    // The client closes each day of the event schedule with "< /Enable>", which is no XML; a
    // blank after "<" is never valid, so dropping it can only mend a body.
    std::string body(paramBody);
    for (size_t pos; (pos = body.find("< /")) != std::string::npos;) body.erase(pos + 1, 1);
    pugi::xml_document doc;
    if (!seed::parseBody(doc, body)) return {};
    return row->update(*row, seed::bodyRoot(doc), current);
}

}  // namespace kv::sim
