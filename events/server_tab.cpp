// The "Server Setting" tab: one table describes the six destination kinds (their list, columns,
// boxes, required boxes, number boxes, defaults, and the group field that names them); the tab's
// logic runs over it.
#include "events/server_tab.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>

#include "base/text.h"
#include "events/save.h"

namespace kv::events {
namespace {

constexpr int kBackspace = 8, kTab = 9, kEnter = 13, kEscape = 27;

// Where a column is edited: a text box or a check box of the frame, by index.
struct Control {
    bool check = false;
    int index = 0;
};
constexpr Control Box(int i) { return {false, i}; }
constexpr Control Chk(int i) { return {true, i}; }

// What a frame holds.
struct Form {
    std::vector<std::string> boxes;
    std::vector<bool> checks;
};

template <class R>
using Member = std::variant<int16_t R::*, int32_t R::*, std::string R::*>;

// One grid column: its title, where it is edited, and the record member it lands in.
template <class R>
struct Column {
    Control control;
    Member<R> member;
    int32_t caption = 0;            // text id of the title
    const char* literal = nullptr;  // a title without a text id
    bool secret = false;            // masked in the grid
};

template <class R>
std::string textOf(const R& r, const Member<R>& m) {
    return std::visit(
        [&r](auto p) -> std::string {
            if constexpr (std::is_same_v<std::remove_cvref_t<decltype(r.*p)>, std::string>) return r.*p;
            else return std::to_string(r.*p);
        },
        m);
}

template <class R>
void setText(R& r, const Member<R>& m, const std::string& text) {
    std::visit(
        [&](auto p) {
            using T = std::remove_cvref_t<decltype(r.*p)>;
            if constexpr (std::is_same_v<T, std::string>) {
                r.*p = text;
            } else {
                using L = std::numeric_limits<T>;
                r.*p = static_cast<T>(std::clamp<int64_t>(base::LeadingNumber(text), L::min(), L::max()));
            }
        },
        m);
}

// One kind's list in the tables, whatever its record type.
class ListAccess {
public:
    virtual ~ListAccess() = default;
    virtual std::vector<std::string> titles(const base::Language& lang) const = 0;
    /// The ids of the entries shown (above 0, not removed), in list order.
    virtual std::vector<int16_t> ids(const EventTables& t) const = 0;
    virtual int indexOf(const EventTables& t, int16_t id) const = 0;
    virtual Form read(const EventTables& t, int16_t id) const = 0;
    virtual std::vector<std::string> row(const EventTables& t, int16_t id) const = 0;
    /// The entry of the form's id takes the form and is marked changed; a new id is appended
    /// (in place of the blank record of an empty list).
    virtual void write(EventTables& t, const Form& f) const = 0;
    virtual bool setRemoved(EventTables& t, int16_t id, bool removed) const = 0;
    /// Drops removed entries; an emptied list keeps its blank record.
    virtual void dropRemoved(EventTables& t) const = 0;
    virtual void copy(const EventTables& from, EventTables& to) const = 0;
};

template <class R>
class ListOf final : public ListAccess {
public:
    ListOf(std::vector<R> EventTables::*array, std::vector<Column<R>> columns)
        : array_(array), columns_(std::move(columns)) {
        for (const Column<R>& c : columns_) (c.control.check ? checkCount_ : boxCount_)++;
    }

