// The recording commands, concatenated byte for byte, and the readers of their replies.
#include "recording/codec.h"

#include <charconv>
#include <cmath>
#include <limits>
#include <optional>

#include <pugixml.hpp>

#include "app/commands.h"
#include "app/protocol.h"
#include "app/wire.h"
#include "app/xml_read.h"
#include "base/text.h"
#include "base/timeconv.h"

namespace kv::recording {
namespace {

using app::wire::Num;
using app::wire::Text;

template <class Fn>
void forEachElement(pugi::xml_node node, Fn fn) {
    for (pugi::xml_node c = node.first_child(); c; c = c.next_sibling())
        if (c.type() == pugi::node_element) fn(c);
}

bool named(pugi::xml_node node, std::string_view name) { return name == node.name(); }

// The element's own text (pugixml has already undone the entities).
std::string textOf(pugi::xml_node node) {
    std::string out;
    for (pugi::xml_node c = node.first_child(); c; c = c.next_sibling())
        if (c.type() == pugi::node_pcdata || c.type() == pugi::node_cdata) out += c.value();
    return out;
}

int16_t num16(pugi::xml_node n) { return app::ToInt16(textOf(n)); }
int32_t num32(pugi::xml_node n) { return app::ToInt32(textOf(n)); }

// The leading decimal number of a text (disk sizes come with fractions); 0 when there is none.
double decimal(std::string_view text) {
    std::string t = base::Trim(text);
    if (!t.empty() && t.front() == '+') t.erase(0, 1);
    double v = 0;
    const auto read = std::from_chars(t.data(), t.data() + t.size(), v, std::chars_format::fixed);
    return read.ec == std::errc() && std::isfinite(v) ? v : 0;
}

// The RESPONSE of a reply when its return code (by the attribute's base name) is 0.
pugi::xml_node acceptedResponse(const pugi::xml_document& doc) {
    const pugi::xml_node response = app::ResponseOf(doc);
    if (!response) return {};
    for (const pugi::xml_attribute a : response.attributes())
        if (app::BaseName(a.name()) == "RET") return app::ToInt32(a.value()) == 0 ? response : pugi::xml_node{};
    return {};
}

// An integer quotient rounded half to even, for any sign of the dividend.
int32_t roundedQuotient(int64_t value, int64_t divisor) {
    int64_t q = value / divisor;
    int64_t r = value % divisor;
    if (r < 0) {
        r += divisor;
        --q;
    }
    if (2 * r > divisor || (2 * r == divisor && (q % 2 != 0))) ++q;
    if (q > std::numeric_limits<int32_t>::max()) return std::numeric_limits<int32_t>::max();
    if (q < std::numeric_limits<int32_t>::min()) return std::numeric_limits<int32_t>::min();
    return static_cast<int32_t>(q);
}

// Reads one run of digits as a number, moving past it; nullopt when there are none.
std::optional<int> digits(std::string_view s, size_t& at) {
    if (at >= s.size() || s[at] < '0' || s[at] > '9') return std::nullopt;
    int v = 0;
    const auto [p, ec] = std::from_chars(s.data() + at, s.data() + s.size(), v);
    if (ec != std::errc()) return std::nullopt;
    at = static_cast<size_t>(p - s.data());
    return v;
}

bool expect(std::string_view s, size_t& at, char c) {
    if (at >= s.size() || s[at] != c) return false;
    ++at;
    return true;
}

// "yyyy/m/d h:m:s" (the time part may be left out) as seconds since 1970/1/1, taken as written.
// Anything else, or a time outside the 32-bit range, is nullopt.
std::optional<int32_t> stampSeconds(std::string_view stamp) {
    const std::string s = base::Trim(stamp);
    size_t at = 0;
    base::CivilTime t;
    const auto y = digits(s, at);
    if (!y || !expect(s, at, '/')) return std::nullopt;
    const auto mo = digits(s, at);
    if (!mo || !expect(s, at, '/')) return std::nullopt;
    const auto d = digits(s, at);
    if (!d) return std::nullopt;
    t.year = *y, t.month = *mo, t.day = *d;
    if (at < s.size()) {
        if (!expect(s, at, ' ')) return std::nullopt;
        while (at < s.size() && s[at] == ' ') ++at;
        const auto h = digits(s, at);
        if (!h || !expect(s, at, ':')) return std::nullopt;
        const auto mi = digits(s, at);
        if (!mi) return std::nullopt;
        t.hour = *h, t.minute = *mi;
        if (at < s.size()) {
            if (!expect(s, at, ':')) return std::nullopt;
            const auto sec = digits(s, at);
            if (!sec) return std::nullopt;
            t.second = *sec;
        }
        if (at != s.size()) return std::nullopt;
    }
    if (t.month < 1 || t.month > 12 || t.day < 1 || t.hour > 23 || t.minute > 59 || t.second > 59) return std::nullopt;
    // A day past the month's end would roll into the next month: it is no date.
    if (base::CivilFromSeconds(base::SecondsSince1970(t)).day != t.day) return std::nullopt;
    const int64_t seconds = base::SecondsSince1970(t);
    if (seconds < std::numeric_limits<int32_t>::min() || seconds > std::numeric_limits<int32_t>::max())
        return std::nullopt;
    return static_cast<int32_t>(seconds);
}

std::string modeBlock(std::string_view name, const RecModeBlock& b) {
    return app::wire::Elem(name, Num("FPS", b.FPS) + Num("IFrameOnly", b.IFrameOnly) +
                                     Num("PreAlarmLength", b.PreAlarmLength) +
                                     Num("PostAlarmLength", b.PostAlarmLength) + Num("Active", b.Active != 0 ? 1 : 0));
}

void readMode(pugi::xml_node mode, RecModeBlock& b) {
    forEachElement(mode, [&](pugi::xml_node e) {
        const std::string_view n = e.name();
        if (n == "FPS") b.FPS = num16(e);
        else if (n == "IFrameOnly") b.IFrameOnly = num16(e);
        else if (n == "PreAlarmLength") b.PreAlarmLength = num16(e);
        else if (n == "PostAlarmLength") b.PostAlarmLength = num16(e);
        else if (n == "Active") b.Active = num32(e) != 0 ? -1 : 0;
    });
}

// One channel node; its direct children are the channel-level values, the four modes nest.
void readRecSetting(pugi::xml_node node, RecSetRecord& r) {
    forEachElement(node, [&](pugi::xml_node e) {
        const std::string_view n = e.name();
        if (n == "Continuous") readMode(e, r.Continuous);
        else if (n == "Schedule") readMode(e, r.Schedule);
        else if (n == "Event") readMode(e, r.Event);
        else if (n == "Manual") readMode(e, r.Manual);
        else if (n == "PreAlarmLength") r.PreAlarmLength = num16(e);
        else if (n == "DualMode") r.DualMode = num16(e);
        else if (n == "FMT") r.FMT = textOf(e);
        else if (n == "Size") r.Size = textOf(e);
        else if (n == "FPS") r.FPS = num16(e);
        else if (n == "Quality") r.Quality = num16(e);
        else if (n == "RateControl") r.RateControl = num32(e);
        else if (n == "Bitrate") r.Bitrate = num32(e);
        // GOP is not read: the entry keeps the value the page gave it.
    });
}

std::string upperPath(std::string_view path) { return base::ToUpper(WithClosingBackslash(path)); }

}  // namespace

std::string Get_RecSetting_XML(int32_t count) {
    if (count <= 0) return app::CommandA(app::cmd::kGetRecSettings, "");
    std::string list = "<CHList>";
    for (int32_t ch = 1; ch <= count; ++ch) list += Num("CH", ch);
    list += "</CHList>";
    return app::CommandA(app::cmd::kGetRecSettings, list);
}

std::string Set_RecSet_XML(const RecSetRecord& r) {
    std::string b = Num("CH", r.CH);
    b += modeBlock("Continuous", r.Continuous);
    b += modeBlock("Schedule", r.Schedule);
    b += modeBlock("Event", r.Event);
    b += modeBlock("Manual", r.Manual);
    b += Num("PreAlarmLength", r.PreAlarmLength);
    b += Num("DualMode", r.DualMode);
    b += Text("FMT", r.FMT);
    b += Text("Size", r.Size);
    b += Num("FPS", r.FPS);
    b += Num("Quality", r.Quality);
    b += Num("RateControl", r.RateControl);
    b += Num("BitRate", r.Bitrate);  // the write spells it with a capital R; the reply does not
    b += Num("GOP", r.GOP);
    return app::CommandA(app::cmd::kSetRecSettings, b);
}

std::string Get_RecSCDLSetting_XML() { return app::CommandA(app::cmd::kGetRecSchedule, ""); }

std::string Set_RecSCDL_XML(const RecSCDLRecord& r) {
    std::string b = Num("CH", r.CH) + "<EnableList>";
    for (int d = 0; d < kDays; ++d)
        b += "<Enable" + app::wire::Attr("Day", d) + ">" + base::XMLFilter(r.Day[static_cast<size_t>(d)], true) +
             "</Enable>";
    b += "</EnableList>";
    return app::CommandA(app::cmd::kSetRecSchedule, b);
}

std::string Get_RECPathInfo_XML() { return app::CommandA(app::cmd::kGetStorage, ""); }

std::string Set_Storage_XML(const StorageList& rows, int32_t retainDays, int32_t reservedGB) {
    std::string b = Num("RetainTime", int64_t{retainDays} * 24) + Num("ReservedSpace", int64_t{reservedGB} * 1024);
    b += "<FilePathList>";
    for (const StorageRecord& row : rows)
        if (row.ID >= 0 && !row.Remove) b += Text("FilePath", WithClosingBackslash(row.FilePath));
    b += "</FilePathList>";
    return app::CommandA(app::cmd::kSetStorage, b);
}

std::string Get_HDPathSetting_XML() { return app::CommandA(app::cmd::kGetDiskSizes, ""); }

std::string Get_DirList_XML(std::string_view userData, std::string_view path) {
    return app::CommandA(app::cmd::kListFolders, userData, Text("ParentPath", path));
}

int32_t HoursToDays(int64_t hours) { return roundedQuotient(hours, 24); }

int32_t MegabytesToGB(int64_t megabytes) { return roundedQuotient(megabytes, 1024); }

std::string WithClosingBackslash(std::string_view path) {
    std::string out(path);
    if (!out.empty() && out.back() != '\\') out.push_back('\\');
    return out;
}

bool Load_RecSetting_XML(const pugi::xml_document& reply, RecSetTable& table) {
    try {
        const pugi::xml_node response = acceptedResponse(reply);
        if (!response) return false;
        forEachElement(app::FindDeep(response, "RecSettingList"), [&](pugi::xml_node node) {
            if (!named(node, "RecSetting")) return;
            const int32_t ch = num32(node.child("CH"));
            if (ch < 1 || ch > base::kMaxChannel) return;
            RecSetRecord& r = table[static_cast<size_t>(ch - 1)];
            r.CH = static_cast<int16_t>(ch);
            readRecSetting(node, r);
        });
        return true;
    } catch (...) {
        return false;
    }
}

bool Load_RecSetting_XML(std::string_view xml, RecSetTable& table) {
    return Load_RecSetting_XML(app::ParseReply(xml), table);
}

bool Load_RecSCDL_XML(const pugi::xml_document& reply, RecSCDLTable& table) {
    try {
        const pugi::xml_node response = acceptedResponse(reply);
        if (!response) return false;
        // The entry a CH attribute selected stays selected for the Day attributes after it, in
        // this element and the next ones, until another CH selects again.
        RecSCDLRecord* selected = nullptr;
        forEachElement(app::FindDeep(response, "EnableList"), [&](pugi::xml_node e) {
            if (!named(e, "Enable")) return;
            for (const pugi::xml_attribute a : e.attributes()) {
                const std::string_view n = a.name();
                if (n == "CH") {
                    const int32_t ch = app::ToInt32(a.value());
                    selected = ch >= 1 && ch <= base::kMaxChannel ? &table[static_cast<size_t>(ch - 1)] : nullptr;
                    if (selected) selected->CH = static_cast<int16_t>(ch);
                } else if (n == "Day") {
                    const int32_t day = app::ToInt32(a.value());
                    // Day strings are kept as received; the grid shows what is not "1" as off.
                    if (selected && day >= 0 && day < kDays) selected->Day[static_cast<size_t>(day)] = textOf(e);
                }
            }
        });
        return true;
    } catch (...) {
        return false;
    }
}

bool Load_RecSCDL_XML(std::string_view xml, RecSCDLTable& table) {
    return Load_RecSCDL_XML(app::ParseReply(xml), table);
}

bool Load_RecPath_XML(const pugi::xml_document& reply, StorageList& rows, int32_t& retainDays, int32_t& reservedGB) {
    try {
        const pugi::xml_node response = acceptedResponse(reply);
        if (!response) return false;
        if (const pugi::xml_node n = app::FindDeep(response, "RetainTime"))
            retainDays = HoursToDays(base::LeadingNumber(textOf(n)));
        if (const pugi::xml_node n = app::FindDeep(response, "ReservedSpace"))
            reservedGB = MegabytesToGB(base::LeadingNumber(textOf(n)));
        if (const pugi::xml_node list = app::FindDeep(response, "FilePathList")) {
            StorageList read;
            forEachElement(list, [&](pugi::xml_node p) {
                if (!named(p, "FilePath")) return;
                StorageRecord row;
                row.ID = static_cast<int16_t>(read.size());
                row.FilePath = textOf(p);
                read.push_back(std::move(row));
            });
            rows = std::move(read);
        }
        return true;
    } catch (...) {
        return false;
    }
}

bool Load_RecPath_XML(std::string_view xml, StorageList& rows, int32_t& retainDays, int32_t& reservedGB) {
    return Load_RecPath_XML(app::ParseReply(xml), rows, retainDays, reservedGB);
}

bool Load_GetHDPath_XML(const pugi::xml_document& reply, HDPathList& disks) {
    try {
        const pugi::xml_node response = acceptedResponse(reply);
        if (!response) return false;
        HDPathList read = EmptyHDPathList();
        forEachElement(app::FindDeep(response, "HDPathList"), [&](pugi::xml_node d) {
            if (!named(d, "HDPath")) return;
            HDPathRecord disk;
            disk.ID = app::ToInt16(d.attribute("ID").value());
            disk.Path = d.attribute("Path").value();
            disk.FreeSpaceGB = decimal(textOf(d.child("FreeSpaceGB")));
            disk.TotalSpaceGB = decimal(textOf(d.child("TotalSpaceGB")));
            read.push_back(std::move(disk));
        });
        disks = std::move(read);
        return true;
    } catch (...) {
        return false;
    }
}

bool Load_GetHDPath_XML(std::string_view xml, HDPathList& disks) {
    return Load_GetHDPath_XML(app::ParseReply(xml), disks);
}

bool Load_DirList_XML(const pugi::xml_document& reply, HDPathList& list, std::string* userData) {
    try {
        const pugi::xml_node response = app::ResponseOf(reply);
        // The caller's mark comes back whatever the answer, so it can tell whose answer it is.
        if (userData && response) *userData = textOf(app::FindDeep(response, "UserData"));
        if (!acceptedResponse(reply)) return false;
        const pugi::xml_node dirs = app::FindDeep(response, "DirectoryList");
        if (!dirs) return false;
        forEachElement(dirs, [&](pugi::xml_node d) {
            if (!named(d, "Directory")) return;
            HDPathRecord folder;
            folder.ID = static_cast<int16_t>(list.size());
            folder.Path = textOf(d);
            folder.ModifyTime = stampSeconds(d.attribute("ModifyTime").value()).value_or(0);
            list.push_back(std::move(folder));
        });
        return true;
    } catch (...) {
        return false;
    }
}

bool Load_DirList_XML(std::string_view xml, HDPathList& list, std::string* userData) {
    return Load_DirList_XML(app::ParseReply(xml), list, userData);
}

void FilterExitParentPath(HDPathList& list, std::string_view parent) {
    const std::string p = upperPath(parent);
    if (p.empty()) return;
    std::erase_if(list, [&](const HDPathRecord& r) { return upperPath(r.Path) == p; });
}

int32_t GetHDPathID(const HDPathList& disks, std::string_view path) {
    if (path.empty()) return -1;
    const std::string letter = base::ToUpper(path.substr(0, 1));
    for (const HDPathRecord& d : disks)
        if (!d.Path.empty() && base::ToUpper(d.Path.substr(0, 1)) == letter) return d.ID;
    return -1;
}

}  // namespace kv::recording
