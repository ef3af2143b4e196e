// Command dispatch of the reference service: reads from the store, writes into it, the computed
// answers (status, port and DDNS checks, log queries), accounts and admission.
#include "sim/service.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <set>
#include <sstream>
#include <vector>

#include "base/text.h"
#include "sim/envelope.h"
#include "sim/seed.h"

namespace kv::sim {

namespace {

// Commands that change the configuration or drive a device; answered with RET 0 once done.
const std::set<int32_t> kWrites = {
    12289, 12290, 12291, 12292, 12294, 12298, 12303, 24581, 28677, 32769, 32770, 32771, 32775, 32776,
    32779, 32782, 32784, 32786, 32789, 32791, 32793, 32795, 32797, 32800, 32802, 32804, 32806, 32807,
    32810, 32812, 32814, 32821, 32822, 32825, 32826, 32827, 32829, 32830, 32831, 32834, 32835, 32836,
    32838, 40993};

// Reads the client knows: answered with the document of their key, an empty body when none is stored.
const std::set<int32_t> kReads = {4098,  4101,  8193,  8194,  8199,  12297, 12300, 12302, 22546, 24578,
                                  24582, 32772, 32773, 32774, 32777, 32778, 32780, 32783, 32785, 32787,
                                  32792, 32794, 32796, 32799, 32801, 32803, 32805, 32808, 32809, 32811,
                                  32815, 32816, 32820, 32824, 32828, 32832, 32833, 32837, 40994};

// Notices of the client that need nothing but an acknowledgement.
const std::set<int32_t> kNotices = {32813, 40963, 40964};

constexpr int32_t kServerInfoId = 32790;  // the id the server information is answered under
constexpr const char* kSysLogKey = "36867";
constexpr const char* kCountingLogKey = "45057";
constexpr size_t kSysLogLimit = 1000;  // the oldest rows go beyond this

// The log sub-code of a configuration write: which part of the configuration it changed.
int32_t configSubCode(int32_t id) {
    switch (id) {
    case 32791: case 32838: return 513;                                    // system
    case 24581: case 32814: case 12298: return 514;                       // channel
    case 32789: case 32793: case 32795: case 32797: case 32812: case 32821: return 515;  // intelligent
    case 32769: case 32770: case 32771: case 32775: case 32776: case 32779:
    case 32800: case 32806: case 32810: return 516;                       // event handling
    case 32807: return 517;                                               // e-map
    case 32802: case 32804: return 518;                                   // users
    case 32782: case 32784: case 32786: return 519;                       // recording
    default: return 0;
    }
}

std::optional<int64_t> number(std::string_view text) {
    std::string t = base::Trim(text);
    int64_t v = 0;
    auto [end, ec] = std::from_chars(t.data(), t.data() + t.size(), v);
    if (t.empty() || ec != std::errc() || end != t.data() + t.size()) return std::nullopt;
    return v;
}

struct Account {
    std::string name;
    std::string password;
    int32_t groupId = 0;
};

// The accounts of the stored user list; rows with a negative id are the empty list's sentinel.
std::vector<Account> accountsOf(const SimStore& store) {
    std::vector<Account> out;
    auto body = store.get("32801");
    pugi::xml_document doc;
    if (!body || !loadFragment(doc, *body)) return out;
    for (pugi::xml_node u : doc.select_node(".//UserList").node().children()) {
        if (u.type() != pugi::node_element) continue;
        auto id = number(u.child_value());
        if (id && *id < 0) continue;
        std::string name = u.attribute("Name").value();
        if (name.empty()) continue;
        out.push_back({name, u.attribute("Password").value(), u.attribute("GroupID").as_int()});
    }
    return out;
}

// Replaces the text of the first `<name>` element of a body, or appends the element.
std::string withElement(std::string body, const std::string& name, const std::string& value) {
    std::string open = "<" + name + ">", close = "</" + name + ">", text = open + xmlEscape(value) + close;
    size_t at = body.find(open);
    if (at != std::string::npos) {
        size_t end = body.find(close, at);
        if (end != std::string::npos) return body.replace(at, end + close.size() - at, text);
    }
    for (std::string empty : {"<" + name + " />", "<" + name + "/>"}) {
        if ((at = body.find(empty)) != std::string::npos) return body.replace(at, empty.size(), text);
    }
    return body + text;
}

std::string storedText(const SimStore& store, const char* key, const char* element) {
    auto body = store.get(key);
    pugi::xml_document doc;
    if (!body || !loadFragment(doc, *body)) return {};
    return doc.select_node((std::string(".//") + element).c_str()).node().child_value();
}

}  // namespace

void SimService::setListenEndpoint(std::string address, uint16_t port) {
    options_.address = std::move(address);
    options_.port = port;
    // The command port of the server information is the one this service listens on; a port
    // saved from the client takes effect at the next start, as with a real service.
    const std::string key = readKey(kServerInfoId, "");
    if (const auto body = store_.get(key)) store_.put(key, withElement(*body, "Port", std::to_string(port)));
}

std::optional<int32_t> SimService::admission(const link::PeerInfo& peer) {
    if (options_.silent) return std::nullopt;
    if (options_.shuttingDown) return -14;
    bool remote = !peer.loopback || options_.loopbackIsRemote;
    if (remote && options_.noRemote) return -12;
    if (remote && options_.denyRemote) return -11;
    return 0;
}

std::optional<std::string> SimService::passwordOf(const std::string& user) {
    auto accounts = accountsOf(store_);
    // A server without accounts lets anyone in with an empty password, so that the first
    // administrator can be made; the client skips its group check in that case.
    if (accounts.empty()) return std::string();
    std::string wanted = base::ToLower(user);
    for (const auto& a : accounts) {
        if (base::ToLower(a.name) == wanted) return a.password;
    }
    return std::nullopt;
}

std::string SimService::onCommand(const link::PeerInfo& peer, const std::string& xml) {
    if (traffic_) traffic_->write(xml);
    auto cmd = parseCommand(xml);
    // A text that is no command has no id to answer under: it is refused as a whole.
    if (!cmd) return "-1";
    return answer(peer, *cmd);
}

std::string SimService::answer(const link::PeerInfo& peer, const Command& cmd) {
    const int32_t id = cmd.id;
    if (id == 4100) return serverInfo(cmd);
    if (id == 4109) return userGroup(cmd);
    if (auto reply = channelAnswer(cmd)) return *reply;
    if (id == 40961) {
        std::string body = "<CPUUsage>" + std::to_string(cpu_.usage()) + "</CPUUsage><HTTP>1</HTTP>";
        return buildResponse(0, id, cmd.userData, body);
    }
    if (id == 40995) return ddnsStatus(cmd);
    if (id == 40996) return ddnsCheck(cmd);
    if (id == 1183748) return portCheck(cmd);
    if (id == 36865 || id == 45057) return openQuery(peer, cmd, id == 45057);
    if (id == 36866 || id == 45058) return closeQuery(cmd);
    if (id >= 36867 && id <= 36872) return queryPage(peer, cmd);
    if (id == 40992) return startCapture(cmd);
    if (kNotices.count(id)) return buildResponse(0, id, cmd.userData, "");
    if (kWrites.count(id) || isDocumentWrite(id)) return write(peer, cmd);
    if (kReads.count(id)) return read(cmd);
    return buildResponse(-1, id, cmd.userData, "");
}

std::string SimService::read(const Command& cmd) {
    const std::string key = readKey(cmd.id, cmd.paramBody);
    std::optional<std::string> body = key.empty() ? std::nullopt : store_.get(key);
    // A profile that does not exist is an error; other reads with nothing stored answer empty.
    if (!body && cmd.id == 32833) return buildResponse(-1, cmd.id, cmd.userData, "");
    const bool retCode = cmd.id == 24582 || cmd.id == 8193;
    return buildResponse(0, cmd.id, cmd.userData, body.value_or(""), retCode);
}

std::string SimService::write(const link::PeerInfo& peer, const Command& cmd) {
    if (!isDocumentWrite(cmd.id)) return buildResponse(0, cmd.id, cmd.userData, "");
    auto docs = documentsFromWrite(cmd.id, cmd.paramBody, [this](const std::string& key) { return store_.get(key); });
    // A write whose body cannot be read changes nothing and says so; the documents it changes
    // land together or not at all, with the system log's row about them.
    if (docs.empty()) return buildResponse(-1, cmd.id, cmd.userData, "");
    if (int32_t sub = configSubCode(cmd.id)) docs.emplace_back(kSysLogKey, sysLogWith(512, sub, peer));
    return buildResponse(store_.putAll(docs) ? 0 : -1, cmd.id, cmd.userData, "");
}

std::string SimService::serverInfo(const Command& cmd) {
    std::string body = store_.get(readKey(cmd.id, cmd.paramBody)).value_or("");
    if (!options_.version.empty()) body = withElement(body, "Version", options_.version);
    // Answered under the id of the pushed server information, so that an asynchronous answer
    // reaches the same parser as a synchronous one.
    return buildResponse(0, kServerInfoId, cmd.userData, body);
}

std::string SimService::userGroup(const Command& cmd) {
    const std::string users = store_.get("32801").value_or("");
    // Without accounts everyone administers the server, as the login lets everyone in.
    if (accountsOf(store_).empty()) return buildResponse(0, cmd.id, cmd.userData, "<GroupID>1</GroupID>");
    const std::string body = groupReplyBody(users, cmd.param("UserName"));
    const bool known = body.find("<GroupID>-1</GroupID>") == std::string::npos;
    return buildResponse(known ? 0 : -1, cmd.id, cmd.userData, body);
}

std::string SimService::portCheck(const Command& cmd) {
    std::string type = base::Trim(cmd.param("Type"));
    std::string portText = base::Trim(cmd.param("Port"));
    auto port = number(portText);
    bool valid = port && *port >= 1 && *port <= 65535;
    bool available = valid && portAvailable(static_cast<uint16_t>(*port));
    std::string body = "<Type>" + xmlEscape(type) + "</Type><Port>" + xmlEscape(portText) + "</Port><Available>" +
                       (available ? "1" : "0") + "</Available>";
    return buildResponse(valid ? 0 : -1, cmd.id, cmd.userData, body);
}

std::string SimService::ddnsCheck(const Command& cmd) {
    // Nothing is registered anywhere: an empty domain is the one refusal (-2), a name that
    // cannot be a host on the internet (no dot) is a server that cannot be reached (-3), and
    // every other name registers (1).
    std::string domain = base::Trim(cmd.param("DomainName"));
    int32_t status = domain.empty() ? -2 : domain.find('.') == std::string::npos ? -3 : 1;
    return buildResponse(0, cmd.id, cmd.userData, "<Status>" + std::to_string(status) + "</Status>");
}

std::string SimService::ddnsStatus(const Command& cmd) {
    // Registered (1) while the stored DDNS setting is on, else disabled (-1).
    bool on = base::Trim(storedText(store_, "32837", "Enable")) == "1";
    return buildResponse(0, cmd.id, cmd.userData, std::string("<Status>") + (on ? "1" : "-1") + "</Status>");
}

std::string SimService::startCapture(const Command& cmd) {
    return buildResponse(0, cmd.id, cmd.userData, "<ID>" + std::to_string(nextCaptureId_++) + "</ID>");
}

std::string SimService::openQuery(const link::PeerInfo& peer, const Command& cmd, bool counting) {
    int32_t id = nextQueryId_++;
    queries_[id] = Query{peer.sessionId, counting, {}, 0, 0};
    return buildResponse(0, cmd.id, cmd.userData, "<QueryID>" + std::to_string(id) + "</QueryID>");
}

std::string SimService::closeQuery(const Command& cmd) {
    auto qid = number(cmd.param("QueryID"));
    bool found = qid && queries_.erase(static_cast<int32_t>(*qid)) > 0;
    return buildResponse(found ? 0 : -1, cmd.id, cmd.userData, "");
}

std::string SimService::queryPage(const link::PeerInfo& peer, const Command& cmd) {
    auto qid = number(cmd.param("QueryID"));
    auto it = qid ? queries_.find(static_cast<int32_t>(*qid)) : queries_.end();
    if (it == queries_.end()) return buildResponse(-1, cmd.id, cmd.userData, "");
    Query& q = it->second;
    const char* key = q.counting ? kCountingLogKey : kSysLogKey;
    const char* list = q.counting ? "ITLLogList" : "SysLogList";

    if (cmd.id == 36871) {  // clear the log; the system log keeps one row saying so
        std::string cleared = q.counting ? "<ITLLogList></ITLLogList>" : sysLogWith(256, 264, peer, false);
        if (!store_.put(key, cleared)) {
            return buildResponse(-1, cmd.id, cmd.userData, "");
        }
        q.rows.clear();
        q.position = 0;
        return buildResponse(0, cmd.id, cmd.userData, "<TotalCount>0</TotalCount>");
    }
    if (cmd.id == 36867) {
        // A search takes a snapshot of the matching rows; the other commands page through it.
        q.rows.clear();
        q.position = 0;
        auto count = number(cmd.param("Count"));
        q.pageSize = count && *count > 0 ? static_cast<size_t>(*count) : 50;
        auto begin = number(cmd.param("BeginTime"));
        auto end = number(cmd.param("EndTime"));
        std::set<int64_t> channels, types;
        const pugi::xml_node param = cmd.doc.document_element().child("Param");
        for (pugi::xml_node ch : param.child("CHList").children("CH")) {
            if (auto n = number(ch.child_value())) channels.insert(*n);
        }
        for (pugi::xml_node t : param.child("TypeList").children("Type")) {
            if (auto n = number(t.child_value())) types.insert(*n);
        }
        pugi::xml_document doc;
        auto body = store_.get(key);
        if (body && loadFragment(doc, *body)) {
            for (pugi::xml_node row : doc.select_node((std::string(".//") + list).c_str()).node().children()) {
                if (row.type() != pugi::node_element) continue;
                if (q.counting) {
                    // Counting rows: time, sequence, channel, type ... as attributes by position.
                    pugi::xml_attribute a = row.first_attribute();
                    int64_t time = a.as_llong();
                    int64_t ch = a.next_attribute().next_attribute().as_llong();
                    int64_t type = a.next_attribute().next_attribute().next_attribute().as_llong();
                    if ((begin && time < *begin) || (end && time > *end)) continue;
                    if (!channels.empty() && !channels.count(ch)) continue;
                    if (!types.empty() && !types.count(type)) continue;
                }
                std::ostringstream text;
                row.print(text, "", pugi::format_raw);
                q.rows.push_back(text.str());
            }
        }
    } else if (cmd.id == 36868) {
        if (q.position + q.pageSize < q.rows.size()) q.position += q.pageSize;
    } else if (cmd.id == 36870) {
        q.position = q.position > q.pageSize ? q.position - q.pageSize : 0;
    } else if (cmd.id == 36872) {
        auto index = number(cmd.param("Index"));
        if (index && *index >= 1) q.position = std::min(static_cast<size_t>(*index - 1) * q.pageSize, q.rows.size());
    } else {
        return buildResponse(-1, cmd.id, cmd.userData, "");  // 36869 is no command
    }
    std::string body = "<TotalCount>" + std::to_string(q.rows.size()) + "</TotalCount><" + list + ">";
    for (size_t i = q.position; i < q.rows.size() && i < q.position + q.pageSize; ++i) body += q.rows[i];
    body += std::string("</") + list + ">";
    return buildResponse(0, cmd.id, cmd.userData, body);
}

std::string SimService::sysLogWith(int32_t code, int32_t subCode, const link::PeerInfo& peer, bool keepOld) {
    std::vector<std::string> rows;
    int64_t seq = 0;
    pugi::xml_document doc;
    if (auto body = store_.get(kSysLogKey); body && loadFragment(doc, *body)) {
        for (pugi::xml_node row : doc.select_node(".//SysLogList").node().children()) {
            if (row.type() != pugi::node_element) continue;
            std::ostringstream text;
            row.print(text, "", pugi::format_raw);
            if (keepOld) rows.push_back(text.str());
            seq = std::max<int64_t>(seq, row.attribute("Seq").as_llong());
        }
    }
    const auto now = std::chrono::duration_cast<std::chrono::seconds>(
        std::chrono::system_clock::now().time_since_epoch()).count();
    rows.push_back("<SysLog Time=\"" + std::to_string(now) + "\" Code=\"" + std::to_string(code) + "\" SubCode=\"" +
                   std::to_string(subCode) + "\" CH=\"0\" SourceAP=\"" + xmlEscape(peer.clientTag) + "\" IP=\"" +
                   xmlEscape(peer.address) + "\" UserName=\"" + xmlEscape(peer.user) + "\" Seq=\"" +
                   std::to_string(seq + 1) + "\" />");
    const size_t first = rows.size() > kSysLogLimit ? rows.size() - kSysLogLimit : 0;
    std::string out = "<SysLogList>";
    for (size_t i = first; i < rows.size(); ++i) out += rows[i];
    return out + "</SysLogList>";
}

void SimService::logEvent(int32_t code, int32_t subCode, const link::PeerInfo& peer) {
    store_.put(kSysLogKey, sysLogWith(code, subCode, peer));
}

std::string SimService::discoveryReply(int32_t type) {
    std::string ip = options_.address;
    if (ip.empty() || ip == "0.0.0.0" || ip == "::") ip = primaryAddress();
    std::string name = storedText(store_, readKey(4100, "").c_str(), "Name");
    if (name.empty()) name = "kelvarra-sim";
    return "<DeviceList><Device><IP>" + xmlEscape(ip) + "</IP><Port>" + std::to_string(options_.port) +
           "</Port><Manufacturer>Kelvarra</Manufacturer><Model>Kelvarra 64</Model><DeviceType>" +
           std::to_string(type > 0 ? type : 8) + "</DeviceType><DeviceName>" + xmlEscape(name) +
           "</DeviceName></Device></DeviceList>";
}

}  // namespace kv::sim