    std::vector<std::string> titles(const base::Language& lang) const override {
        std::vector<std::string> out;
        for (const Column<R>& c : columns_) out.push_back(c.literal ? c.literal : lang.GetText(c.caption));
        return out;
    }
    std::vector<int16_t> ids(const EventTables& t) const override {
        std::vector<int16_t> out;
        for (const R& r : t.*array_)
            if (shown(r)) out.push_back(r.ID);
        return out;
    }
    int indexOf(const EventTables& t, int16_t id) const override {
        const std::vector<R>& list = t.*array_;
        for (size_t i = 0; i < list.size(); ++i)
            if (shown(list[i]) && list[i].ID == id) return static_cast<int>(i);
        return -1;
    }
    Form read(const EventTables& t, int16_t id) const override {
        Form f{std::vector<std::string>(boxCount_), std::vector<bool>(checkCount_)};
        const int i = indexOf(t, id);
        if (i < 0) return f;
        const R& r = (t.*array_)[static_cast<size_t>(i)];
        for (const Column<R>& c : columns_) {
            const std::string text = textOf(r, c.member);
            if (c.control.check) f.checks[c.control.index] = base::LeadingNumber(text) != 0;
            else f.boxes[c.control.index] = text;
        }
        return f;
    }
    std::vector<std::string> row(const EventTables& t, int16_t id) const override {
        const int i = indexOf(t, id);
        std::vector<std::string> out;
        if (i < 0) return out;
        const R& r = (t.*array_)[static_cast<size_t>(i)];
        for (const Column<R>& c : columns_) {
            const std::string text = textOf(r, c.member);
            out.push_back(c.secret && !text.empty() ? kPasswordMask : text);
        }
        return out;
    }
    void write(EventTables& t, const Form& f) const override {
        std::vector<R>& list = t.*array_;
        const auto id = static_cast<int16_t>(base::LeadingNumber(f.boxes[0]));
        int i = indexOf(t, id);
        if (i < 0) {
            if (list.size() == 1 && list[0].ID < 1) list.clear();
            list.emplace_back();
            i = static_cast<int>(list.size()) - 1;
        }
        R& r = list[static_cast<size_t>(i)];
        for (const Column<R>& c : columns_) {
            const size_t k = static_cast<size_t>(c.control.index);
            setText(r, c.member, c.control.check ? (f.checks[k] ? "1" : "0") : f.boxes[k]);
        }
        r.Changed = true;
    }
    bool setRemoved(EventTables& t, int16_t id, bool removed) const override {
        for (R& r : t.*array_) {
            if (r.ID > 0 && r.ID == id) {
                r.Removed = removed;
                return true;
            }
        }
        return false;
    }
    void dropRemoved(EventTables& t) const override {
        std::vector<R>& list = t.*array_;
        std::erase_if(list, [](const R& r) { return r.Removed; });
        if (list.empty()) list.emplace_back();
    }
    void copy(const EventTables& from, EventTables& to) const override { to.*array_ = from.*array_; }

private:
    static bool shown(const R& r) { return r.ID > 0 && !r.Removed; }

