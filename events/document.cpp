// The event sections of kelvarra-ctl's documents. A changed section goes through the event page on
// a copy of the tables, as a person would change it: the sub-tab chosen, a row clicked, the boxes
// typed, Save, Add or Remove pressed; a group added or selected, named, its checks and destination
// combos set, saved or removed. The page's own sends go to a link that holds them; what reaches the
// service is decided afterwards, in an order that never leaves a group naming a missing destination.
#include "events/document.h"

#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <set>
#include <type_traits>
#include <variant>

#include "base/text.h"
#include "events/codec.h"
#include "events/group_tab.h"
#include "events/save.h"
#include "events/server_tab.h"

namespace kv::events {

namespace {

// The page's saves while a document is staged: every write is answered as taken, none leaves.
class HeldLink final : public link::ServiceLink {
public:
    void setEvents(link::LinkEvents*) override {}
    int32_t Login(const std::string&, int32_t, const std::string&, const std::string&, const std::string&) override {
        return -1;
    }
    std::string SendCommand(int32_t, bool, const std::string&) override { return "<RESPONSE RET=\"0\"></RESPONSE>"; }
    void Logout(int32_t) override {}
    int32_t GetExportProgress() override { return 0; }
    int32_t StartBackupToAVI(int32_t, const std::string&) override { return -1; }
    int32_t GetBackupProgress(int32_t) override { return 0; }
    int32_t StartBackupDatabase(int32_t, const std::string&) override { return -1; }
    bool StopExport(int32_t) override { return false; }
    void SetVendorName(const std::string&) override {}
    int32_t GetMapPicture(const std::string&, int32_t, const std::string&, int32_t) override { return -1; }
    void UploadMapPicture(const std::string&, int32_t, int32_t) override {}
    std::string FilterTest(const std::string&, const std::string&) override { return ""; }
    void SearchServers(int32_t, int32_t) override {}
    void setSendTimeout(int32_t) override {}
};

// The groups' list where a send stands for a kind.
constexpr int kGroups = kKindCount;

}  // namespace

// One write of the run: the list of `kind` (or the groups) as the service holds it before and after.
struct EventSend {
    int kind = 0;
    EventTables before;
    EventTables after;
};

// One run: the staged tables, the two tabs over them, and what the run decided to send.
struct EventRun {
    EventRun(const EventTables& loaded, app::Stage& stage)
        : scratch(loaded),
          servers(scratch, held, stage.prompter, stage.lang, stage.title),
          groups(scratch, held, stage.prompter, stage.lang, stage.title) {
        servers.onListsChanged = [this] { groups.EnActionCondition(); };
    }
    HeldLink held;
    EventTables scratch;
    ServerSettingTab servers;
    ActionGroupTab groups;
    EventTables beforeGroups;  // the lists as they stood when the groups were staged
    std::array<std::map<int16_t, int16_t>, kKindCount> givenIds;  // a new record's ID in the document: the page's
    std::map<int16_t, std::string> ftpNames;  // FTP id: the FileName the document gave, where the page stored another
    std::vector<std::pair<int, int16_t>> lateRemovals;  // destinations removed after the groups were staged
    std::vector<EventSend> sends;
};

namespace {

using app::DocumentError;
using app::Json;
using app::PendingSave;
using app::Stage;

// ---- the destination kinds as data ----

enum class Shape { kText, kSecret, kNumber, kCheck };

template <class R>
using Member = std::variant<int16_t R::*, int32_t R::*, std::string R::*>;

template <class R>
struct Field {
    const char* name;
    Shape shape;
    int control;  // the text box, or for kCheck the check box, of the kind's frame
    Member<R> member;
};

template <class R>
struct DestKind {
    int kind;
    const char* section;
    const char* what;  // "mail server"
    std::vector<R> EventTables::*list;
    std::string R::*label;  // names an entry in the plan
    std::vector<Field<R>> fields;  // after ID, in wire order
};

using M = MailServerRecord;
using F = FTPServerRecord;
using H = HTTPServerRecord;
using T = TCPServerRecord;
using W = SoundFileRecord;
using S = SOPContactRecord;

const DestKind<M> kMailKind{kMail, "strMailServer", "mail server", &EventTables::strMailServer, &M::Server,
                            {{"SenderName", Shape::kText, 1, &M::SenderName},
                             {"SenderMail", Shape::kText, 2, &M::SenderMail},
                             {"Server", Shape::kText, 3, &M::Server},
                             {"Port", Shape::kNumber, 4, &M::Port},
                             {"UserName", Shape::kText, 5, &M::UserName},
                             {"Password", Shape::kSecret, 6, &M::Password},
                             {"ReceiverName", Shape::kText, 7, &M::ReceiverName},
                             {"ReceiverMail", Shape::kText, 8, &M::ReceiverMail},
                             {"Subject", Shape::kText, 9, &M::Subject},
                             {"Content", Shape::kText, 10, &M::Content},
                             {"AttachPic", Shape::kCheck, 0, &M::AttachPic},
                             {"AttachAvi", Shape::kCheck, 1, &M::AttachAvi}}};
const DestKind<F> kFtpKind{kFTP, "strFTPServer", "FTP server", &EventTables::strFTPServer, &F::Server,
                           {{"Server", Shape::kText, 1, &F::Server},
                            {"Port", Shape::kNumber, 2, &F::Port},
                            {"UserName", Shape::kText, 3, &F::UserName},
                            {"Password", Shape::kSecret, 4, &F::Password},
                            {"UploadPath", Shape::kText, 5, &F::UploadPath},
                            {"Passive", Shape::kCheck, 0, &F::Passive},
                            {"FileName", Shape::kText, 6, &F::FileName},
                            {"Content", Shape::kText, 7, &F::Content},
                            {"AttachPic", Shape::kCheck, 1, &F::AttachPic}}};
const DestKind<H> kHttpKind{kHTTP, "strHTTPServer", "HTTP server", &EventTables::strHTTPServer, &H::Server,
                            {{"Server", Shape::kText, 1, &H::Server},
                             {"Port", Shape::kNumber, 2, &H::Port},
                             {"UserName", Shape::kText, 3, &H::UserName},
                             {"Password", Shape::kSecret, 4, &H::Password},
                             {"Content", Shape::kText, 5, &H::Content}}};
const DestKind<T> kTcpKind{kTCP, "strTCPServer", "TCP server", &EventTables::strTCPServer, &T::Server,
                           {{"Server", Shape::kText, 1, &T::Server}, {"Port", Shape::kNumber, 2, &T::Port}}};
const DestKind<W> kSoundKind{kWarning, "strSoundFile", "warning sound", &EventTables::strSoundFile, &W::Description,
                             {{"Description", Shape::kText, 1, &W::Description},
                              {"FilePath", Shape::kText, 2, &W::FilePath}}};
const DestKind<S> kSopKind{kSOP, "strSOPContact", "SOP contact", &EventTables::strSOPContact, &S::Contact,
                           {{"Contact", Shape::kText, 1, &S::Contact},
                            {"Phone", Shape::kText, 2, &S::Phone},
                            {"Note", Shape::kText, 3, &S::Note}}};

// Calls `f` with each kind's dk, in kind order.
template <class Fn>
void forEachKind(Fn&& f) {
    f(kMailKind);
    f(kFtpKind);
    f(kHttpKind);
    f(kTcpKind);
    f(kSoundKind);
    f(kSopKind);
}

// Calls `f` with the dk of `kind`.
template <class Fn>
void withKind(int kind, Fn&& f) {
    forEachKind([&](const auto& dk) {
        if (dk.kind == kind) f(dk);
    });
}

const char* sectionOf(int kind) {
    const char* out = "strEventGroup";
    withKind(kind, [&](const auto& dk) { out = dk.section; });
    return out;
}

template <class R>
bool shown(const R& r) {
    return r.ID > 0 && !r.Removed;
}

template <class R>
const R* findId(const std::vector<R>& list, int16_t id) {
    for (const R& r : list)
        if (shown(r) && r.ID == id) return &r;
    return nullptr;
}

template <class R>
std::vector<int16_t> idsOf(const std::vector<R>& list) {
    std::vector<int16_t> out;
    for (const R& r : list)
        if (shown(r)) out.push_back(r.ID);
    return out;
}

template <class R>
Json fieldJson(const Field<R>& f, const R& r, const app::DumpForm& form) {
    return std::visit(
        [&](auto p) -> Json {
            const auto& v = r.*p;
            if constexpr (std::is_same_v<std::remove_cvref_t<decltype(v)>, std::string>)
                return f.shape == Shape::kSecret ? app::ShownSecret(v, form) : v;
            else if (f.shape == Shape::kCheck) return v != 0;
            else return static_cast<int64_t>(v);
        },
        f.member);
}

template <class R>
std::string fieldText(const Field<R>& f, const R& r) {
    return std::visit(
        [&](auto p) -> std::string {
            const auto& v = r.*p;
            if constexpr (std::is_same_v<std::remove_cvref_t<decltype(v)>, std::string>) return v;
            else return std::to_string(v);
        },
        f.member);
}

template <class R>
Json recordJson(const DestKind<R>& k, const R& r, const app::DumpForm& form) {
    Json o{{"ID", r.ID}};
    for (const Field<R>& f : k.fields) o[f.name] = fieldJson(f, r, form);
    return o;
}

template <class R>
Json listJson(const DestKind<R>& k, const std::vector<R>& list, const app::DumpForm& form) {
    Json out = Json::array();
    for (const R& r : list)
        if (shown(r)) out.push_back(recordJson(k, r, form));
    return out;
}

// ---- the groups as data ----

// A destination box of the group form: its flag and destination, their names, the kind they name.
struct GroupDest {
    int box;
    const char* flagName;
    const char* destName;
    int kind;
    bool EventGroupRecord::*flag;
    int16_t EventGroupRecord::*dest;
};
using G = EventGroupRecord;
using Tab = ActionGroupTab;
constexpr std::array<GroupDest, 6> kGroupDests = {{
    {Tab::kBoxFTP, "FTP", "FtpDest", kFTP, &G::FTP, &G::FtpDest},
    {Tab::kBoxMail, "Mail", "MailDest", kMail, &G::Mail, &G::MailDest},
    {Tab::kBoxHTTP, "HTTP", "HTTPDest", kHTTP, &G::HTTP, &G::HTTPDest},
    {Tab::kBoxTCP, "TCP", "TcpDest", kTCP, &G::TCP, &G::TcpDest},
    {Tab::kBoxSound, "Sound", "SoundDest", kWarning, &G::Sound, &G::SoundDest},
    {Tab::kBoxSOP, "SOP", "SOPDest", kSOP, &G::SOP, &G::SOPDest},
}};

const char* whatOf(int kind) {
    const char* out = "";
    withKind(kind, [&](const auto& dk) { out = dk.what; });
    return out;
}

Json groupJson(const EventGroupRecord& g) {
    Json o{{"ID", g.ID}, {"Name", g.Name}, {"Record", g.Record}};
    for (const GroupDest& d : kGroupDests) {
        o[d.flagName] = g.*d.flag;
        o[d.destName] = g.*d.dest;
    }
    o["OSD"] = g.OSD;
    return o;
}

Json groupsJson(const EventGroupList& list) {
    Json out = Json::array();
    for (const EventGroupRecord& g : list)
        if (shown(g)) out.push_back(groupJson(g));
    return out;
}

// ---- document values ----

std::string inQuotes(const std::string& s) { return "\"" + s + "\""; }

int16_t idOf(const Json& v, const std::string& where) {
    if (!v.is_number_integer() || v.get<int64_t>() < 1 || v.get<int64_t>() > INT16_MAX)
        throw DocumentError(where + ".ID: expected a whole number from 1 to " + std::to_string(INT16_MAX));
    return static_cast<int16_t>(v.get<int64_t>());
}

bool flagOf(const Json& v, const std::string& where) {
    if (!v.is_boolean()) throw DocumentError(where + ": expected true or false");
    return v.get<bool>();
}

std::string textOf(const Json& v, const std::string& where) {
    if (!v.is_string()) throw DocumentError(where + ": expected a text");
    return v.get<std::string>();
}

// The records of a section; IDs at most once.
template <class Read>
auto records(const Json& value, const std::string& section, Read read) {
    if (!value.is_array()) throw DocumentError(section + ": expected a list of records");
    std::vector<decltype(read(value, section))> out;
    std::set<int16_t> ids;
    for (size_t i = 0; i < value.size(); ++i) {
        const std::string where = section + "[" + std::to_string(i) + "]";
        if (!value[i].is_object()) throw DocumentError(where + ": expected a record");
        auto d = read(value[i], where);
        if (d.id && !ids.insert(*d.id).second)
            throw DocumentError(where + ": ID " + std::to_string(*d.id) + " appears twice");
        out.push_back(std::move(d));
    }
    return out;
}

// A destination as a document gives it: per field the box's text ("1" or "0" for a check box).
struct DestDoc {
    std::string where;
    std::optional<int16_t> id;
    std::vector<std::optional<std::string>> values;
};

template <class R>
std::vector<DestDoc> readDestinations(const DestKind<R>& k, const Json& value, const std::vector<R>& loaded) {
    return records(value, k.section, [&](const Json& o, const std::string& where) {
        DestDoc d{where, std::nullopt, std::vector<std::optional<std::string>>(k.fields.size())};
        if (o.contains("ID") && !o.at("ID").is_null()) d.id = idOf(o.at("ID"), where);
        const R* known = d.id ? findId(loaded, *d.id) : nullptr;
        for (const auto& [key, v] : o.items()) {
            if (key == "ID") continue;
            const auto f =
                std::find_if(k.fields.begin(), k.fields.end(), [&](const Field<R>& x) { return key == x.name; });
            if (f == k.fields.end()) throw DocumentError(where + ": " + key + " is no field of a " + k.what);
            const std::string at = where + "." + key;
            std::string text;
            switch (f->shape) {
                case Shape::kText: text = textOf(v, at); break;
                case Shape::kSecret:
                    text = app::SecretOf(v, known ? fieldText(*f, *known) : "", known != nullptr, at);
                    break;
                case Shape::kNumber:
                    if (!v.is_number_integer()) throw DocumentError(at + ": expected a whole number");
                    text = v.dump();  // what is typed; the box decides whether it takes it
                    break;
                case Shape::kCheck: text = flagOf(v, at) ? "1" : "0"; break;
            }
            d.values[static_cast<size_t>(f - k.fields.begin())] = std::move(text);
        }
        return d;
    });
}

// A section with every masked secret replaced by the value the service holds, for the comparison.
template <class R>
Json unmasked(const DestKind<R>& k, const Json& value, const std::vector<R>& loaded) {
    Json out = value;
    if (!out.is_array()) return out;
    for (size_t i = 0; i < out.size(); ++i) {
        Json& o = out[i];
        if (!o.is_object()) continue;
        const R* known = o.contains("ID") && o.at("ID").is_number_integer() && o.at("ID").get<int64_t>() > 0 &&
                                 o.at("ID").get<int64_t>() <= INT16_MAX
                             ? findId(loaded, static_cast<int16_t>(o.at("ID").get<int64_t>()))
                             : nullptr;
        for (const Field<R>& f : k.fields)
            if (f.shape == Shape::kSecret && o.contains(f.name) && o.at(f.name).is_string())
                o[f.name] = app::SecretOf(o.at(f.name), known ? fieldText(f, *known) : "", known != nullptr,
                                          std::string(k.section) + "[" + std::to_string(i) + "]." + f.name);
    }
    return out;
}

// A group as a document gives it.
struct GroupDoc {
    std::string where;
    std::optional<int16_t> id;
    std::optional<std::string> name;
    std::optional<bool> record, osd;
    std::array<std::optional<bool>, kGroupDests.size()> on;
    std::array<std::optional<int16_t>, kGroupDests.size()> dest;
};

std::vector<GroupDoc> readGroups(const Json& value) {
    return records(value, "strEventGroup", [](const Json& o, const std::string& where) {
        GroupDoc d;
        d.where = where;
        for (const auto& [key, v] : o.items()) {
            const std::string at = where + "." + key;
            if (key == "ID") {
                if (!v.is_null()) d.id = idOf(v, where);
            } else if (key == "Name") {
                d.name = textOf(v, at);
            } else if (key == "Record") {
                d.record = flagOf(v, at);
            } else if (key == "OSD") {
                d.osd = flagOf(v, at);
            } else {
                bool known = false;
                for (size_t i = 0; i < kGroupDests.size() && !known; ++i) {
                    if (key == kGroupDests[i].flagName) {
                        d.on[i] = flagOf(v, at);
                        known = true;
                    } else if (key == kGroupDests[i].destName) {
                        if (!v.is_number_integer() || v.get<int64_t>() < INT16_MIN || v.get<int64_t>() > INT16_MAX)
                            throw DocumentError(at + ": expected the ID of a destination");
                        d.dest[i] = static_cast<int16_t>(v.get<int64_t>());
                        known = true;
                    }
                }
                if (!known) throw DocumentError(where + ": " + key + " is no field of an action group");
            }
        }
        return d;
    });
}

// What a group is to become: the loaded group (or a new one as the page opens it) under the
// document's values. A destination whose flag is off is not kept by the page, so it is not compared.
struct GroupTarget {
    EventGroupRecord g;
    std::array<bool, kGroupDests.size()> destGiven{};
};

bool sameTarget(const EventGroupRecord& a, const EventGroupRecord& b) {
    if (a.Name != b.Name || a.Record != b.Record) return false;
    for (const GroupDest& d : kGroupDests)
        if (a.*d.flag != b.*d.flag || (a.*d.flag && a.*d.dest != b.*d.dest)) return false;
    return true;
}

// ---- staging the destinations ----

// The grid row (from 1) of entry `id` on the shown sub-tab; 0 when none.
int serverRow(const ServerSettingTab& tab, int16_t id) {
    for (size_t r = 1; r < tab.gridEventActionServer.size(); ++r)
        if (!tab.gridEventActionServer[r].empty() && tab.gridEventActionServer[r][0] == std::to_string(id))
            return static_cast<int>(r);
    return 0;
}

template <class R>
std::string leftOut(const DestKind<R>& k, const std::vector<R>& loaded, int16_t id) {
    const R* r = findId(loaded, id);
    return std::string(k.section) + " (ID " + std::to_string(id) + (r ? " " + inQuotes(r->*k.label) : "") +
           ", left out of the document)";
}

// Types the document's values into the open frame; false after a refusal.
template <class R>
bool typeFields(const DestKind<R>& k, const DestDoc& d, ServerSettingTab& tab, Stage& stage) {
    for (size_t i = 0; i < k.fields.size(); ++i) {
        if (!d.values[i]) continue;
        const Field<R>& f = k.fields[i];
        const std::string& v = *d.values[i];
        if (f.shape == Shape::kCheck) {
            const bool on = v == "1";
            if (tab.checks(k.kind)[static_cast<size_t>(f.control)] != on) tab.chk_Click(k.kind, f.control, on);
            continue;
        }
        if (tab.boxes(k.kind)[static_cast<size_t>(f.control)].text == v) continue;
        if (!tab.txtEvent_Change(k.kind, f.control, v)) {
            stage.refuse(d.where, std::string(f.name) + " " + v + ": the box takes digits only, up to " +
                                      std::to_string(INT32_MAX));
            return false;
        }
    }
    return true;
}

bool pressSave(const std::string& where, ServerSettingTab& tab, Stage& stage) {
    stage.prompter.boxes.clear();
    if (tab.cmdEvent_Click(kServerSave)) return true;
    stage.refuse(where, stage.prompter.last("the entry cannot be saved"));
    return false;
}

bool pressRemove(const std::string& where, int16_t id, ServerSettingTab& tab, Stage& stage) {
    const int row = serverRow(tab, id);
    stage.prompter.boxes.clear();
    if (row && tab.gridEventActionServer_MouseUp(row) && tab.cmdEvent_Click(kServerRemove)) return true;
    stage.refuse(where, stage.prompter.last("the entry cannot be removed"));
    return false;
}

// Edits, removals and additions of one kind. A removal of an entry that a group names waits for
// the groups (`named`): the document may change the group first.
template <class R>
void stageKind(const DestKind<R>& k, const Json& value, const std::set<int16_t>& named, const EventTables& loaded,
               EventRun& run, Stage& stage) {
    const std::vector<R>& before = loaded.*k.list;
    const std::vector<DestDoc> docs = readDestinations(k, value, before);
    ServerSettingTab& tab = run.servers;
    if (!tab.tabEventServerSetting_Click(k.kind)) return stage.refuse(k.section, "the sub-tab cannot be opened");

    std::vector<bool> isNew;
    for (const DestDoc& d : docs) isNew.push_back(!d.id || !findId(before, *d.id));
    const auto noteFileName = [&](const DestDoc& d, int16_t id) {
        if (k.kind != kFTP) return;
        const auto f = std::find_if(k.fields.begin(), k.fields.end(), [](const Field<R>& x) {
            return std::string_view(x.name) == "FileName";
        });
        const std::optional<std::string>& given = d.values[static_cast<size_t>(f - k.fields.begin())];
        const R* staged = findId(run.scratch.*k.list, id);
        if (given && staged && fieldText(*f, *staged) != *given) run.ftpNames[id] = *given;
    };

    for (size_t i = 0; i < docs.size(); ++i) {
        if (isNew[i]) continue;
        const DestDoc& d = docs[i];
        if (!tab.gridEventActionServer_MouseUp(serverRow(tab, *d.id)))
            return stage.refuse(d.where, "the entry cannot be opened");
        if (!typeFields(k, d, tab, stage)) return;
        if (tab.dirty() && !pressSave(d.where, tab, stage)) return;
        noteFileName(d, *d.id);
    }
    for (int16_t id : idsOf(before)) {
        const bool kept = std::any_of(docs.begin(), docs.end(), [&](const DestDoc& d) { return d.id == id; });
        if (kept) continue;
        if (named.count(id)) {
            run.lateRemovals.emplace_back(k.kind, id);
            continue;
        }
        if (!pressRemove(leftOut(k, before, id), id, tab, stage)) return;
    }
    for (size_t i = 0; i < docs.size(); ++i) {
        if (!isNew[i]) continue;
        const DestDoc& d = docs[i];
        if (!tab.cmdEvent[kServerAdd])
            return stage.refuse(d.where, std::to_string(kMaxEntries) + " entries a list at most; the page offers " +
                                             "no Add beyond");
        tab.cmdEvent_Click(kServerAdd);
        const auto id = static_cast<int16_t>(std::stoi(tab.boxes(k.kind)[0].text));
        if (!typeFields(k, d, tab, stage) || !pressSave(d.where, tab, stage)) return;
        if (d.id) {
            run.givenIds[static_cast<size_t>(k.kind)][*d.id] = id;
            if (*d.id != id)
                stage.note(d.where, "ID " + std::to_string(*d.id) + " is new; the page gives it ID " +
                                        std::to_string(id) + ", and the groups' references to " +
                                        std::to_string(*d.id) + " follow it");
        }
        noteFileName(d, id);
    }
}

void removeLate(EventRun& run, const EventTables& loaded, Stage& stage) {
    ServerSettingTab& tab = run.servers;
    for (const auto& [kind, id] : run.lateRemovals) {
        if (stage.refused()) return;
        if (!tab.tabEventServerSetting_Click(kind))
            return stage.refuse(sectionOf(kind), "the sub-tab cannot be opened");
        withKind(kind, [&](const auto& dk) { pressRemove(leftOut(dk, loaded.*dk.list, id), id, tab, stage); });
    }
}

// ---- staging the groups ----

int groupRow(const ActionGroupTab& tab, int16_t id) {
    for (size_t r = 1; r < tab.gridEventGroup.size(); ++r)
        if (!tab.gridEventGroup[r].empty() && tab.gridEventGroup[r][Tab::kColID] == std::to_string(id))
            return static_cast<int>(r);
    return 0;
}

std::string offeredItems(const app::ComboBox& c) {
    std::string out;
    for (const std::string& item : c.items) out += (out.empty() ? "" : ", ") + base::Trim(item);
    return out.empty() ? "none" : out;
}

int16_t followGiven(const EventRun& run, int kind, int16_t id) {
    const auto& given = run.givenIds[static_cast<size_t>(kind)];
    const auto it = given.find(id);
    return it == given.end() ? id : it->second;
}

GroupTarget targetOf(const GroupDoc& d, const EventGroupRecord& base, const EventRun& run) {
    GroupTarget t{base, {}};
    if (d.name) t.g.Name = *d.name;
    if (d.record) t.g.Record = *d.record;
    for (size_t i = 0; i < kGroupDests.size(); ++i) {
        const GroupDest& gd = kGroupDests[i];
        if (d.on[i]) t.g.*gd.flag = *d.on[i];
        if (d.dest[i]) t.g.*gd.dest = followGiven(run, gd.kind, *d.dest[i]);
        t.destGiven[i] = d.dest[i].has_value();
    }
    return t;
}

// Sets the open form to the target through its controls; false after a refusal.
bool fillGroup(const GroupDoc& d, const GroupTarget& t, ActionGroupTab& tab, Stage& stage) {
    if (t.g.Name != tab.txtEventGoupName.text) tab.txtEventGoupName_Change(t.g.Name);
    if (t.g.Record != tab.chkEventGroup[Tab::kBoxRecord]) tab.chkEventGroup_Click(Tab::kBoxRecord, t.g.Record);
    for (size_t i = 0; i < kGroupDests.size(); ++i) {
        const GroupDest& gd = kGroupDests[i];
        const auto box = static_cast<size_t>(gd.box);
        const bool on = t.g.*gd.flag;
        if (!on) {
            if (tab.chkEventGroup[box]) tab.chkEventGroup_Click(gd.box, false);
            continue;
        }
        const int16_t want = t.g.*gd.dest;
        const app::ComboBox& combo = tab.cmbEventGroup[box];
        if (!tab.chkEventGroupEnabled[box]) {
            stage.refuse(d.where, std::string(gd.flagName) + ": there is no " + whatOf(gd.kind) + " to choose");
            return false;
        }
        // A destination the document leaves as it is stays chosen when the combo offers it.
        int item = -1;
        for (size_t j = 0; j < combo.items.size(); ++j)
            if (tab.GetDestID(gd.box, combo.items[j]) == want) item = static_cast<int>(j);
        if (item < 0 && t.destGiven[i]) {
            stage.refuse(d.where, std::string(gd.destName) + " " + std::to_string(want) + ": there is no " +
                                      whatOf(gd.kind) + " " + std::to_string(want) +
                                      " (offered: " + offeredItems(combo) + ")");
            return false;
        }
        if (item >= 0 && item != combo.index) tab.cmbEventGroup_Click(gd.box, item);
        if (!tab.chkEventGroup[box]) tab.chkEventGroup_Click(gd.box, true);
    }
    return true;
}

// A new group is saved even when its form was left as it opened.
bool pressGroupSave(const std::string& where, ActionGroupTab& tab, Stage& stage, bool always = false) {
    stage.prompter.boxes.clear();
    if ((!always && !tab.dirty()) || tab.imgEventGroupbtn_Click(Tab::kSave)) return true;
    stage.refuse(where, stage.prompter.last("the group cannot be saved"));
    return false;
}

// What the page made of a group the document changed, against what it asked for.
bool checkGroup(const GroupDoc& d, const GroupTarget& t, const EventGroupRecord& made, Stage& stage) {
    for (size_t i = 0; i < kGroupDests.size(); ++i) {
        const GroupDest& gd = kGroupDests[i];
        if (!(t.g.*gd.flag) || made.*gd.dest == t.g.*gd.dest) continue;
        stage.refuse(d.where, std::string(gd.destName) + " " + std::to_string(t.g.*gd.dest) + ": there is no " +
                                  whatOf(gd.kind) + " " + std::to_string(t.g.*gd.dest) +
                                  "; the page would save the group naming " + std::to_string(made.*gd.dest));
        return false;
    }
    if (made.Name != t.g.Name || made.Record != t.g.Record) {
        stage.refuse(d.where, "the page saved the group otherwise");
        return false;
    }
    return true;
}

// The page keeps no destination for a flag that is off: a document that gives one is told so.
void warnOffDest(const GroupDoc& d, const GroupTarget& t, const EventGroupRecord& base, Stage& stage) {
    for (size_t i = 0; i < kGroupDests.size(); ++i) {
        const GroupDest& gd = kGroupDests[i];
        if (t.g.*gd.flag || !d.dest[i] || *d.dest[i] == base.*gd.dest) continue;
        stage.warn(d.where + ": " + gd.destName + " is ignored: " + gd.flagName +
                   " is off, and the page keeps no destination then");
    }
}

// OSD has no control on the page: it is taken as read, and a save of the list clears it.
void warnOsd(const std::vector<GroupDoc>& docs, const std::vector<int16_t>& finalIds, const EventGroupList& loaded,
             const EventGroupList& staged, bool saved, Stage& stage) {
    for (size_t i = 0; i < docs.size(); ++i) {
        const GroupDoc& d = docs[i];
        if (!d.osd || finalIds[i] < 1) continue;
        const EventGroupRecord* was = findId(loaded, finalIds[i]);
        const EventGroupRecord* now = findId(staged, finalIds[i]);
        const bool on = now && now->OSD;
        if (*d.osd && !on)
            stage.warn(d.where + ": OSD stays off: the page has no control for it" +
                       (saved && was && was->OSD ? ", and saving the list through the page switches it off" : ""));
        else if (!*d.osd && on)
            stage.warn(d.where + ": OSD stays on: the page has no control for it; it goes off only when the list is "
                                 "saved for another change");
    }
}

void stageGroups(const Json& value, EventRun& run, Stage& stage) {
    const std::vector<GroupDoc> docs = readGroups(value);
    ActionGroupTab& tab = run.groups;
    tab.EnActionCondition();
    const EventGroupList loaded = run.scratch.strEventGroup;
    std::vector<bool> isNew;
    for (const GroupDoc& d : docs) isNew.push_back(!d.id || !findId(loaded, *d.id));
    std::vector<int16_t> finalIds(docs.size(), -1);
    std::vector<GroupTarget> targets(docs.size());

    // Removals first: a freed id is given again, and a freed name may be taken.
    for (int16_t id : idsOf(loaded)) {
        if (std::any_of(docs.begin(), docs.end(), [&](const GroupDoc& d) { return d.id == id; })) continue;
        const EventGroupRecord* g = findId(loaded, id);
        const std::string where =
            "strEventGroup (ID " + std::to_string(id) + " " + inQuotes(g->Name) + ", left out of the document)";
        stage.prompter.boxes.clear();
        if (!tab.gridEventGroup_Click(groupRow(tab, id)) || !tab.imgEventGroupbtn_Click(Tab::kRemove))
            return stage.refuse(where, stage.prompter.last("the group cannot be removed"));
    }
    for (size_t i = 0; i < docs.size(); ++i) {
        if (isNew[i]) continue;
        const GroupDoc& d = docs[i];
        finalIds[i] = *d.id;
        const EventGroupRecord& was = *findId(loaded, *d.id);
        targets[i] = targetOf(d, was, run);
        warnOffDest(d, targets[i], was, stage);
        if (sameTarget(targets[i].g, was)) continue;
        stage.prompter.boxes.clear();
        if (!tab.gridEventGroup_Click(groupRow(tab, *d.id)))
            return stage.refuse(d.where, stage.prompter.last("the group cannot be opened"));
        if (!fillGroup(d, targets[i], tab, stage) || !pressGroupSave(d.where, tab, stage)) return;
    }
    for (size_t i = 0; i < docs.size(); ++i) {
        if (!isNew[i]) continue;
        const GroupDoc& d = docs[i];
        stage.prompter.boxes.clear();
        if (!tab.imgEventGroupbtn_Click(Tab::kAdd))
            return stage.refuse(d.where, stage.prompter.last("the page offers no new group now"));
        finalIds[i] = static_cast<int16_t>(base::LeadingNumber(tab.cmbEventGroupID.text()));
        targets[i] = targetOf(d, tab.working, run);
        warnOffDest(d, targets[i], tab.working, stage);
        // A new group's destinations start on the combos' first entries.
        for (const GroupDest& gd : kGroupDests)
            if (!targets[i].destGiven[static_cast<size_t>(&gd - kGroupDests.data())])
                targets[i].g.*gd.dest = tab.GetDestID(gd.box, tab.cmbEventGroup[static_cast<size_t>(gd.box)].text());
        if (!fillGroup(d, targets[i], tab, stage) || !pressGroupSave(d.where, tab, stage, true)) return;
        if (d.id && *d.id != finalIds[i])
            stage.note(d.where, "ID " + std::to_string(*d.id) + " is new; the page gives it ID " +
                                    std::to_string(finalIds[i]));
    }
    if (!pressGroupSave("strEventGroup", tab, stage)) return;  // removals only

    const EventGroupList& staged = run.scratch.strEventGroup;
    for (size_t i = 0; i < docs.size(); ++i) {
        const EventGroupRecord* made = findId(staged, finalIds[i]);
        const EventGroupRecord* was = isNew[i] ? nullptr : findId(loaded, finalIds[i]);
        if (!made) return stage.refuse(docs[i].where, "the page did not keep the group");
        if ((!was || !sameTarget(targets[i].g, *was)) && !checkGroup(docs[i], targets[i], *made, stage)) return;
    }
    warnOsd(docs, finalIds, loaded, staged, Set_EventGroup_XML(staged) != Set_EventGroup_XML(loaded), stage);
}

// Destinations a group names, whatever its flag says, as the page's removal check compares them.
std::set<int16_t> namedBy(const EventGroupList& groups, int kind) {
    std::set<int16_t> out;
    for (const GroupDest& gd : kGroupDests)
        if (gd.kind == kind)
            for (const EventGroupRecord& g : groups)
                if (g.ID > 0) out.insert(g.*gd.dest);
    return out;
}

// ---- the sends ----

void copyList(int kind, const EventTables& from, EventTables& to) {
    if (kind == kGroups) {
        to.strEventGroup = from.strEventGroup;
        return;
    }
    withKind(kind, [&](const auto& dk) { to.*dk.list = from.*dk.list; });
}

std::string commandOf(int kind, const EventTables& t) {
    return kind == kGroups ? Set_EventGroup_XML(t.strEventGroup) : SetCommandOf(t, kind);
}

bool differs(int kind, const EventTables& a, const EventTables& b) { return commandOf(kind, a) != commandOf(kind, b); }

// A group with its flag on names a destination of `kind` that `service` does not hold.
bool namesMissing(const EventGroupList& groups, int kind, const EventTables& service) {
    for (const GroupDest& gd : kGroupDests) {
        if (gd.kind != kind) continue;
        for (const EventGroupRecord& g : groups) {
            if (g.ID < 1 || !(g.*gd.flag)) continue;
            bool held = false;
            withKind(kind, [&](const auto& dk) { held = findId(service.*dk.list, g.*gd.dest) != nullptr; });
            if (!held) return true;
        }
    }
    return false;
}

// The lists in the shell's save order, then the groups; but the groups first when a removed
// destination was named by a group the service holds, with only the lists the new groups need
// ahead of them (as they stood before the removals that waited for the groups).
std::vector<EventSend> decideSends(const EventTables& loaded, const EventRun& run) {
    const EventTables& staged = run.scratch;
    std::vector<EventSend> out;
    // Every late removal is of a destination a loaded group named.
    const bool groupsFirst = !run.lateRemovals.empty() && differs(kGroups, staged, loaded);
    EventTables sent = loaded;
    const auto send = [&](int kind, const EventTables& after) {
        if (!differs(kind, after, sent)) return;
        EventSend s{kind, sent, sent};
        copyList(kind, after, s.after);
        copyList(kind, after, sent);
        out.push_back(std::move(s));
    };
    if (groupsFirst) {
        for (int kind = 0; kind < kKindCount; ++kind)
            if (namesMissing(staged.strEventGroup, kind, sent)) send(kind, run.beforeGroups);
        send(kGroups, staged);
    }
    for (int kind = 0; kind < kKindCount; ++kind) send(kind, staged);
    send(kGroups, staged);
    return out;
}

// ---- the plan ----

// How the page stored an FTP file name the document gave otherwise.
std::string fileNameNote(const std::string& given, const std::string& stored) {
    std::string how;
    if (given.find("$EVT_DATE$") != std::string::npos) how = "$EVT_DATE1$ for $EVT_DATE$";
    if (!given.ends_with(".txt") && stored.ends_with(".txt"))
        how += std::string(how.empty() ? "" : ", ") + "\".txt\" appended";
    return " (FileName as the page stores it: " + (how.empty() ? "normalised" : how) + ")";
}

template <class R>
void planList(const DestKind<R>& k, const EventSend& s, const EventRun& run, std::vector<std::string>& out) {
    const std::vector<R>& before = s.before.*k.list;
    const std::vector<R>& after = s.after.*k.list;
    const app::DumpForm clear{.secrets = true};
    const auto note = [&](const R& r) -> std::string {
        if constexpr (std::is_same_v<R, FTPServerRecord>) {
            if (const auto it = run.ftpNames.find(r.ID); it != run.ftpNames.end())
                return fileNameNote(it->second, r.FileName);
        }
        return "";
    };
    for (int16_t id : idsOf(before))
        if (!findId(after, id))
            out.push_back("removes " + std::string(k.what) + " " + std::to_string(id) + " " +
                          inQuotes(findId(before, id)->*k.label));
    for (const R& r : after) {
        const R* was = shown(r) ? findId(before, r.ID) : nullptr;
        if (!was) continue;
        const std::string fields = app::ChangedFields(recordJson(k, *was, clear), recordJson(k, r, clear));
        if (fields.empty()) continue;
        out.push_back("changes " + std::string(k.what) + " " + std::to_string(r.ID) + " " + inQuotes(r.*k.label) +
                      ": " + fields + (fields.find("FileName") != std::string::npos ? note(r) : ""));
    }
    for (const R& r : after)
        if (shown(r) && !findId(before, r.ID))
            out.push_back("adds " + std::string(k.what) + " " + inQuotes(r.*k.label) + " as ID " +
                          std::to_string(r.ID) + note(r));
}

// A group as the plan compares it: the destination of a flag that is off never goes out.
Json sentGroupJson(const EventGroupRecord& g) {
    Json o = groupJson(g);
    for (const GroupDest& d : kGroupDests)
        if (!(g.*d.flag)) o.erase(d.destName);
    return o;
}

void planGroups(const EventSend& s, std::vector<std::string>& out) {
    const EventGroupList& before = s.before.strEventGroup;
    const EventGroupList& after = s.after.strEventGroup;
    for (int16_t id : idsOf(before))
        if (!findId(after, id))
            out.push_back("removes action group " + std::to_string(id) + " " + inQuotes(findId(before, id)->Name));
    for (const EventGroupRecord& g : after) {
        const EventGroupRecord* was = shown(g) ? findId(before, g.ID) : nullptr;
        if (!was) continue;
        const std::string fields = app::ChangedFields(sentGroupJson(*was), sentGroupJson(g));
        if (!fields.empty())
            out.push_back("changes action group " + std::to_string(g.ID) + " " + inQuotes(g.Name) + ": " + fields);
    }
    for (const EventGroupRecord& g : after)
        if (shown(g) && !findId(before, g.ID))
            out.push_back("adds action group " + inQuotes(g.Name) + " as ID " + std::to_string(g.ID));
}

}  // namespace

EventDocument::EventDocument(EventTables& tables) : tables_(tables) {}
EventDocument::~EventDocument() = default;

std::vector<std::string> EventDocument::names() const {
    std::vector<std::string> out;
    forEachKind([&](const auto& dk) { out.push_back(dk.section); });
    out.push_back("strEventGroup");
    return out;
}

void EventDocument::dump(Json& doc, const app::DumpForm& form) const {
    forEachKind([&](const auto& dk) { doc[dk.section] = listJson(dk, tables_.*dk.list, form); });
    doc["strEventGroup"] = groupsJson(tables_.strEventGroup);
}

void EventDocument::stage(const Json& doc, Stage& stage) {
    run_.reset();
    Json loaded;
    dump(loaded, {.secrets = true});
    std::array<bool, kKindCount + 1> changed{};
    bool any = false;
    forEachKind([&](const auto& dk) {
        if (!doc.contains(dk.section)) return;
        const Json given = unmasked(dk, doc.at(dk.section), tables_.*dk.list);
        changed[static_cast<size_t>(dk.kind)] = !app::SameValue(given, loaded.at(dk.section));
        any = any || changed[static_cast<size_t>(dk.kind)];
    });
    const bool groupsChanged =
        doc.contains("strEventGroup") && !app::SameValue(doc.at("strEventGroup"), loaded.at("strEventGroup"));
    if (!any && !groupsChanged) return;
    run_ = std::make_unique<EventRun>(tables_, stage);
    EventRun& run = *run_;

    forEachKind([&](const auto& dk) {
        if (stage.refused() || !changed[static_cast<size_t>(dk.kind)]) return;
        // A removal waits for the groups when a group names the entry: the document may change the group.
        stageKind(dk, doc.at(dk.section), namedBy(tables_.strEventGroup, dk.kind), tables_, run, stage);
    });
    if (stage.refused()) return;
    run.beforeGroups = run.scratch;
    if (groupsChanged) stageGroups(doc.at("strEventGroup"), run, stage);
    if (stage.refused()) return;
    removeLate(run, tables_, stage);
    if (stage.refused()) return;
    run.sends = decideSends(tables_, run);
    if (run.sends.empty() && !run.ftpNames.empty())
        stage.note("strFTPServer", "the page stores the file names as the service already holds them");
}

std::vector<std::string> EventDocument::plan() const {
    std::vector<std::string> out;
    if (!run_) return out;
    for (const EventSend& s : run_->sends) {
        if (s.kind == kGroups) planGroups(s, out);
        else withKind(s.kind, [&](const auto& dk) { planList(dk, s, *run_, out); });
    }
    return out;
}

void EventDocument::saves(Stage& stage, std::vector<PendingSave>& out) {
    if (!run_) return;
    link::ServiceLink& link = stage.link;
    EventTables& tables = tables_;
    for (const EventSend& s : run_->sends) {
        const int kind = s.kind;
        const EventTables after = s.after;
        out.push_back({sectionOf(kind), commandOf(kind, after),
                       [&link, kind, after](std::string& reply) {
                           return kind == kGroups ? SaveEventGroup_Setting(link, after.strEventGroup, &reply)
                                                  : Save_EventListenServer(link, after, kind, &reply);
                       },
                       [&tables, kind, after] { copyList(kind, after, tables); }});
    }
}

}  // namespace kv::events
