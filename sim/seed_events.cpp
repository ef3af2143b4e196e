// Event handling: destinations (32772, 32773, 32774, 32805, 32780, 32799), action groups (32778),
// event actions (32777) and the event schedule (32809); and the writes that replace a destination
// list or the action groups, stored in the form the client writes them.
#include <charconv>
#include <optional>
#include <set>
#include <utility>

#include "sim/seed_internal.h"
#include "sim/updates.h"

namespace kv::sim::seed {
namespace {

// How the client writes a list: the list and entry elements and, for the two kinds whose entry
// carries a text (a sound's path, a group's name), what stands between the attributes and the
// text; entries of the other kinds close with " />".
struct ListForm {
    const char* list;
    const char* entry;
    const char* beforeText;  // nullptr: attributes only
};
constexpr ListForm kMailForm{"MailList", "Mail", nullptr};
constexpr ListForm kFtpForm{"FTPList", "FTP", nullptr};
constexpr ListForm kHttpForm{"HTTPList", "HTTP", nullptr};
constexpr ListForm kTcpForm{"TCPList", "TCP", nullptr};
constexpr ListForm kSoundForm{"FilePathList", "FilePath", ">"};
constexpr ListForm kSopForm{"SOPList", "SOP", nullptr};
constexpr ListForm kGroupForm{"ActionGroupList", "ActionGroup", " >"};
constexpr const ListForm* kForms[] = {&kMailForm, &kFtpForm,  &kHttpForm, &kTcpForm,
                                      &kSoundForm, &kSopForm, &kGroupForm};

// Entries a destination list holds at most, as a recorder keeps them (the client's Add stops at
// ten); the action groups have no such limit.
constexpr size_t kMaxEntries = 10;

// One entry: its attributes in the order written, and its text for the kinds that have one.
struct Entry {
    using Attrs = std::vector<std::pair<std::string, std::string>>;
    Entry(Attrs a = {}, std::string t = {}) : attrs(std::move(a)), text(std::move(t)) {}
    Attrs attrs;
    std::string text;
};

std::string listText(const ListForm& form, const std::vector<Entry>& entries) {
    std::string out;
    for (const Entry& e : entries) {
        out += "<" + std::string(form.entry);
        for (const auto& [name, value] : e.attrs) out += attr(name, value);
        if (!form.beforeText) {
            out += " />";
        } else {
            out += form.beforeText + esc(e.text) + "</" + form.entry + ">";
        }
    }
    return wrap(form.list, out);
}

std::string n(int64_t v) { return std::to_string(v); }

const char* const kMailContent =
    "Event Trigger Mail Time : [$EVT_DATE$] A event $EVT_NAME$ is triggered @ channel $EVT_CH$ and trigger "
    "ID=$EVT_TRGID$";
const char* const kFtpContent =
    "Time : [$EVT_DATE$] - A event $EVT_NAME$ is triggered @ channel $EVT_CH$ and trigger ID=$EVT_TRGID$ !";

// An office relay with an account, and a relay that takes mail without one.
std::string mailList() {
    struct Mail {
        int id;
        const char *senderName, *senderMail, *server;
        int port;
        const char *user, *password, *receiverName, *receiverMail, *subject;
        int pic, avi;
    };
    const Mail list[] = {
        {1, "R&D Recorder", "nvr@office.example.com", "mail.office.example.com", 25, "nvr", "m@il&1",
         "Security Desk", "security@office.example.com", "<urgent> $EVT_NAME$ on CH $EVT_CH$", 1, 0},
        {2, "Kelvarra Server", "nvr@example.net", "relay.example.net", 25, "", "", "Facility Manager",
         "facility@example.net", "Event $EVT_NAME$ at $EVT_DATE$ (trigger $EVT_TRGID$)", 0, 1},
    };
    std::vector<Entry> entries;
    for (const Mail& m : list) {
        entries.push_back({{{"ID", n(m.id)}, {"SenderName", m.senderName}, {"SenderMail", m.senderMail},
                            {"Server", m.server}, {"Port", n(m.port)}, {"UserName", m.user},
                            {"Password", m.password}, {"ReceiverName", m.receiverName},
                            {"ReceiverMail", m.receiverMail}, {"Subject", m.subject}, {"Content", kMailContent},
                            {"AttachPic", n(m.pic)}, {"AttachAvi", n(m.avi)}}});
    }
    return listText(kMailForm, entries);
}

// File names as the client leaves them after its check: "$EVT_DATE1$" and ".txt" at the end.
std::string ftpList() {
    struct Ftp {
        int id;
        const char *server;
        int port;
        const char *user, *password, *path;
        int passive;
        const char *fileName, *content;
        int pic;
    };
    const Ftp list[] = {
        {1, "ftp.example.com", 21, "upload", "ftp-pass", "/events", 1,
         "Kelvarra 64_Channel $EVT_CH$_$EVT_DATE1$_ID_$EVT_TRGID$.txt", kFtpContent, 1},
        {2, "192.168.10.7", 2121, "archive", "arch&ive", "/R&D/snapshots", 0, "CH$EVT_CH$_$EVT_DATE1$.txt",
         "Event $EVT_NAME$ on channel $EVT_CH$ at $EVT_DATE$", 0},
    };
    std::vector<Entry> entries;
    for (const Ftp& f : list) {
        entries.push_back({{{"ID", n(f.id)}, {"Server", f.server}, {"Port", n(f.port)}, {"UserName", f.user},
                            {"Password", f.password}, {"UploadPath", f.path}, {"Passive", n(f.passive)},
                            {"FileName", f.fileName}, {"Content", f.content}, {"AttachPic", n(f.pic)}}});
    }
    return listText(kFtpForm, entries);
}

std::string httpList() {
    return listText(kHttpForm, {{{{"ID", "1"}, {"Server", "192.168.10.5"}, {"Port", "80"}, {"UserName", "hook"},
                                  {"Password", "h00k"}, {"Content", "TEST MESSAGE !"}}},
                                {{{"ID", "2"}, {"Server", "alarm.example.com"}, {"Port", "8080"},
                                  {"UserName", "kelvarra"}, {"Password", ""},
                                  {"Content", "ALARM > desk: $EVT_NAME$"}}}});
}

std::string tcpList() {
    return listText(kTcpForm, {{{{"ID", "1"}, {"Server", "192.168.10.6"}, {"Port", "5000"}}}});
}

// The sounds lie on the service's machine.
std::string soundList() {
    return listText(kSoundForm, {{{{"ID", "1"}, {"Description", "Alarm"}}, "C:\\Sounds\\alarm.wav"},
                                 {{{"ID", "2"}, {"Description", "Door chime"}}, "C:\\Sounds\\chime.wav"}});
}

std::string sopList() {
    return listText(kSopForm, {{{{"ID", "1"}, {"Contact", "Security Desk"}, {"Phone", "+44 20 7946 0000"},
                                 {"Note", "Staffed 24/7"}}},
                               {{{"ID", "2"}, {"Contact", "Facility Manager"}, {"Phone", "+44 20 7946 0001"},
                                 {"Note", "Call first, then mail"}}},
                               {{{"ID", "3"}, {"Contact", "R&D Lab"}, {"Phone", "+44 20 7946 0002"},
                                 {"Note", "Ask for the \"duty engineer\""}}}});
}

// One kind of action of a group: its flag and its destination's ID (0: none). The client writes a
// destination only with its flag on; a group the recorder stored otherwise keeps one with the flag
// off, and that still keeps the client from removing the destination.
struct Use {
    bool on = false;
    int dest = 0;
};

struct Group {
    int id;
    const char* name;
    bool record;
    Use ftp, mail, http, tcp, sound;
    bool osd;
    Use sop;
};

Entry groupEntry(const Group& g) {
    const auto flag = [](bool on) { return std::string(on ? "1" : "0"); };
    Entry e{{{"ID", n(g.id)}, {"Record", flag(g.record)}, {"FTP", flag(g.ftp.on)}, {"Mail", flag(g.mail.on)},
             {"HTTP", flag(g.http.on)}, {"TCP", flag(g.tcp.on)}, {"Sound", flag(g.sound.on)}, {"OSD", flag(g.osd)},
             {"SOP", flag(g.sop.on)}},
            g.name};
    // The client's order: SOPDest before SoundDest.
    const std::pair<const char*, Use> dests[] = {{"FtpDest", g.ftp}, {"MailDest", g.mail}, {"HTTPDest", g.http},
                                                 {"TcpDest", g.tcp}, {"SOPDest", g.sop},   {"SoundDest", g.sound}};
    for (const auto& [name, use] : dests)
        if (use.dest) e.attrs.emplace_back(name, n(use.dest));
    if (g.osd) e.attrs.emplace_back("OSDText", "Event Trigger");
    e.attrs.emplace_back("SoundDuration", "10");
    return e;
}

// Every kind of destination in use; FTP 2 and HTTP 2 only by group 4 with the flag off; contact 3
// in no group, so that it can be removed.
std::string actionGroups() {
    const Group list[] = {
        {1, "Record only", true, {}, {}, {}, {}, {}, false, {}},
        {2, "Alarm mail", true, {}, {true, 1}, {}, {}, {true, 1}, false, {}},
        {3, "Full response", true, {true, 1}, {true, 2}, {true, 1}, {true, 1}, {true, 2}, true, {true, 1}},
        {4, "R&D night desk", false, {false, 2}, {true, 1}, {false, 2}, {}, {}, false, {true, 2}},
    };
    std::vector<Entry> entries;
    for (const Group& g : list) entries.push_back(groupEntry(g));
    return listText(kGroupForm, entries);
}

std::string eventActions() {
    struct Action {
        int ch;
        const char* event;
        int group, trigger, digitalOut, preset, doId, doState, doDuration, presetDest;
    };
    // Digital outputs only on cameras that have them (1 and the encoder's 13), presets only on PTZ (3);
    // 4110 is the first POS trigger event (4109 + its id 1).
    const Action list[] = {
        {1, "1", 2, 0, 1, 0, 1, 1, 2, 0},  {1, "2001", 1, -1, 0, 0, 0, 0, 0, 0},
        {2, "2001", 1, -1, 0, 0, 0, 0, 0, 0}, {3, "2001", 3, -1, 0, 1, 0, 0, 0, 2},
        {5, "2", 2, 0, 0, 0, 0, 0, 0, 0},  {5, "2002", 3, -1, 0, 0, 0, 0, 0, 0},
        {6, "2001", 4, -1, 0, 0, 0, 0, 0, 0}, {8, "4001", 1, -1, 0, 0, 0, 0, 0, 0},
        {9, "4110", 4, 1, 0, 0, 0, 0, 0, 0}, {13, "1", 2, 2, 1, 0, 2, 0, 1, 0},
    };
    std::string out;
    for (const Action& a : list) {
        out += "<Action" + attr("CH", a.ch) + attr("Event", a.event) + attr("ActionGroup", a.group) +
               attr("TriggerID", a.trigger) + attr("DigitalOut", a.digitalOut) + attr("Preset", a.preset) +
               attr("DigitalOutID", a.doId) + attr("DigitalOutState", a.doState) + attr("DODuration", a.doDuration) +
               attr("PresetDest", a.presetDest) + " />";
    }
    return wrap("ActionList", out);
}

std::string eventSchedule() {
    // The indoor cameras raise events outside office hours only (weekdays 07:00 to 19:00 off).
    std::string night = dayString(0, 96);
    for (int i = 28; i < 76; ++i) night[static_cast<size_t>(i)] = '0';
    const std::string allDay = dayString(0, 96);
    std::string out;
    for (int ch = 1; ch <= 64; ++ch) {
        const bool office = ch >= 4 && ch <= 7;
        for (int day = 0; day < 7; ++day) {
            const bool weekday = day >= 1 && day <= 5;
            out += "<Enable" + attr("CH", ch) + attr("Day", day) + ">" + (office && weekday ? night : allDay) +
                   "</Enable>";
        }
    }
    return wrap("EnableList", out);
}

// The ID of an entry: a whole number 1..32767, the range of the client's records.
std::optional<int> entryId(std::string_view text) {
    int v = 0;
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), v);
    if (text.empty() || ec != std::errc() || end != text.data() + text.size() || v < 1 || v > 32767)
        return std::nullopt;
    return v;
}

}  // namespace