    std::vector<R> EventTables::*array_;
    std::vector<Column<R>> columns_;
    size_t boxCount_ = 0;
    size_t checkCount_ = 0;
};

// A destination kind as data.
struct KindInfo {
    const ListAccess& list;
    std::vector<int> required;    // boxes that may not be blank at a save
    std::vector<int> digitsOnly;  // boxes that take digits only
    std::vector<std::pair<int, std::string>> defaults;  // of a new entry; other boxes start empty
    int fileNameBox = -1;         // a file name template, normalised at the commit
    int16_t EventGroupRecord::*dest = nullptr;  // the group field that names an entry
};

const char* const kMailContent =
    "Event Trigger Mail "
    "Time : [$EVT_DATE$] "
    "A event $EVT_NAME$ is triggered @ channel $EVT_CH$ and trigger ID=$EVT_TRGID$";
const char* const kFtpFileName = "Kelvarra 64_Channel $EVT_CH$_$EVT_DATE1$_ID_$EVT_TRGID$";
const char* const kFtpContent =
    "Time : [$EVT_DATE$] - A event $EVT_NAME$ is triggered @ channel $EVT_CH$ and trigger ID=$EVT_TRGID$ !";

const KindInfo& KindOf(int kind) {
    using M = MailServerRecord;
    using F = FTPServerRecord;
    using H = HTTPServerRecord;
    using T = TCPServerRecord;
    using W = SoundFileRecord;
    using S = SOPContactRecord;
    // Columns in grid order, which is also the wire order.
    static const ListOf<M> mail(&EventTables::strMailServer,
                                {{Box(0), &M::ID, 0, "ID"}, {Box(1), &M::SenderName, 232},
                                 {Box(2), &M::SenderMail, 233}, {Box(3), &M::Server, 234}, {Box(4), &M::Port, 326},
                                 {Box(5), &M::UserName, 168}, {Box(6), &M::Password, 11, nullptr, true},
                                 {Box(7), &M::ReceiverName, 237}, {Box(8), &M::ReceiverMail, 238},
                                 {Box(9), &M::Subject, 239}, {Box(10), &M::Content, 236},
                                 {Chk(0), &M::AttachPic, 244}, {Chk(1), &M::AttachAvi, 0, "avi :"}});
    static const ListOf<F> ftp(&EventTables::strFTPServer,
                               {{Box(0), &F::ID, 0, "ID"}, {Box(1), &F::Server, 240}, {Box(2), &F::Port, 326},
                                {Box(3), &F::UserName, 168}, {Box(4), &F::Password, 11, nullptr, true},
                                {Box(5), &F::UploadPath, 241}, {Chk(0), &F::Passive, 242},
                                {Box(6), &F::FileName, 243}, {Box(7), &F::Content, 236},
                                {Chk(1), &F::AttachPic, 244}});
    static const ListOf<H> http(&EventTables::strHTTPServer,
                                {{Box(0), &H::ID, 0, "ID"}, {Box(1), &H::Server, 245}, {Box(2), &H::Port, 326},
                                 {Box(3), &H::UserName, 168}, {Box(4), &H::Password, 11, nullptr, true},
                                 {Box(5), &H::Content, 246}});
    static const ListOf<T> tcp(&EventTables::strTCPServer,
                               {{Box(0), &T::ID, 0, "ID"}, {Box(1), &T::Server, 245}, {Box(2), &T::Port, 326}});
    static const ListOf<W> sound(&EventTables::strSoundFile,
                                 {{Box(0), &W::ID, 0, "ID"}, {Box(1), &W::Description, 151},
                                  {Box(2), &W::FilePath, 231}});
    static const ListOf<S> sop(&EventTables::strSOPContact,
                               {{Box(0), &S::ID, 0, "ID"}, {Box(1), &S::Contact, 92}, {Box(2), &S::Phone, 98},
                                {Box(3), &S::Note, 99}});
    using G = EventGroupRecord;
    // List, required boxes, digit boxes, defaults, file name box, group field. A mail server may
    // take no login at all, an FTP server a user without a password.
    static const std::array<KindInfo, kKindCount> kinds = {{
        {mail, {0, 1, 2, 3, 4, 7, 8}, {4}, {{4, "25"}, {10, kMailContent}}, -1, &G::MailDest},
        {ftp, {0, 1, 2, 3, 5, 6, 7}, {2}, {{2, "21"}, {5, "/"}, {6, kFtpFileName}, {7, kFtpContent}}, 6, &G::FtpDest},
        {http, {0, 1, 2, 3}, {2}, {{2, "80"}, {5, "TEST MESSAGE !"}}, -1, &G::HTTPDest},
        {tcp, {0, 1, 2}, {0, 2}, {}, -1, &G::TcpDest},
        {sound, {0, 1, 2}, {}, {}, -1, &G::SoundDest},
        {sop, {0, 1}, {}, {}, -1, &G::SOPDest},
    }};
    return kinds[static_cast<size_t>(kind)];
}

bool validKind(int kind) { return kind >= 0 && kind < kKindCount; }

bool contains(const std::vector<int>& list, int value) {
    return std::find(list.begin(), list.end(), value) != list.end();
}

// Digits only, and a value the 32-bit wire field holds; empty passes (the save's check catches it).
bool fitsNumber(std::string_view text) {
    if (!std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; })) return false;
    if (text.empty()) return true;
    int32_t value = 0;
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
    return ec == std::errc() && end == text.data() + text.size();
}

