// Doubles for tests of the core and the pages: a link that does nothing unless told and one that
// answers from a script, a prompter that records, a clock moved by hand, the English texts.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "app/clock.h"
#include "app/prompter.h"
#include "base/lang.h"
#include "link/service_link.h"

namespace kv::test {

/// A link whose operations do nothing and fail; tests override what they need.
class NullLink : public link::ServiceLink {
public:
    void setEvents(link::LinkEvents*) override {}
    int32_t Login(const std::string&, int32_t, const std::string&, const std::string&, const std::string&) override {
        return -1;
    }
    std::string SendCommand(int32_t, bool, const std::string&) override { return "-1"; }
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

/// Records every command sent and answers the synchronous ones by command id; an id without a
/// scripted reply gets RET 0 under its id, or "-1" when `refuseUnscripted`.
class AnsweringLink : public NullLink {
public:
    std::vector<std::string> sent;
    std::vector<bool> waited;  // per sent command: whether the caller waited for the answer
    std::map<int32_t, std::string> replies;
    bool refuseUnscripted = false;
    std::string SendCommand(int32_t, bool wait, const std::string& xml) override {
        sent.push_back(xml);
        waited.push_back(wait);
        if (!wait) return "";
        const int32_t id = idOf(xml);
        if (const auto it = replies.find(id); it != replies.end()) return it->second;
        return refuseUnscripted ? "-1" : "<RESPONSE RET=\"0\" ID=\"" + std::to_string(id) + "\"></RESPONSE>";
    }
    /// The command ids sent, in order.
    std::vector<int32_t> ids() const {
        std::vector<int32_t> out;
        for (const std::string& s : sent) out.push_back(idOf(s));
        return out;
    }
    static int32_t idOf(const std::string& xml) {
        const size_t q = xml.find('"');
        return q == std::string::npos ? 0 : std::atoi(xml.c_str() + q + 1);
    }
};

/// Records the status lines and the boxes with their titles; answers every box with `answer`.
class RecordingPrompter : public app::Prompter {
public:
    std::vector<std::string> statuses;
    std::vector<std::string> boxes;
    std::vector<std::string> titles;
    app::Answer answer = app::Answer::Ok;
    void status(const std::string& t) override { statuses.push_back(t); }
    app::Answer box(app::BoxKind, const std::string& t, const std::string& title) override {
        boxes.push_back(t);
        titles.push_back(title);
        return answer;
    }
};

/// A clock moved by hand.
struct FixedClock : app::Clock {
    int64_t now = 1'700'000'000;
    int64_t nowSeconds() const override { return now; }
};

/// The English texts of the share folder.
inline const base::Language& English() {
    static const base::Language lang = [] {
        base::Language l(std::filesystem::path(KV_SOURCE_SHARE) / "Lang");
        l.LoadLanguage(base::LanguageFileName(1));
        return l;
    }();
    return lang;
}

/// The commands of a complete login in their order, as the service receives them.
inline std::vector<std::string> ExpectedLoginCommands(bool groupCheck, int channels = 64) {
    std::string list;
    for (int ch = 1; ch <= channels; ++ch) list += "<CH>" + std::to_string(ch) + "</CH>";
    const auto a = [](int id, const std::string& body = "") {
        return "<CMD ID=\"" + std::to_string(id) + "\"><UserData>CONFIG_AP</UserData><Param>" + body + "</Param></CMD>";
    };
    std::vector<std::string> out = {"<CMD ID=\"32801\" />"};
    if (groupCheck) out.push_back("<CMD ID=\"4109\"><Param><UserName>admin</UserName></Param></CMD>");
    const std::vector<std::string> rest = {
        a(4100), a(32803), "<CMD ID=\"32837\" />",
        "<CMD ID=\"24582\"><UserData>Form_Main</UserData><Param><CHList>" + list + "</CHList></Param></CMD>",
        a(32787), a(32794, "<CH>0</CH>"), a(32792, "<CH>0</CH>"), a(32796, "<CH>0</CH>"), a(32820, "<CH>0</CH>"),
        "<CMD ID=\"32811\" />", "<CMD ID=\"32828\" />",
        a(32777), a(32778), a(32809), a(32772), a(32773), a(32774), a(32805), a(32780), a(32799),
        "<CMD ID=\"4098\"><UserData>formGetRemoteData</UserData><Param><Type>1</Type></Param></CMD>",
        "<CMD ID=\"4098\"><UserData>formGetRemoteData</UserData><Param><Type>0</Type></Param></CMD>",
        a(32785), a(32783), a(32808), a(32815), a(32783), "<CMD ID=\"40961\" />",
        "<CMD ID=\"32824\" />", "<CMD ID=\"32832\" />", "<CMD ID=\"40994\" />",
    };
    out.insert(out.end(), rest.begin(), rest.end());
    return out;
}

}  // namespace kv::test
