// The event sections of kelvarra-ctl's documents. A changed section goes through the event page on
// a copy of the tables, as a person would change it: the sub-tab chosen, a row clicked, the boxes
// typed, Save, Add or Remove pressed; a group added or selected, named, its checks and destination
// combos set, saved or removed; an event action added or clicked, its combos and checks set, saved
// or removed; a channel of the schedule clicked, its week painted, channels with the same week
// marked, saved. The page's own sends go to a link that holds them; what reaches the service is
// decided afterwards, in an order that never leaves a reference to something the service lacks.
#include "events/document.h"

#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <set>
#include <type_traits>
#include <variant>

#include "app/commands.h"
#include "base/text.h"
#include "events/action_tab.h"
#include "events/codec.h"
#include "events/event_names.h"
#include "events/group_tab.h"
#include "events/save.h"
#include "events/schedule_tab.h"
#include "events/server_tab.h"
#include "recording/week_grid.h"

namespace kv::events {

namespace {

// The page's saves while a document is staged: every write is answered as taken, none leaves. The
// action tab fills its preset combo from a read of the channel's presets, which the service answers.
class HeldLink final : public link::ServiceLink {
public:
    explicit HeldLink(link::ServiceLink& service) : service_(service) {}
    void setEvents(link::LinkEvents*) override {}
    int32_t Login(const std::string&, int32_t, const std::string&, const std::string&, const std::string&) override {
        return -1;
    }
    std::string SendCommand(int32_t reserved, bool wait, const std::string& xml) override {
        static const std::string presetRead = "<CMD ID=\"" + std::to_string(app::cmd::kGetPresets) + "\"";
        if (xml.rfind(presetRead, 0) == 0) return service_.SendCommand(reserved, wait, xml);
        return "<RESPONSE RET=\"0\"></RESPONSE>";
    }
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

private:
    link::ServiceLink& service_;
};

// Where a send stands for something other than a destination kind.
constexpr int kGroups = kKindCount;
constexpr int kSchedule = kKindCount + 1;
constexpr int kActions = kKindCount + 2;

}  // namespace

// One write of the run: the list of `kind` (or one channel's week) as the service holds it before
// and after.
struct EventSend {
    int kind = 0;
    int32_t ch = 0;  // the week's channel
    EventTables before;
    EventTables after;
};

// One run: the staged tables, the tabs over them, and what the run decided to send.
struct EventRun {
    EventRun(const EventTables& loaded, const channels::ChannelTables& channels,
             std::span<const base::EventTypeName> types, const pos::POSTriggerEventList& triggers, app::Stage& stage)
        : held(stage.link),
          scratch(loaded),
          channels(channels),
          types(types),
          triggers(triggers),
          lang(stage.lang),
          servers(scratch, held, stage.prompter, stage.lang, stage.title),
          groups(scratch, held, stage.prompter, stage.lang, stage.title),
          actions(scratch, channels, types, triggers, held, stage.prompter, stage.lang, stage.title),
          schedule(scratch.strEventSCDL, channels, held, stage.prompter, stage.lang, stage.title) {
        servers.onListsChanged = [this] { groups.EnActionCondition(); };
    }
    HeldLink held;
    EventTables scratch;
    const channels::ChannelTables& channels;
    std::span<const base::EventTypeName> types;
    const pos::POSTriggerEventList& triggers;
    const base::Language& lang;
    ServerSettingTab servers;
    ActionGroupTab groups;
    EventActionTab actions;
    EventScheduleTab schedule;
    EventTables beforeGroups;  // the lists as they stood when the groups were staged
    EventTables beforeGroupRemovals;  // the groups as they stood before the removals that waited for the actions
    std::array<std::map<int16_t, int16_t>, kKindCount> givenIds;  // a new record's ID in the document: the page's
    std::map<int16_t, int16_t> givenGroups;  // the same for new groups
    std::map<int16_t, std::string> ftpNames;  // FTP id: the FileName the document gave, where the page stored another
    std::vector<std::pair<int, int16_t>> lateRemovals;  // destinations removed after the groups were staged
    std::vector<int16_t> lateGroupRemovals;             // groups removed after the actions were staged
    std::vector<EventSend> sends;

