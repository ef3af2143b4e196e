// The sections "strUser" and "strUserGroup" of kelvarra-ctl's documents: each change made
// through the user page's model, as a person at the desktop client would make it.
#include "users/document.h"

#include <algorithm>
#include <limits>
#include <optional>
#include <set>

#include "base/text.h"
#include "users/codec.h"
#include "users/page.h"
#include "users/rights.h"
#include "users/save.h"

namespace kv::users {

// One run: the staged lists, the user page over them, and the records it added and removed.
struct UserRun {
    UserRun(const UserTables& loaded, app::Stage& stage, int32_t channelCount)
        : scratch(loaded),
          page(scratch.strUser, scratch.strUserGroup, stage.link, stage.prompter, stage.lang, stage.title,
               channelCount) {}
    UserTables scratch;
    UserPage page;
    std::vector<int16_t> addedUsers, removedUsers, addedGroups, removedGroups;
};

namespace {

using app::DocumentError;
using app::Json;
using app::PendingSave;
using app::Stage;

struct UserDoc {
    std::string where;
    std::optional<int16_t> id;
    std::optional<std::string> texts[6];  // Name, Password, Company, Phone, PrimaryMail, SecondMail
    std::optional<int32_t> groupID;
};
constexpr const char* kUserTexts[6] = {"Name", "Password", "Company", "Phone", "PrimaryMail", "SecondMail"};

struct GroupDoc {
    std::string where;
    std::optional<int16_t> id;
    std::optional<std::string> name;
    std::optional<base::ChannelFlags> rights[3];  // Type0, Type1, Type2
};

std::optional<std::string> textField(const Json& o, const char* key, const std::string& where) {
    if (!o.contains(key) || o.at(key).is_null()) return std::nullopt;
    if (!o.at(key).is_string()) throw DocumentError(where + "." + key + ": expected a text");
    return o.at(key).get<std::string>();
}

template <typename T>
std::optional<T> numberField(const Json& o, const char* key, const std::string& where, int64_t low) {
    if (!o.contains(key) || o.at(key).is_null()) return std::nullopt;
    const Json& v = o.at(key);
    if (!v.is_number_integer() || v.get<int64_t>() < low || v.get<int64_t>() > std::numeric_limits<T>::max())
        throw DocumentError(where + "." + key + ": expected a whole number from " + std::to_string(low));
    return static_cast<T>(v.get<int64_t>());
}

// A channel list as dump prints it: numbers 1..64 joined by ",", or empty.
base::ChannelFlags channelList(const std::string& text, const std::string& where) {
    if (base::Trim(text).empty()) return {};
    size_t pos = 0;
    while (pos <= text.size()) {
        size_t end = text.find(',', pos);
        if (end == std::string::npos) end = text.size();
        const std::string token = base::Trim(std::string_view(text).substr(pos, end - pos));
        const bool digits = !token.empty() && token.size() <= 2 &&
                            std::all_of(token.begin(), token.end(), [](char c) { return c >= '0' && c <= '9'; });
        if (!digits || std::stoi(token) < 1 || std::stoi(token) > base::kMaxChannel)
            throw DocumentError(where + ": \"" + text + "\" is not a list of channels 1 to 64");
        pos = end + 1;
    }
    return base::CalCHList(text);
}

template <typename Doc, typename Read>
std::vector<Doc> records(const Json& value, const std::string& section, Read read) {
    if (!value.is_array()) throw DocumentError(section + ": expected a list of records");
    std::vector<Doc> out;
    std::set<int16_t> ids;
    for (size_t i = 0; i < value.size(); ++i) {
        const std::string where = section + "[" + std::to_string(i) + "]";
        if (!value[i].is_object()) throw DocumentError(where + ": expected a record");
        Doc d = read(value[i], where);
        if (d.id && !ids.insert(*d.id).second)
            throw DocumentError(where + ": ID " + std::to_string(*d.id) + " appears twice");
        out.push_back(std::move(d));
    }
    return out;
}

std::vector<UserDoc> readUsers(const Json& value) {
    return records<UserDoc>(value, "strUser", [](const Json& o, const std::string& where) {
        UserDoc d;
        d.where = where;
        d.id = numberField<int16_t>(o, "ID", where, 1);
        for (int i = 0; i < 6; ++i) d.texts[i] = textField(o, kUserTexts[i], where);
        d.groupID = numberField<int32_t>(o, "GroupID", where, 0);
        return d;
    });
}

std::vector<GroupDoc> readGroups(const Json& value) {
    return records<GroupDoc>(value, "strUserGroup", [](const Json& o, const std::string& where) {
        GroupDoc d;
        d.where = where;
        d.id = numberField<int16_t>(o, "ID", where, 1);
        d.name = textField(o, "Name", where);
        const char* keys[3] = {"Type0", "Type1", "Type2"};
        for (int k = 0; k < 3; ++k)
            if (auto t = textField(o, keys[k], where)) d.rights[k] = channelList(*t, where + "." + keys[k]);
        return d;
    });
}

template <typename List>
int rowOf(const List& rows, int16_t id) {
    for (size_t i = 0; i < rows.size(); ++i)
        if (rows[i].ID == id) return static_cast<int>(i) + 1;
    return 0;
}

std::string inQuotes(const std::string& s) { return "\"" + s + "\""; }

// Where a record the document leaves out is reported: a section is the whole list.
template <typename List>
std::string leftOut(const char* section, const List& rows, int16_t id) {
    const int row = rowOf(rows, id);
    const std::string name = row ? " " + inQuotes(rows[static_cast<size_t>(row - 1)].Name) : "";
    return std::string(section) + " (ID " + std::to_string(id) + name + ", left out of the document)";
}

// ---- groups ----

// Brings the three rights grids to the document's lists by clicking the cells that differ.
bool clickRights(const GroupDoc& d, UserGroupTab& tab, Stage& stage) {
    const bool admin = base::LeadingNumber(tab.txtUserGroup[0].text) == kAdminGroupID;
    const base::ChannelFlags adminFlags =
        base::CalCHList(GetAdminGroupChList(kAdminGroupID, tab.channelCount()));
    for (int k = 0; k < 3; ++k) {
        if (!d.rights[k] || *d.rights[k] == tab.chFlags[k]) continue;
        // The admin group is saved with every channel of the server whatever its grids show.
        if (admin && *d.rights[k] == adminFlags) continue;
        for (int ch = 0; ch < base::kMaxChannel; ++ch) {
            if ((*d.rights[k])[ch] == tab.chFlags[k][ch]) continue;
            if (!tab.gridCHList_Click(k, ch / kCellsPerRow, ch % kCellsPerRow)) {
                stage.refuse(d.where, admin ? "the admin group has every channel; its rights cannot be changed"
                                            : "channel " + std::to_string(ch + 1) +
                                                  " is beyond the server's channel count (" +
                                                  std::to_string(tab.channelCount()) + ")");
                return false;
            }
        }
    }
    return true;
}

void editGroup(const GroupDoc& d, UserGroupTab& tab, Stage& stage) {
    tab.gridUser_MouseUp(rowOf(tab.GridUserGroupTmp, *d.id));
    bool changed = false;
    if (d.name && *d.name != tab.txtUserGroup[1].text) {
        if (!tab.txtUserGroup_Change(*d.name)) return stage.refuse(d.where, "the admin group keeps its name");
        changed = true;
    }
    const auto before = tab.chFlags;
    if (!clickRights(d, tab, stage)) return;
    if (changed || before != tab.chFlags) tab.SaveRow();
}

void addGroup(const GroupDoc& d, UserGroupTab& tab, Stage& stage, std::vector<int16_t>& added) {
    if (!tab.imgUserGroupbtn_Click(Button::kNew)) return stage.refuse(d.where, "seven groups at most");
    if (d.name && *d.name != tab.txtUserGroup[1].text && !tab.txtUserGroup_Change(*d.name))
        return stage.refuse(d.where, "the first group is the admin group, named " + inQuotes(tab.txtUserGroup[1].text));
    if (!clickRights(d, tab, stage)) return;
    const auto id = static_cast<int16_t>(base::LeadingNumber(tab.txtUserGroup[0].text));
    if (tab.SaveRow()) added.push_back(id);
}

void removeGroup(int16_t id, UserGroupTab& tab, Stage& stage) {
    const std::string where = leftOut("strUserGroup", tab.GridUserGroupTmp, id);
    tab.gridUser_MouseUp(rowOf(tab.GridUserGroupTmp, id));
    if (!tab.imgUserGroupbtn[Button::kRemove]) return stage.refuse(where, "the admin group cannot be removed");
    stage.prompter.boxes.clear();
    if (!tab.imgUserGroupbtn_Click(Button::kRemove))
        return stage.refuse(where, stage.prompter.last("the group cannot be removed"));
}

void stageGroups(const Json& value, UserRun& run, Stage& stage) {
    const std::vector<GroupDoc> docs = readGroups(value);
    UserGroupTab& tab = run.page.group;
    std::vector<int16_t> removed;
    for (const UserGroupRecord& g : tab.GridUserGroupTmp) {
        const bool kept = std::any_of(docs.begin(), docs.end(), [&](const GroupDoc& d) { return d.id == g.ID; });
        if (!kept) removed.push_back(g.ID);
    }
    // Which records are new is decided before any is added: an added group takes the lowest
    // free id, which a later record of the document may carry.
    std::vector<bool> isNew;
    for (const GroupDoc& d : docs) isNew.push_back(!d.id || !rowOf(tab.GridUserGroupTmp, *d.id));
    for (size_t i = 0; i < docs.size() && !stage.refused(); ++i)
        if (!isNew[i]) editGroup(docs[i], tab, stage);
    for (size_t i = 0; i < docs.size() && !stage.refused(); ++i)
        if (isNew[i]) addGroup(docs[i], tab, stage, run.addedGroups);
    if (stage.refused()) return;
    run.scratch.strUserGroup = tab.SetGridToUserGroup();
    // Removals wait for the accounts: a group can go once the document has moved its members away.
    if (removed.empty()) return;
    stage.later([&stage, &tab, &run, removed] {
        for (int16_t id : removed) {
            removeGroup(id, tab, stage);
            if (stage.refused()) return;
            run.removedGroups.push_back(id);
        }
        run.scratch.strUserGroup = tab.SetGridToUserGroup();
    });
}

// ---- accounts ----

// Sets the fields of the open field set to the document's values; false on a refusal.
bool fillUser(const UserDoc& d, UserTab& tab, Stage& stage, bool& changed) {
    const int fieldOf[6] = {1, 2, 4, 5, 6, 7};
    for (int i = 0; i < 6; ++i) {
        if (!d.texts[i] || *d.texts[i] == tab.txtUser[fieldOf[i]].text) continue;
        if (i == 0 && !tab.txtUser[1].enabled) {
            // The first account's name is fixed; the same name in other case or blanks is no change.
            if (base::ToUpper(base::Trim(*d.texts[0])) == base::ToUpper(tab.txtUser[1].text)) continue;
            stage.refuse(d.where, "the first account is named " + inQuotes(tab.txtUser[1].text));
            return false;
        }
        tab.txtUser_Change(fieldOf[i], *d.texts[i]);
        if (i == 1) tab.txtUser_Change(3, *d.texts[i]);  // the confirmation
        changed = true;
    }
    if (d.groupID) {
        const auto& ids = tab.cmbUserGroupID;
        const auto it = std::find(ids.begin(), ids.end(), *d.groupID);
        const int index = it == ids.end() ? -1 : static_cast<int>(it - ids.begin());
        // A group the page does not offer: an account that already holds that id keeps it, as the
        // page does; anything else would be saved with no group at all.
        if (index < 0 && (tab.mode == EditMode::New || *d.groupID != tab.working.GroupID)) {
            stage.refuse(d.where, "there is no user group " + std::to_string(*d.groupID));
            return false;
        }
        if (index >= 0 && index != tab.cmbUserGroup.index) {
            if (!tab.cmbUserGroup.enabled) {
                stage.refuse(d.where, "the first account keeps the first group");
                return false;
            }
            tab.cmbUserGroup_Click(index);
            changed = true;
        }
    }
    return true;
}

bool saveUser(const UserDoc& d, UserTab& tab, Stage& stage) {
    stage.prompter.boxes.clear();
    if (tab.imgUserbtn_Click(Button::kSave)) return true;
    stage.refuse(d.where, stage.prompter.last("the account cannot be saved"));
    return false;
}

void stageUsers(const Json& value, UserRun& run, Stage& stage) {
    const std::vector<UserDoc> docs = readUsers(value);
    UserPage& page = run.page;
    stage.prompter.boxes.clear();
    if (page.tabUser_Click(0) != 0) return stage.refuse("strUser", stage.prompter.last("no user group exists"));
    UserTab& tab = page.user;

    std::vector<int16_t> removed;
    for (const UserRecord& u : tab.rows()) {
        const bool kept = std::any_of(docs.begin(), docs.end(), [&](const UserDoc& d) { return d.id == u.ID; });
        if (!kept) removed.push_back(u.ID);
    }
    for (int16_t id : removed) {
        const std::string where = leftOut("strUser", tab.rows(), id);
        tab.gridUser_MouseUp(rowOf(tab.rows(), id));
        if (!tab.imgUserbtn[Button::kRemove])
            return stage.refuse(where, "the first account cannot be removed (a section is the whole list: a "
                                       "document keeps only the accounts it holds)");
        tab.imgUserbtn_Click(Button::kRemove);
        tab.imgUserbtn_Click(Button::kSave);
        run.removedUsers.push_back(id);
    }
    std::vector<bool> isNew;
    for (const UserDoc& d : docs) isNew.push_back(!d.id || !rowOf(tab.rows(), *d.id));
    for (size_t i = 0; i < docs.size(); ++i) {
        const UserDoc& d = docs[i];
        if (isNew[i]) continue;
        tab.gridUser_MouseUp(rowOf(tab.rows(), *d.id));
        bool changed = false;
        if (!fillUser(d, tab, stage, changed)) return;
        if (changed && !saveUser(d, tab, stage)) return;
    }
    for (size_t i = 0; i < docs.size(); ++i) {
        const UserDoc& d = docs[i];
        if (!isNew[i]) continue;
        tab.imgUserbtn_Click(Button::kNew);
        // A new account says which group it joins, unless it is the first (forced into the first group).
        if (!d.groupID && tab.cmbUserGroup.enabled) throw DocumentError(d.where + ".GroupID: a new account needs one");
        bool changed = false;
        if (!fillUser(d, tab, stage, changed)) return;
        const auto id = static_cast<int16_t>(base::LeadingNumber(tab.txtUser[0].text));
        if (!saveUser(d, tab, stage)) return;
        run.addedUsers.push_back(id);
    }
    run.scratch.strUser = tab.SetGridToUser();
}

Json userJson(const UserRecord& u, const app::DumpForm& form) {
    return Json{{"ID", u.ID},         {"Name", u.Name},
                {"Password", app::ShownSecret(u.Password, form)}, {"Company", u.Company},
                {"Phone", u.Phone},   {"PrimaryMail", u.PrimaryMail},
                {"SecondMail", u.SecondMail}, {"GroupID", u.GroupID}};
}

Json groupJson(const UserGroupRecord& g) {
    return Json{{"ID", g.ID}, {"Name", g.Name}, {"Type0", g.Type0}, {"Type1", g.Type1}, {"Type2", g.Type2}};
}

Json userJsonClear(const UserRecord& u) { return userJson(u, {.secrets = true}); }

// Lists: the sentinel of an empty list is not a record.
template <class List, class ToJson>
Json listJson(const List& list, ToJson toJson) {
    Json out = Json::array();
    for (const auto& r : list)
        if (r.ID >= 0) out.push_back(toJson(r));
    return out;
}

// The accounts of a document with every masked password replaced by the one the service holds.
Json unmasked(const Json& value, const UserList& loaded) {
    Json out = value;
    if (!out.is_array()) return out;
    for (size_t i = 0; i < out.size(); ++i) {
        Json& o = out[i];
        if (!o.is_object() || !o.contains("Password") || !o.at("Password").is_string()) continue;
        const int row = o.contains("ID") && o.at("ID").is_number_integer()
                            ? rowOf(loaded, static_cast<int16_t>(o.at("ID").get<int64_t>()))
                            : 0;
        o["Password"] = app::SecretOf(o.at("Password"), row ? loaded[static_cast<size_t>(row - 1)].Password : "",
                                      row != 0, "strUser[" + std::to_string(i) + "].Password");
    }
    return out;
}

// The plan lines of one list: removals, changes of the records it kept, additions.
template <class List, class ToJson>
void planList(const char* what, const List& loaded, const List& staged, const std::vector<int16_t>& removed,
              const std::vector<int16_t>& added, ToJson toJson, std::vector<std::string>& out) {
    const auto nameIn = [](const List& list, int16_t id) {
        const int row = rowOf(list, id);
        return row ? inQuotes(list[static_cast<size_t>(row - 1)].Name) : std::string("\"\"");
    };
    for (int16_t id : removed)
        out.push_back("removes " + std::string(what) + " " + std::to_string(id) + " " + nameIn(loaded, id));
    for (const auto& r : staged) {
        const int row = rowOf(loaded, r.ID);
        if (r.ID < 0 || !row || std::count(added.begin(), added.end(), r.ID)) continue;
        const std::string fields = app::ChangedFields(toJson(loaded[static_cast<size_t>(row - 1)]), toJson(r));
        if (!fields.empty())
            out.push_back("changes " + std::string(what) + " " + std::to_string(r.ID) + " " + inQuotes(r.Name) + ": " +
                          fields);
    }
    for (int16_t id : added)
        out.push_back("adds " + std::string(what) + " " + nameIn(staged, id) + " as ID " + std::to_string(id));
}

}  // namespace

UserDocument::UserDocument(UserTables& tables, const int32_t& channelCount)
    : tables_(tables), channelCount_(channelCount) {}
UserDocument::~UserDocument() = default;

std::vector<std::string> UserDocument::names() const { return {"strUser", "strUserGroup"}; }

void UserDocument::dump(Json& doc, const app::DumpForm& form) const {
    doc["strUser"] = listJson(tables_.strUser, [&form](const UserRecord& u) { return userJson(u, form); });
    doc["strUserGroup"] = listJson(tables_.strUserGroup, groupJson);
}

void UserDocument::stage(const Json& doc, Stage& stage) {
    Json loaded;
    dump(loaded, {.secrets = true});
    Json given = Json::object();
    if (doc.contains("strUser")) given["strUser"] = unmasked(doc.at("strUser"), tables_.strUser);
    if (doc.contains("strUserGroup")) given["strUserGroup"] = doc.at("strUserGroup");
    const auto changed = [&](const char* name) {
        return given.contains(name) && !app::SameValue(given.at(name), loaded.at(name));
    };
    if (!changed("strUser") && !changed("strUserGroup")) return;
    run_ = std::make_unique<UserRun>(tables_, stage, channelCount_);
    // Groups first: a new account may join a group the same document adds.
    if (changed("strUserGroup")) stageGroups(given.at("strUserGroup"), *run_, stage);
    if (!stage.refused() && changed("strUser")) stageUsers(given.at("strUser"), *run_, stage);
}

std::vector<std::string> UserDocument::plan() const {
    std::vector<std::string> out;
    if (!run_) return out;
    // In the order of the saves: the groups' list, then the accounts'.
    planList("group", tables_.strUserGroup, run_->scratch.strUserGroup, run_->removedGroups, run_->addedGroups,
             groupJson, out);
    planList("account", tables_.strUser, run_->scratch.strUser, run_->removedUsers, run_->addedUsers, userJsonClear,
             out);
    return out;
}

void UserDocument::saves(Stage& stage, std::vector<PendingSave>& out) {
    if (!run_) return;
    link::ServiceLink& link = stage.link;
    UserTables& tables = tables_;
    if (const UserGroupList list = run_->scratch.strUserGroup; list != tables.strUserGroup)
        out.push_back({"strUserGroup", Set_UserGroup_XML(list),
                       [&link, list](std::string& reply) { return SaveUserGroup_Setting(link, list, &reply); },
                       [&tables, list] { tables.strUserGroup = list; }});
    if (const UserList list = run_->scratch.strUser; list != tables.strUser)
        out.push_back({"strUser", Set_User_XML(list),
                       [&link, list](std::string& reply) { return SaveUser_Setting(link, list, &reply); },
                       [&tables, list] { tables.strUser = list; }});
}

}  // namespace kv::users