// The service fills "$EVT_DATE1$" with a date that may stand in a file name, and writes text files.
std::string NormaliseFileName(std::string name) {
    constexpr std::string_view from = "$EVT_DATE$", to = "$EVT_DATE1$";
    for (size_t pos = name.find(from); pos != std::string::npos; pos = name.find(from, pos + to.size()))
        name.replace(pos, from.size(), to);
    if (!name.ends_with(".txt")) name += ".txt";
    return name;
}

}  // namespace

ServerSettingTab::ServerSettingTab(EventTables& tables, link::ServiceLink& link, app::Prompter& prompter,
                                   const base::Language& lang, std::string title)
    : tables_(tables), link_(link), prompter_(prompter), lang_(lang), title_(std::move(title)) {
    Refresh();
}

std::span<app::TextField> ServerSettingTab::boxes(int kind) {
    switch (kind) {
    case kMail: return txtEventMail;
    case kFTP: return txtEventFTP;
    case kHTTP: return txtEventHTTP;
    case kTCP: return txtEventTcp;
    case kWarning: return txtEventWarning;
    case kSOP: return txtEventSOP;
    default: return {};
    }
}

std::span<const app::TextField> ServerSettingTab::boxes(int kind) const {
    return const_cast<ServerSettingTab*>(this)->boxes(kind);
}

std::span<bool> ServerSettingTab::checks(int kind) {
    switch (kind) {
    case kMail: return chkMail;
    case kFTP: return chkFTP;
    default: return {};
    }
}

void ServerSettingTab::Refresh() {
    KindOf(tabEventServerSetting).list.copy(tables_, working_);
    drawList();
    closeFrame();
    dirty_ = false;
}

void ServerSettingTab::drawList() {
    const ListAccess& list = KindOf(tabEventServerSetting).list;
    gridEventActionServer.assign(1, list.titles(lang_));
    rowIds_ = list.ids(working_);
    for (int16_t id : rowIds_) gridEventActionServer.push_back(list.row(working_, id));
}

void ServerSettingTab::clearFrames() {
    for (int kind = 0; kind < kKindCount; ++kind) {
        for (app::TextField& f : boxes(kind)) f = app::TextField{};
        boxes(kind)[0].enabled = false;  // the id is the model's to choose
        for (bool& c : checks(kind)) c = false;
    }
}

void ServerSettingTab::closeFrame() {
    clearFrames();
    frameEnabled = false;
    editRow = 0;
    focusBox = -1;
    cmdEvent = {false, false, canAdd(), false, false};
}

bool ServerSettingTab::canAdd() const { return rowIds_.size() < kMaxEntries; }

int16_t ServerSettingTab::newId() const {
    // The lowest free id: a freed one is used again.
    int16_t id = 1;
    while (std::find(rowIds_.begin(), rowIds_.end(), id) != rowIds_.end()) ++id;
    return id;
}

int ServerSettingTab::indexOf(int kind, int16_t id) const {
    return validKind(kind) && id > 0 ? KindOf(kind).list.indexOf(tables_, id) : -1;
}

bool ServerSettingTab::confirmLeave() {
    if (!dirty_) return true;
    if (prompter_.box(app::BoxKind::YesNo, lang_.GetText(server_text::kNotSaved), title_) == app::Answer::Yes)
        return save();  // a refused save keeps the tab where it is, edits and all
    drop();
    return true;
}

void ServerSettingTab::drop() { Refresh(); }

bool ServerSettingTab::tabEventServerSetting_Click(int kind) {
    if (busy || !validKind(kind) || !confirmLeave()) return false;
    tabEventServerSetting = kind;
    Refresh();
    return true;
}