    /// "CH 3 Motion Event", as the plan and the messages name an action.
    std::string actionName(int32_t ch, const std::string& event) const {
        const std::string name = GetEventName(event, types, triggers, lang);
        return "CH " + std::to_string(ch) + " " + (name == "-1" ? "event " + event : name);
    }
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

std::string sectionOf(int kind, int32_t ch = 0) {
    if (kind == kActions) return "strEventAction";
    if (kind == kSchedule) return "strEventSCDL (CH " + std::to_string(ch) + ")";
    std::string out = "strEventGroup";
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
             const EventGroupList& staged, bool saved, bool savedAgain, Stage& stage) {
    for (size_t i = 0; i < docs.size(); ++i) {
        const GroupDoc& d = docs[i];
        if (!d.osd || finalIds[i] < 1) continue;
        const EventGroupRecord* was = findId(loaded, finalIds[i]);
        const EventGroupRecord* now = findId(staged, finalIds[i]);
        const bool on = now && now->OSD && !savedAgain;
        if (*d.osd && !on)
            stage.warn(d.where + ": OSD stays off: the page has no control for it" +
                       (saved && was && was->OSD ? ", and saving the list through the page switches it off" : ""));
        else if (!*d.osd && on)
            stage.warn(d.where + ": OSD stays on: the page has no control for it; it goes off only when the list is "
                                 "saved for another change");
    }
}

bool runByAction(const EventActionList& actions, int16_t id) {
    return std::any_of(actions.begin(), actions.end(),
                       [id](const EventActionRecord& a) { return a.ID >= 0 && a.ActionGroup == id; });
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

    // Removals first: a freed id is given again, and a freed name may be taken. A group an event
    // action runs waits for the actions: the document may move them away.
    for (int16_t id : idsOf(loaded)) {
        if (std::any_of(docs.begin(), docs.end(), [&](const GroupDoc& d) { return d.id == id; })) continue;
        if (runByAction(run.scratch.strEventAction, id)) {
            run.lateGroupRemovals.push_back(id);
            continue;
        }
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
        if (d.id) run.givenGroups[*d.id] = finalIds[i];
        if (d.id && *d.id != finalIds[i])
            stage.note(d.where, "ID " + std::to_string(*d.id) + " is new; the page gives it ID " +
                                    std::to_string(finalIds[i]) + ", and the event actions that run it follow");
    }
    if (!pressGroupSave("strEventGroup", tab, stage)) return;  // removals only

    const EventGroupList& staged = run.scratch.strEventGroup;
    for (size_t i = 0; i < docs.size(); ++i) {
        const EventGroupRecord* made = findId(staged, finalIds[i]);
        const EventGroupRecord* was = isNew[i] ? nullptr : findId(loaded, finalIds[i]);
        if (!made) return stage.refuse(docs[i].where, "the page did not keep the group");
        if ((!was || !sameTarget(targets[i].g, *was)) && !checkGroup(docs[i], targets[i], *made, stage)) return;
    }
    // Removals that wait for the actions save the list again, which clears OSD as any save does.
    warnOsd(docs, finalIds, loaded, staged,
            !run.lateGroupRemovals.empty() || Set_EventGroup_XML(staged) != Set_EventGroup_XML(loaded),
            !run.lateGroupRemovals.empty(), stage);
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

// A refusal where the caller answers whether to go on.
bool refuseWith(Stage& stage, const std::string& where, const std::string& why) {
    stage.refuse(where, why);
    return false;
}

void removeLateGroups(EventRun& run, const EventTables& loaded, Stage& stage) {
    if (run.lateGroupRemovals.empty()) return;
    run.beforeGroupRemovals = run.scratch;
    ActionGroupTab& tab = run.groups;
    for (int16_t id : run.lateGroupRemovals) {
        const EventGroupRecord* g = findId(loaded.strEventGroup, id);
        const std::string where = "strEventGroup (ID " + std::to_string(id) + (g ? " " + inQuotes(g->Name) : "") +
                                  ", left out of the document)";
        stage.prompter.boxes.clear();
        if (!tab.gridEventGroup_Click(groupRow(tab, id)) || !tab.imgEventGroupbtn_Click(Tab::kRemove))
            return stage.refuse(where, stage.prompter.last("the group cannot be removed"));
    }
    pressGroupSave("strEventGroup", tab, stage);
}

// ---- the event actions as data ----

using A = EventActionRecord;
using ActionTab = EventActionTab;

// The fields after the key (CH, Event), in wire order.
struct ActionField {
    const char* name;
    std::variant<int16_t A::*, bool A::*> member;
};
const std::array<ActionField, 8> kActionFields = {{
    {"ActionGroup", &A::ActionGroup},
    {"TriggerID", &A::TriggerID},
    {"DigitalOut", &A::DigitalOut},
    {"Preset", &A::Preset},
    {"DigitalOutID", &A::DigitalOutID},
    {"DigitalOutState", &A::DigitalOutState},
    {"DODuration", &A::DODuration},
    {"PresetDest", &A::PresetDest},
}};
enum ActionFieldIndex : size_t { fGroup, fTrigger, fDO, fPreset, fDOID, fDOState, fDODuration, fPresetDest };
using ActionValues = std::array<std::optional<int64_t>, kActionFields.size()>;

int64_t valueOf(const ActionField& f, const A& a) {
    return std::visit([&](auto p) { return static_cast<int64_t>(a.*p); }, f.member);
}

void setValue(const ActionField& f, A& a, int64_t v) {
    std::visit([&](auto p) { a.*p = static_cast<std::remove_reference_t<decltype(a.*p)>>(v); }, f.member);
}

bool isFlag(const ActionField& f) { return std::holds_alternative<bool A::*>(f.member); }

// A value as the document writes it.
std::string shownValue(const ActionField& f, int64_t v) {
    return isFlag(f) ? (v ? "true" : "false") : std::to_string(v);
}

bool listed(const A& a) { return a.ID >= 0 && !a.Removed; }

const A* findAction(const EventActionList& list, int32_t ch, const std::string& event) {
    for (const A& a : list)
        if (listed(a) && a.CH == ch && a.Event == event) return &a;
    return nullptr;
}

Json actionJson(const A& a) {
    Json o{{"CH", a.CH}, {"Event", a.Event}};
    for (const ActionField& f : kActionFields) o[f.name] = isFlag(f) ? Json(valueOf(f, a) != 0) : Json(valueOf(f, a));
    return o;
}

Json actionsJson(const EventActionList& list) {
    Json out = Json::array();
    for (const A& a : list)
        if (listed(a)) out.push_back(actionJson(a));
    return out;
}

// An event action as a document gives it.
struct ActionDoc {
    std::string where;
    int16_t ch = 0;
    std::string event;
    ActionValues values;
};

int16_t channelOf(const Json& o, const std::string& where) {
    if (!o.contains("CH") || !o.at("CH").is_number_integer() || o.at("CH").get<int64_t>() < 1 ||
        o.at("CH").get<int64_t>() > base::kMaxChannel)
        throw DocumentError(where + ".CH: expected a channel number from 1 to " + std::to_string(base::kMaxChannel));
    return static_cast<int16_t>(o.at("CH").get<int64_t>());
}

std::vector<ActionDoc> readActions(const Json& value) {
    if (!value.is_array()) throw DocumentError("strEventAction: expected a list of event actions");
    std::vector<ActionDoc> out;
    for (size_t i = 0; i < value.size(); ++i) {
        ActionDoc d;
        d.where = "strEventAction[" + std::to_string(i) + "]";
        const Json& o = value[i];
        if (!o.is_object()) throw DocumentError(d.where + ": expected an event action");
        d.ch = channelOf(o, d.where);
        if (!o.contains("Event") || !o.at("Event").is_string())
            throw DocumentError(d.where + ".Event: expected the event's code as a text (\"2001\")");
        d.event = o.at("Event").get<std::string>();
        for (const auto& [key, v] : o.items()) {
            if (key == "CH" || key == "Event") continue;
            const std::string at = d.where + "." + key;
            const auto f = std::find_if(kActionFields.begin(), kActionFields.end(),
                                        [&](const ActionField& x) { return key == x.name; });
            if (f == kActionFields.end())
                throw DocumentError(d.where + ": " + key + " is no field of an event action" +
                                    (key == "ID" ? " (an action is known by its CH and Event)" : ""));
            int64_t n = 0;
            if (isFlag(*f)) {
                n = flagOf(v, at) ? 1 : 0;
            } else {
                if (!v.is_number_integer() || v.get<int64_t>() < INT16_MIN || v.get<int64_t>() > INT16_MAX)
                    throw DocumentError(at + ": expected a whole number from " + std::to_string(INT16_MIN) + " to " +
                                        std::to_string(INT16_MAX));
                n = v.get<int64_t>();
            }
            d.values[static_cast<size_t>(f - kActionFields.begin())] = n;
        }
        out.push_back(std::move(d));
    }
    return out;
}

// What an action is to become, and which of its fields the document asks the page to set.
struct ActionTarget {
    A want;
    std::array<bool, kActionFields.size()> asked{};
};

int16_t followGroup(const EventRun& run, int16_t id) {
    const auto it = run.givenGroups.find(id);
    return it == run.givenGroups.end() ? id : it->second;
}

// A new action asks for every field the document gives; a loaded one for those it changes.
ActionTarget targetOf(const ActionDoc& d, const A* loaded, const EventRun& run) {
    ActionTarget t;
    if (loaded) t.want = *loaded;
    else t.want = A{.ID = 0, .CH = d.ch, .Event = d.event};
    for (size_t i = 0; i < kActionFields.size(); ++i) {
        if (!d.values[i]) continue;
        const int64_t v = i == fGroup ? followGroup(run, static_cast<int16_t>(*d.values[i])) : *d.values[i];
        t.asked[i] = !loaded || v != valueOf(kActionFields[i], *loaded);
        setValue(kActionFields[i], t.want, v);
    }
    return t;
}

// ---- staging the event actions ----

int actionRow(const ActionTab& tab, int32_t ch, const std::string& event) {
    for (size_t r = 1; r < tab.GridEventAction.size(); ++r) {
        const ActionTab::Row& row = tab.GridEventAction[r];
        if (row.size() > ActionTab::kColCode && row[ActionTab::kColCH] == std::to_string(ch) &&
            row[ActionTab::kColCode] == event)
            return static_cast<int>(r);
    }
    return 0;
}

// A cell of the form's row.
std::string cellOf(const ActionTab& tab, int col) {
    const int r = tab.selectedRow;
    if (r < 1 || static_cast<size_t>(r) >= tab.GridEventAction.size()) return "";
    const ActionTab::Row& row = tab.GridEventAction[static_cast<size_t>(r)];
    return static_cast<size_t>(col) < row.size() ? row[static_cast<size_t>(col)] : "";
}

// Chooses the first item of an enabled combo that fits; false when there is none.
template <class Fits>
bool choose(ActionTab& tab, int combo, Fits fits) {
    const app::ComboBox& c = tab.cmbEventAction[static_cast<size_t>(combo)];
    if (!c.enabled) return false;
    for (size_t i = 0; i < c.items.size(); ++i) {
        if (!fits(c.items[i], i)) continue;
        tab.cmbEventAction_Click(combo, static_cast<int>(i));
        return true;
    }
    return false;
}

std::string offered(const ActionTab& tab, int combo) {
    const app::ComboBox& c = tab.cmbEventAction[static_cast<size_t>(combo)];
    return c.enabled ? offeredItems(c) : "none";
}

// The channel items read "CH" and the number.
bool isChannelItem(const std::string& item, int32_t ch) {
    return item.starts_with("CH") && base::Trim(std::string_view(item).substr(2)) == std::to_string(ch);
}

// A preset item reads its number, "-" and its name.
bool isPresetItem(const std::string& item, int16_t preset) {
    return base::Trim(std::string_view(item).substr(0, item.find('-'))) == std::to_string(preset);
}

// What the page's save makes of a field of the open row, a channel without outputs aside: the
// DI kinds count their trigger from 1 on the grid, the service from 0.
int64_t savedValue(const ActionTab& tab, size_t field, const std::string& event) {
    const auto number = [&](int col) { return base::LeadingNumber(cellOf(tab, col)); };
    switch (field) {
        case fTrigger: {
            const std::string cell = cellOf(tab, ActionTab::kColTrigger);
            if (cell.empty() || cell == "N/A") return -1;
            const int64_t code = base::LeadingNumber(event), n = number(ActionTab::kColTrigger);
            return code >= 1 && code <= 3 && n > 0 ? n - 1 : n;
        }
        case fDO: return !cellOf(tab, ActionTab::kColDO).empty() && cellOf(tab, ActionTab::kColDO) != "X";
        case fPreset: return cellOf(tab, ActionTab::kColPreset) == "O";
        case fDOID: return number(ActionTab::kColDOID);
        case fDOState: return number(ActionTab::kColDOState);
        case fDODuration: return number(ActionTab::kColDODuration);
        case fPresetDest: return number(ActionTab::kColPresetDest);
        default: return 0;
    }
}

// The trigger combo's item of a target: a DI counted from 1, or a POS trigger's name.
std::string triggerItem(const A& a, const EventRun& run) {
    if (!IsPOSEventCode(static_cast<int32_t>(base::LeadingNumber(a.Event)))) return std::to_string(a.TriggerID + 1);
    for (const pos::POSTriggerEventRecord& t : run.triggers)
        if (t.ID == a.TriggerID) return t.Name;
    return "";
}

// Sets the open form to the target through its controls; false after a refusal.
bool fillAction(const ActionDoc& d, const ActionTarget& t, ActionTab& tab, const EventRun& run, Stage& stage) {
    const A& w = t.want;
    const std::string who = "channel " + std::to_string(w.CH);
    const channels::ChannelRecord& channel = run.channels.strCH[static_cast<size_t>(w.CH - 1)];
    const auto refuse = [&](const std::string& why) {
        stage.refuse(d.where, why);
        return false;
    };
    const auto field = [&](size_t i) {
        return std::string(kActionFields[i].name) + " " + shownValue(kActionFields[i], valueOf(kActionFields[i], w));
    };
    const auto toSet = [&](size_t i) {
        return t.asked[i] && savedValue(tab, i, w.Event) != valueOf(kActionFields[i], w);
    };

    if (t.asked[fGroup]) {
        const EventGroupRecord* g = findId(run.scratch.strEventGroup, w.ActionGroup);
        const auto fits = [&](const std::string& item, size_t) { return g && base::Trim(item) == base::Trim(g->Name); };
        if (!g || (base::Trim(cellOf(tab, ActionTab::kColGroup)) != base::Trim(g->Name) &&
                   !choose(tab, ActionTab::kCmbGroup, fits)))
            return refuse(field(fGroup) + ": there is no action group " + std::to_string(w.ActionGroup) +
                          " (offered: " + offered(tab, ActionTab::kCmbGroup) + ")");
    }
    if (toSet(fTrigger)) {
        const std::string item = w.TriggerID < 0 ? "" : triggerItem(w, run);
        if (item.empty() || !choose(tab, ActionTab::kCmbTrigger, [&](const std::string& i, size_t) { return i == item; }))
            return refuse(field(fTrigger) + ": the page offers no such trigger for " + run.actionName(w.CH, w.Event) +
                          " (offered: " + offered(tab, ActionTab::kCmbTrigger) + ")");
    }

    // Without outputs the page saves the pulse off and its numbers 0, whatever its controls hold.
    const bool outputs = channel.NumberDO != 0;
    for (size_t i : {fDO, fDOID, fDOState, fDODuration})
        if (t.asked[i] && !outputs && valueOf(kActionFields[i], w) != 0)
            return refuse(field(i) + ": " + who + " has no digital output");
    if (outputs && toSet(fDO)) {
        if (!tab.chkEventActionEnabled[ActionTab::kChkDO]) return refuse(field(fDO) + ": the DO box is disabled");
        tab.chkEventAction_Click(ActionTab::kChkDO, w.DigitalOut);
    }
    struct DoCombo {
        size_t field;
        int combo;
        bool byText;  // the item's text is the value; otherwise its index
    };
    for (const DoCombo& c : {DoCombo{fDOID, ActionTab::kCmbDOID, true}, DoCombo{fDOState, ActionTab::kCmbDOState, false},
                             DoCombo{fDODuration, ActionTab::kCmbDODuration, false}}) {
        if (!outputs || !toSet(c.field)) continue;
        const int64_t v = valueOf(kActionFields[c.field], w);
        const auto fits = [&](const std::string& item, size_t i) {
            return c.byText ? item == std::to_string(v) : static_cast<int64_t>(i) == v;
        };
        if (!choose(tab, c.combo, fits))
            return refuse(field(c.field) + ": not offered for " + who + " (offered: " + offered(tab, c.combo) + ")");
    }

    if (toSet(fPreset)) {
        if (!tab.chkEventActionEnabled[ActionTab::kChkPreset])
            return refuse(field(fPreset) + ": the preset box is disabled: " + who + " shows no presets");
        tab.chkEventAction_Click(ActionTab::kChkPreset, w.Preset);
    }
    if (toSet(fPresetDest) &&
        !choose(tab, ActionTab::kCmbPreset,
                [&](const std::string& item, size_t) { return isPresetItem(item, w.PresetDest); }))
        return refuse(field(fPresetDest) + ": " + who + " has no preset " + std::to_string(w.PresetDest) +
                      " (offered: " + offered(tab, ActionTab::kCmbPreset) + ")");
    return true;
}

bool pressActionSave(const std::string& where, ActionTab& tab, Stage& stage) {
    stage.prompter.boxes.clear();
    if (tab.imgEventActionbtn_Click(ActionTab::kSave)) return true;
    stage.refuse(where, stage.prompter.last("the event actions cannot be saved"));
    return false;
}

// Opens a new row on the document's channel and event; false after a refusal.
bool openNewAction(const ActionDoc& d, ActionTab& tab, const EventRun& run, Stage& stage) {
    stage.prompter.boxes.clear();
    if (!tab.imgEventActionbtn_Click(ActionTab::kAdd))
        return refuseWith(stage, d.where, stage.prompter.last("the page offers no new event action now"));
    // The channel is chosen even when the form opened on it: its choice fills the outputs and presets.
    if (!choose(tab, ActionTab::kCmbChannel, [&](const std::string& item, size_t) { return isChannelItem(item, d.ch); }) ||
        cellOf(tab, ActionTab::kColCH) != std::to_string(d.ch))
        return refuseWith(stage, d.where, "CH " + std::to_string(d.ch) + ": the page offers no channel " +
                                         std::to_string(d.ch) + " (offered: " + offered(tab, ActionTab::kCmbChannel) +
                                         ")");
    const std::string name = GetEventName(d.event, run.types, run.triggers, run.lang);
    if (!choose(tab, ActionTab::kCmbEvent, [&](const std::string& item, size_t) { return item == name; }) ||
        cellOf(tab, ActionTab::kColCode) != d.event)
        return refuseWith(stage, d.where, "Event " + d.event + ": the page does not offer " +
                                         (name == "-1" ? "this event" : name) + " for channel " +
                                         std::to_string(d.ch) + " (offered: " + offered(tab, ActionTab::kCmbEvent) +
                                         ")");
    return true;
}

// What the page saved against what the document asked for; the fields it changed on its own are
// warned about (a channel without outputs saves them as 0).
bool checkActions(const std::vector<ActionDoc>& docs, const std::vector<ActionTarget>& targets,
                  const EventActionList& loaded, const EventRun& run, Stage& stage) {
    const EventActionList& staged = run.scratch.strEventAction;
    for (size_t i = 0; i < docs.size(); ++i) {
        const ActionDoc& d = docs[i];
        const A* made = findAction(staged, d.ch, d.event);
        if (!made) return refuseWith(stage, d.where, "the page did not keep " + run.actionName(d.ch, d.event));
        std::string own;
        for (size_t f = 0; f < kActionFields.size(); ++f) {
            const int64_t got = valueOf(kActionFields[f], *made), want = valueOf(kActionFields[f], targets[i].want);
            if (got == want) continue;
            if (targets[i].asked[f])
                return refuseWith(stage, d.where, std::string(kActionFields[f].name) + " " +
                                                      shownValue(kActionFields[f], want) + ": the page saves " +
                                                      shownValue(kActionFields[f], got));
            own += (own.empty() ? "" : ", ") + std::string(kActionFields[f].name);
        }
        if (!own.empty())
            stage.warn(d.where + ": the page's save also changes " + run.actionName(d.ch, d.event) + ": " + own);
    }
    for (const A& a : loaded)
        if (listed(a) && findAction(staged, a.CH, a.Event) &&
            std::none_of(docs.begin(), docs.end(), [&](const ActionDoc& d) { return d.ch == a.CH && d.event == a.Event; }))
            return refuseWith(stage, "strEventAction", "the page kept " + run.actionName(a.CH, a.Event));
    return true;
}

// Removals, changes, then additions, each saved as it is made.
void stageActions(const Json& value, const EventTables& loaded, EventRun& run, Stage& stage) {
    const std::vector<ActionDoc> docs = readActions(value);
    std::set<std::pair<int16_t, std::string>> pairs;
    for (const ActionDoc& d : docs)
        if (!pairs.insert({d.ch, d.event}).second)
            return stage.refuse(d.where, run.actionName(d.ch, d.event) +
                                             " appears twice: a channel takes each event once");
    const EventActionList& before = loaded.strEventAction;
    ActionTab& tab = run.actions;
    tab.Refresh();

    for (const A& a : before) {
        if (!listed(a) || pairs.count({a.CH, a.Event})) continue;
        const std::string where = "strEventAction (" + run.actionName(a.CH, a.Event) + ", left out of the document)";
        stage.prompter.boxes.clear();
        const int row = actionRow(tab, a.CH, a.Event);
        if (!row || !tab.GridEventAction_MouseUp(row) || !tab.imgEventActionbtn_Click(ActionTab::kRemove))
            return stage.refuse(where, stage.prompter.last("the event action cannot be removed"));
        if (!pressActionSave(where, tab, stage)) return;
    }
    std::vector<ActionTarget> targets(docs.size());
    for (size_t i = 0; i < docs.size(); ++i) {
        const ActionDoc& d = docs[i];
        const A* was = findAction(before, d.ch, d.event);
        if (!was) continue;
        targets[i] = targetOf(d, was, run);
        if (std::none_of(targets[i].asked.begin(), targets[i].asked.end(), [](bool b) { return b; })) continue;
        stage.prompter.boxes.clear();
        if (!tab.GridEventAction_MouseUp(actionRow(tab, d.ch, d.event)))
            return stage.refuse(d.where, stage.prompter.last("the event action cannot be opened"));
        if (!fillAction(d, targets[i], tab, run, stage) || !pressActionSave(d.where, tab, stage)) return;
    }
    for (size_t i = 0; i < docs.size(); ++i) {
        const ActionDoc& d = docs[i];
        if (findAction(before, d.ch, d.event)) continue;
        targets[i] = targetOf(d, nullptr, run);
        if (!openNewAction(d, tab, run, stage) || !fillAction(d, targets[i], tab, run, stage) ||
            !pressActionSave(d.where, tab, stage))
            return;
    }
    checkActions(docs, targets, before, run, stage);
}

// ---- the event schedule ----

bool configured(const channels::ChannelTables& c, int32_t ch) {
    const int32_t count = std::clamp<int32_t>(c.iMaxChannel, 0, base::kMaxChannel);
    return ch >= 1 && ch <= count && c.strCH[static_cast<size_t>(ch - 1)].configured();
}

using Week = std::array<std::string, recording::kDays>;

// A week as the tab shows it: an empty day all on, 96 characters a day.
Week shownWeek(const EventSCDLRecord& r) {
    recording::WeekGrid grid(recording::WeekGrid::EmptyDay::kAllOn);
    grid.Load(r.Day);
    return grid.Days();
}

Json weeksJson(const EventSCDLTable& table, const channels::ChannelTables& channels) {
    Json out = Json::array();
    for (int32_t ch = 1; ch <= base::kMaxChannel; ++ch)
        if (configured(channels, ch))
            out.push_back(Json{{"CH", ch}, {"Day", shownWeek(table[static_cast<size_t>(ch - 1)])}});
    return out;
}

// Paints the week on the grid as a person drags: each run of quarter hours the grid shows
// otherwise, left button for on, right for off.
void paintWeek(EventScheduleTab& tab, const Week& want) {
    const recording::WeekGrid& grid = tab.gridEventSCDL;
    const int midX = grid.geometry().colWidth / 2, midY = grid.geometry().rowHeight / 2;
    for (int row = 1; row <= recording::kDays; ++row) {
        const std::string& day = want[static_cast<size_t>(row - 1)];
        const std::string shown = grid.Days()[static_cast<size_t>(row - 1)];
        const int y = grid.rowTop(row) + midY;
        for (int first = 1; first <= recording::kSlotsPerDay;) {
            const char c = day[static_cast<size_t>(first - 1)];
            int last = first;
            while (last < recording::kSlotsPerDay && day[static_cast<size_t>(last)] == c) ++last;
            const size_t from = static_cast<size_t>(first - 1), count = static_cast<size_t>(last - first + 1);
            if (shown.compare(from, count, day, from, count) != 0) {
                tab.gridEventSCDL_MouseDown(c == '1' ? recording::kButtonLeft : recording::kButtonRight,
                                            grid.slotLeft(first) + midX, y);
                tab.gridEventSCDL_MouseMove(grid.slotLeft(last) + midX, y);
                tab.gridEventSCDL_MouseUp(grid.slotLeft(last) + midX, y);
            }
            first = last + 1;
        }
    }
}

size_t scheduleRow(const EventScheduleTab& tab, int32_t ch) {
    for (size_t r = 0; r < tab.gridEventSCDL_CHList.size(); ++r)
        if (tab.gridEventSCDL_CHList[r].ch == ch) return r;
    return tab.gridEventSCDL_CHList.size();
}

// Each changed week is painted once; the channels that take the same week are marked with the
// first of them and saved together.
void stageSchedule(const Json& value, const EventTables& loaded, EventRun& run, Stage& stage) {
    if (!value.is_array()) throw DocumentError("strEventSCDL: expected a list of weeks");
    std::set<int32_t> seen;
    std::vector<std::pair<Week, std::vector<int32_t>>> weeks;
    for (size_t i = 0; i < value.size(); ++i) {
        const std::string where = "strEventSCDL[" + std::to_string(i) + "]";
        const Json& o = value[i];
        if (!o.is_object()) throw DocumentError(where + ": expected the week of a channel");
        const int32_t ch = channelOf(o, where);
        if (!seen.insert(ch).second) throw DocumentError(where + ": channel " + std::to_string(ch) + " appears twice");
        for (const auto& [key, v] : o.items())
            if (key != "CH" && key != "Day") throw DocumentError(where + ": " + key + " is no field of a week");
        if (!o.contains("Day")) continue;
        const Json& days = o.at("Day");
        if (!days.is_array() || days.size() != recording::kDays)
            throw DocumentError(where + ".Day: expected seven day strings, Sunday first");
        const std::string who = "channel " + std::to_string(ch);
        Week want;
        for (size_t d = 0; d < want.size(); ++d) {
            want[d] = textOf(days[d], where + ".Day[" + std::to_string(d) + "]");
            const std::string day = who + ", day " + std::to_string(d) + ": ";
            const std::string form = "; a day is 96 quarter hours, each \"0\" or \"1\"";
            if (want[d].size() != static_cast<size_t>(recording::kSlotsPerDay))
                return stage.refuse(where, day + std::to_string(want[d].size()) + " characters" + form);
            if (const size_t bad = want[d].find_first_not_of("01"); bad != std::string::npos)
                return stage.refuse(where, day + "\"" + want[d].substr(bad, 1) + "\" at quarter hour " +
                                               std::to_string(bad + 1) + form);
        }
        if (!configured(run.channels, ch))
            return stage.refuse(where, who + ": the schedule lists only the channels that have a camera");
        if (want == shownWeek(loaded.strEventSCDL[static_cast<size_t>(ch - 1)])) continue;
        const auto same = std::find_if(weeks.begin(), weeks.end(), [&](const auto& w) { return w.first == want; });
        if (same == weeks.end()) weeks.push_back({want, {ch}});
        else same->second.push_back(ch);
    }
    EventScheduleTab& tab = run.schedule;
    tab.Refresh();
    for (auto& [week, chs] : weeks) {
        std::sort(chs.begin(), chs.end());
        const std::string where = "strEventSCDL (CH " + std::to_string(chs.front()) + ")";
        stage.prompter.boxes.clear();
        if (!tab.gridEventSCDL_CHList_Click(scheduleRow(tab, chs.front())))
            return stage.refuse(where, stage.prompter.last("the channel cannot be chosen"));
        paintWeek(tab, week);
        for (size_t k = 1; k < chs.size(); ++k) tab.markChannel(scheduleRow(tab, chs[k]), true);
        stage.prompter.boxes.clear();
        if (!tab.imgEventSCDLbtn_Click(EventScheduleTab::kSave))
            return stage.refuse(where, stage.prompter.last("the week cannot be saved"));
        for (int32_t ch : chs)
            if (run.scratch.strEventSCDL[static_cast<size_t>(ch - 1)].Day != week)
                return stage.refuse(where, "the page did not save the week of channel " + std::to_string(ch));
    }
}

// ---- the sends ----

void copyList(int kind, int32_t ch, const EventTables& from, EventTables& to) {
    switch (kind) {
        case kGroups: to.strEventGroup = from.strEventGroup; return;
        case kActions: to.strEventAction = from.strEventAction; return;
        case kSchedule: to.strEventSCDL[static_cast<size_t>(ch - 1)] = from.strEventSCDL[static_cast<size_t>(ch - 1)]; return;
        default: withKind(kind, [&](const auto& dk) { to.*dk.list = from.*dk.list; });
    }
}

std::string commandOf(int kind, int32_t ch, const EventTables& t) {
    switch (kind) {
        case kGroups: return Set_EventGroup_XML(t.strEventGroup);
        case kActions: return Set_EventAction_XML(t.strEventAction);
        case kSchedule: return Set_EventSCDL_XML(t.strEventSCDL[static_cast<size_t>(ch - 1)]);
        default: return SetCommandOf(t, kind);
    }
}

bool differs(int kind, const EventTables& a, const EventTables& b, int32_t ch = 0) {
    return commandOf(kind, ch, a) != commandOf(kind, ch, b);
}

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

// An action runs a group that `service` does not hold.
bool runsMissing(const EventActionList& actions, const EventTables& service) {
    return std::any_of(actions.begin(), actions.end(), [&](const A& a) {
        return listed(a) && !findId(service.strEventGroup, a.ActionGroup);
    });
}

// The shell's save order: the lists, the groups, each changed week, the actions. When a removed
// destination was named by a group the service holds, the groups go first, with only the lists
// the new groups need ahead of them (as they stood before the removals that waited for the
// groups). When a removed group was run by an action the service holds, the actions go before
// the groups, with the groups ahead of them only when the new actions run a new group (then as
// they stood before the removals that waited for the actions).
std::vector<EventSend> decideSends(const EventTables& loaded, const EventRun& run) {
    const EventTables& staged = run.scratch;
    std::vector<EventSend> out;
    // Every late removal is of a destination a loaded group named, or of a group a loaded action ran.
    const bool groupsFirst = !run.lateRemovals.empty() && differs(kGroups, staged, loaded);
    const bool actionsFirst = !run.lateGroupRemovals.empty() && differs(kActions, staged, loaded);
    EventTables sent = loaded;
    const auto send = [&](int kind, const EventTables& after, int32_t ch = 0) {
        if (!differs(kind, after, sent, ch)) return;
        EventSend s{kind, ch, sent, sent};
        copyList(kind, ch, after, s.after);
        copyList(kind, ch, after, sent);
        out.push_back(std::move(s));
    };
    for (int kind = 0; kind < kKindCount; ++kind)
        if (!groupsFirst || namesMissing(staged.strEventGroup, kind, sent))
            send(kind, groupsFirst ? run.beforeGroups : staged);
    if (actionsFirst) {
        if (runsMissing(staged.strEventAction, sent)) send(kGroups, run.beforeGroupRemovals);
        send(kActions, staged);
    }
    send(kGroups, staged);
    for (int kind = 0; kind < kKindCount; ++kind) send(kind, staged);
    for (int32_t ch = 1; ch <= static_cast<int32_t>(staged.strEventSCDL.size()); ++ch) send(kSchedule, staged, ch);
    send(kActions, staged);
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

void planActions(const EventSend& s, const EventRun& run, std::vector<std::string>& out) {
    const EventActionList& before = s.before.strEventAction;
    const EventActionList& after = s.after.strEventAction;
    for (const A& a : before)
        if (listed(a) && !findAction(after, a.CH, a.Event))
            out.push_back("removes event action " + run.actionName(a.CH, a.Event));
    for (const A& a : after) {
        const A* was = listed(a) ? findAction(before, a.CH, a.Event) : nullptr;
        if (!was) continue;
        const std::string fields = app::ChangedFields(actionJson(*was), actionJson(a));
        if (!fields.empty()) out.push_back("changes event action " + run.actionName(a.CH, a.Event) + ": " + fields);
    }
    for (const A& a : after)
        if (listed(a) && !findAction(before, a.CH, a.Event))
            out.push_back("adds event action " + run.actionName(a.CH, a.Event));
}

std::string planWeek(const EventSend& s) {
    const size_t i = static_cast<size_t>(s.ch - 1);
    const Week was = shownWeek(s.before.strEventSCDL[i]), now = shownWeek(s.after.strEventSCDL[i]);
    std::vector<std::string> days;
    for (size_t d = 0; d < was.size(); ++d)
        if (was[d] != now[d]) days.push_back(std::to_string(d));
    std::string list;
    for (const std::string& d : days) list += (list.empty() ? "" : ", ") + d;
    return "changes the event schedule of channel " + std::to_string(s.ch) + ": " +
           (days.size() == 1 ? "day " : "days ") + list;
}

}  // namespace

EventDocument::EventDocument(EventTables& tables, const channels::ChannelTables& channels,
                             std::span<const base::EventTypeName> types, const pos::POSTriggerEventList& triggers)
    : tables_(tables), channels_(channels), types_(types), triggers_(triggers) {}
EventDocument::~EventDocument() = default;

std::vector<std::string> EventDocument::names() const {
    std::vector<std::string> out;
    forEachKind([&](const auto& dk) { out.push_back(dk.section); });
    out.push_back("strEventGroup");
    out.push_back("strEventAction");
    out.push_back("strEventSCDL");
    return out;
}

void EventDocument::dump(Json& doc, const app::DumpForm& form) const {
    forEachKind([&](const auto& dk) { doc[dk.section] = listJson(dk, tables_.*dk.list, form); });
    doc["strEventGroup"] = groupsJson(tables_.strEventGroup);
    doc["strEventAction"] = actionsJson(tables_.strEventAction);
    doc["strEventSCDL"] = weeksJson(tables_.strEventSCDL, channels_);
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
    const auto sectionChanged = [&](const char* name) {
        return doc.contains(name) && !app::SameValue(doc.at(name), loaded.at(name));
    };
    const bool groupsChanged = sectionChanged("strEventGroup");
    const bool actionsChanged = sectionChanged("strEventAction");
    const bool scheduleChanged = sectionChanged("strEventSCDL");
    if (!any && !groupsChanged && !actionsChanged && !scheduleChanged) return;
    run_ = std::make_unique<EventRun>(tables_, channels_, types_, triggers_, stage);
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
    // New groups are there to be chosen; a removed group still is, until its actions have gone.
    if (actionsChanged) stageActions(doc.at("strEventAction"), tables_, run, stage);
    if (stage.refused()) return;
    removeLateGroups(run, tables_, stage);
    if (stage.refused()) return;
    removeLate(run, tables_, stage);
    if (stage.refused()) return;
    if (scheduleChanged) stageSchedule(doc.at("strEventSCDL"), tables_, run, stage);
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
        else if (s.kind == kActions) planActions(s, *run_, out);
        else if (s.kind == kSchedule) out.push_back(planWeek(s));
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
        const int32_t ch = s.ch;
        const EventTables after = s.after;
        out.push_back({sectionOf(kind, ch), commandOf(kind, ch, after),
                       [&link, kind, ch, after](std::string& reply) {
                           switch (kind) {
                               case kGroups: return SaveEventGroup_Setting(link, after.strEventGroup, &reply);
                               case kActions: return SaveEventAction_Setting(link, after.strEventAction, &reply);
                               case kSchedule:
                                   return Save_EventSCDL(link, after.strEventSCDL[static_cast<size_t>(ch - 1)], &reply);
                               default: return Save_EventListenServer(link, after, kind, &reply);
                           }
                       },
                       [&tables, kind, ch, after] { copyList(kind, ch, after, tables); }});
    }
}

}  // namespace kv::events