void addEventDocuments(Documents& docs, bool demo) {
    docs.emplace_back("32772", demo ? mailList() : listText(kMailForm, {}));
    docs.emplace_back("32773", demo ? ftpList() : listText(kFtpForm, {}));
    docs.emplace_back("32774", demo ? httpList() : listText(kHttpForm, {}));
    docs.emplace_back("32805", demo ? tcpList() : listText(kTcpForm, {}));
    docs.emplace_back("32780", demo ? soundList() : listText(kSoundForm, {}));
    docs.emplace_back("32799", demo ? sopList() : listText(kSopForm, {}));
    docs.emplace_back("32778", demo ? actionGroups() : listText(kGroupForm, {}));
    docs.emplace_back("32777", demo ? eventActions() : wrap("ActionList", ""));
    docs.emplace_back("32809", demo ? eventSchedule() : wrap("EnableList", ""));
}

}  // namespace kv::sim::seed

namespace kv::sim::update {

Documents eventList(const CommandRow& row, pugi::xml_node p, const DocumentLookup&) {
    using namespace seed;
    const ListForm* form = nullptr;
    for (const ListForm* f : kForms)
        if (row.elements == f->list) form = f;
    const pugi::xml_node list = form ? p.child(form->list) : pugi::xml_node();
    if (!list) return {};
    // Elements other than the kind's entries are not the client's and are not kept.
    std::vector<Entry> entries;
    std::set<int> ids;
    for (const pugi::xml_node e : list.children(form->entry)) {
        const std::optional<int> id = entryId(e.attribute("ID").value());
        const bool full = form != &kGroupForm && entries.size() == kMaxEntries;
        if (!id || !ids.insert(*id).second || full) return {};
        Entry entry;
        for (const pugi::xml_attribute a : e.attributes()) entry.attrs.emplace_back(a.name(), a.value());
        if (form->beforeText) entry.text = e.text().get();
        entries.push_back(std::move(entry));
    }
    return {{std::string(row.key), listText(*form, entries)}};
}

}  // namespace kv::sim::update