bool ServerSettingTab::gridEventActionServer_MouseUp(int row) {
    if (busy || row < 1 || row > static_cast<int>(rowIds_.size()) || !confirmLeave()) return false;
    if (row > static_cast<int>(rowIds_.size())) return false;  // the dropped new entry
    const int kind = tabEventServerSetting;
    const Form f = KindOf(kind).list.read(working_, rowIds_[static_cast<size_t>(row - 1)]);
    clearFrames();
    std::span<app::TextField> b = boxes(kind);
    for (size_t i = 0; i < b.size(); ++i) b[i].text = f.boxes[i];
    std::span<bool> c = checks(kind);
    for (size_t i = 0; i < c.size(); ++i) c[i] = f.checks[i];
    frameEnabled = true;
    editRow = row;
    focusBox = -1;
    cmdEvent = {false, false, canAdd(), true, kind == kWarning};
    return true;
}

bool ServerSettingTab::txtEvent_Change(int kind, int box, const std::string& text) {
    if (busy || !frameOpen(kind)) return false;
    std::span<app::TextField> b = boxes(kind);
    if (box < 0 || box >= static_cast<int>(b.size()) || !b[box].enabled) return false;
    // A paste passes no key filter.
    if (contains(KindOf(kind).digitsOnly, box) && !fitsNumber(text)) return false;
    if (b[box].text == text) return true;  // the page echoing what the model set
    b[box].text = text;
    dirty_ = true;
    cmdEvent[kServerSave] = cmdEvent[kServerCancel] = true;
    return true;
}

bool ServerSettingTab::txtEvent_KeyPress(int kind, int box, int key) const {
    if (!validKind(kind) || box < 0 || box >= static_cast<int>(boxes(kind).size())) return false;
    if (key == kBackspace || key == kTab || key == kEnter || key == kEscape) return true;
    return !contains(KindOf(kind).digitsOnly, box) || (key >= '0' && key <= '9');
}

bool ServerSettingTab::chk_Click(int kind, int index, bool on) {
    if (busy || !frameOpen(kind)) return false;
    std::span<bool> c = checks(kind);
    if (index < 0 || index >= static_cast<int>(c.size())) return false;
    if (c[index] == on) return true;
    c[index] = on;
    dirty_ = true;
    cmdEvent[kServerSave] = cmdEvent[kServerCancel] = true;
    return true;
}

bool ServerSettingTab::cmdEvent_Click(int index) {
    if (busy || index < 0 || index >= static_cast<int>(cmdEvent.size()) || !cmdEvent[index]) return false;
    const int kind = tabEventServerSetting;
    switch (index) {
    case kServerSave: return save();
    case kServerCancel: drop(); return true;
    case kServerAdd:
        // The open entry's edits stay in the working list; blank required boxes would go out unchecked.
        if (frameEnabled && dirty_ && (!ChecServerkInput(kind) || !CommitServer(kind))) return false;
        return AddServer(kind);
    case kServerRemove: return removeEntry();
    default: return PlaySound();
    }
}

bool ServerSettingTab::AddServer(int kind) {
    if (kind != tabEventServerSetting || !canAdd()) return false;
    const KindInfo& k = KindOf(kind);
    const int16_t id = newId();
    clearFrames();
    std::span<app::TextField> b = boxes(kind);
    b[0].text = std::to_string(id);
    for (const auto& [box, text] : k.defaults) b[static_cast<size_t>(box)].text = text;
    Form f;
    for (const app::TextField& t : b) f.boxes.push_back(t.text);
    f.checks.assign(checks(kind).size(), false);
    k.list.write(working_, f);
    drawList();
    const auto row = std::find(rowIds_.begin(), rowIds_.end(), id) - rowIds_.begin();
    frameEnabled = true;
    editRow = static_cast<int>(row) + 1;
    focusBox = 1;
    cmdEvent = {true, true, false, false, kind == kWarning};
    dirty_ = true;  // the new entry is not on the service yet
    return true;
}

bool ServerSettingTab::ChecServerkInput(int kind) {
    if (!validKind(kind)) return false;
    const std::span<const app::TextField> b = boxes(kind);
    for (int box : KindOf(kind).required) {
        if (base::Trim(b[static_cast<size_t>(box)].text).empty()) {
            prompter_.box(app::BoxKind::Notice, lang_.GetText(server_text::kEmptyField), title_);
            return false;
        }
    }
    return true;
}

bool ServerSettingTab::CommitServer(int kind) {
    if (!frameOpen(kind)) return false;
    const KindInfo& k = KindOf(kind);
    std::span<app::TextField> b = boxes(kind);
    if (k.fileNameBox >= 0) {
        app::TextField& name = b[static_cast<size_t>(k.fileNameBox)];
        name.text = NormaliseFileName(name.text);
    }
    Form f;
    for (const app::TextField& t : b) f.boxes.push_back(t.text);
    for (bool c : checks(kind)) f.checks.push_back(c);
    k.list.write(working_, f);
    drawList();
    return true;
}

bool ServerSettingTab::save() {
    const int kind = tabEventServerSetting;
    if (frameEnabled && (!ChecServerkInput(kind) || !CommitServer(kind))) return false;
    busy = true;
    const bool ok = Save_EventListenServer(link_, working_, kind);
    busy = false;
    if (!ok) {
        prompter_.box(app::BoxKind::Notice, lang_.GetText(server_text::kSaveFailed), title_);
        return false;
    }
    KindOf(kind).list.copy(working_, tables_);
    cmdEvent[kServerSave] = cmdEvent[kServerCancel] = cmdEvent[kServerRemove] = false;
    cmdEvent[kServerAdd] = canAdd();
    dirty_ = false;
    if (onListsChanged) onListsChanged();
    return true;
}

bool ServerSettingTab::removeEntry() {
    const int kind = tabEventServerSetting;
    if (editRow < 1 || editRow > static_cast<int>(rowIds_.size())) return false;
    const int16_t id = rowIds_[static_cast<size_t>(editRow - 1)];
    if (CheckMailID(kind, id)) {
        prompter_.box(app::BoxKind::Notice, lang_.GetText(server_text::kInUse), title_);
        return false;
    }
    const ListAccess& list = KindOf(kind).list;
    // The tables stand for what the service holds; an entry never saved has nothing to remove there.
    if (!list.setRemoved(tables_, id, true)) return false;
    busy = true;
    const bool ok = Save_EventListenServer(link_, tables_, kind);
    busy = false;
    if (!ok) {
        list.setRemoved(tables_, id, false);
        prompter_.box(app::BoxKind::Notice, lang_.GetText(server_text::kSaveFailed), title_);
        return false;
    }
    list.dropRemoved(tables_);
    Refresh();
    if (onListsChanged) onListsChanged();
    return true;
}

bool ServerSettingTab::CheckMailID(int kind, int16_t id) const {
    if (!validKind(kind) || id < 1) return false;
    const auto dest = KindOf(kind).dest;
    // The kind's flag of the group is not looked at: a group switched off still names the entry.
    return std::any_of(tables_.strEventGroup.begin(), tables_.strEventGroup.end(),
                       [&](const EventGroupRecord& g) { return g.*dest == id; });
}

bool ServerSettingTab::PlaySound() {
    std::string problem;
    const std::string path = base::Trim(txtEventWarning[2].text);
    if (!player_) problem = lang_.GetText(sound_text::kNoPlayer);
    else if (problem = SoundFileProblem(path, lang_); problem.empty()) problem = player_->play(path);
    if (problem.empty()) return true;
    prompter_.box(app::BoxKind::Notice, problem, title_);
    return false;
}

}  // namespace kv::events
