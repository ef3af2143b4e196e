// The reference service's handlers: reads from the store, writes into it, the computed answers
// (status, port and DDNS checks, log queries, captures), accounts and admission. Which handler
// answers which id is the command table's (sim/commands.cpp).
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
#include "sim/seed_channels.h"
#include "sim/updates.h"

namespace kv::sim {

namespace {

constexpr int32_t kServerInfoId = 32790;  // the id the server information is answered under
constexpr const char* kSysLogKey = "36867";
constexpr const char* kCountingLogKey = "45057";
constexpr size_t kSysLogLimit = 1000;  // the oldest rows go beyond this

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
    const std::string key(findCommand(4100)->key);
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
    const CommandRow* row = findCommand(cmd->id);
    // An id the service does not know still gets its id back, so that an asynchronous sender
    // sees it and a synchronous one a failure.
    if (!row) return buildResponse(-1, cmd->id, cmd->userData, "");
    return (this->*row->handler)(Call{peer, *cmd, *row});
}

std::string SimService::readStored(const Call& c) {
    const std::string key = readKey(c.cmd.id, c.cmd.paramBody);
    // A read with nothing stored answers an empty body: the list is empty.
    const std::optional<std::string> body = key.empty() ? std::nullopt : store_.get(key);
    return buildResponse(0, c.cmd.id, c.cmd.userData, body.value_or(""));
}

std::string SimService::readExisting(const Call& c) {
    const std::string key = readKey(c.cmd.id, c.cmd.paramBody);
    const std::optional<std::string> body = key.empty() ? std::nullopt : store_.get(key);
    if (!body) return buildResponse(-1, c.cmd.id, c.cmd.userData, "");
    return buildResponse(0, c.cmd.id, c.cmd.userData, *body);
}

std::string SimService::write(const Call& c) {
    auto docs = documentsFromWrite(c.cmd.id, c.cmd.paramBody, [this](const std::string& key) { return store_.get(key); });
    // A write the service refuses, or whose body cannot be read, changes nothing and says so; the
    // documents it changes land together or not at all, with the system log's row about them.
    if (docs.empty()) return buildResponse(-1, c.cmd.id, c.cmd.userData, "");
    if (c.row.logSubCode) docs.emplace_back(kSysLogKey, sysLogWith(512, c.row.logSubCode, c.peer));
    return buildResponse(store_.putAll(docs) ? 0 : -1, c.cmd.id, c.cmd.userData, "");
}

std::string SimService::writeAdded(const Call& c) {
    const std::string answer = write(c);
    if (answer.find("RET=\"0\"") == std::string::npos) return answer;
    // The new entry has the largest id of its list.
    const std::string list(c.row.elements.substr(0, c.row.elements.find(' ')));
    const int id = update::largestId(store_.get(c.row.key), list.c_str());
    return buildResponse(0, c.cmd.id, c.cmd.userData, "<ID>" + std::to_string(id) + "</ID>");
}

std::string SimService::acknowledge(const Call& c) { return buildResponse(0, c.cmd.id, c.cmd.userData, ""); }

std::string SimService::serverInfo(const Call& c) {
    std::string body = store_.get(c.row.key).value_or("");
    if (!options_.version.empty()) body = withElement(body, "Version", options_.version);
    // Answered under the id of the pushed server information, so that an asynchronous answer
    // reaches the same parser as a synchronous one.
    return buildResponse(0, kServerInfoId, c.cmd.userData, body);
}

std::string SimService::userGroup(const Call& c) {
    const std::string users = store_.get(c.row.key).value_or("");
    // Without accounts everyone administers the server, as the login lets everyone in.
    if (accountsOf(store_).empty()) return buildResponse(0, c.cmd.id, c.cmd.userData, "<GroupID>1</GroupID>");
    const std::string body = groupReplyBody(users, c.cmd.param("UserName"));
    const bool known = body.find("<GroupID>-1</GroupID>") == std::string::npos;
    return buildResponse(known ? 0 : -1, c.cmd.id, c.cmd.userData, body);
}

std::string SimService::serviceStatus(const Call& c) {
    const std::string body = "<CPUUsage>" + std::to_string(cpu_.usage()) + "</CPUUsage><HTTP>1</HTTP>";
    return buildResponse(0, c.cmd.id, c.cmd.userData, body);
}

std::string SimService::portCheck(const Call& c) {
    std::string type = base::Trim(c.cmd.param("Type"));
    std::string portText = base::Trim(c.cmd.param("Port"));
    auto port = number(portText);
    bool valid = port && *port >= 1 && *port <= 65535;
    bool available = valid && portAvailable(static_cast<uint16_t>(*port));
    std::string body = "<Type>" + xmlEscape(type) + "</Type><Port>" + xmlEscape(portText) + "</Port><Available>" +
                       (available ? "1" : "0") + "</Available>";
    return buildResponse(valid ? 0 : -1, c.cmd.id, c.cmd.userData, body);
}

std::string SimService::ddnsCheck(const Call& c) {
    // Nothing is registered anywhere: an empty domain is the one refusal (-2), a name that
    // cannot be a host on the internet (no dot) is a server that cannot be reached (-3), and
    // every other name registers (1).
    std::string domain = base::Trim(c.cmd.param("DomainName"));
    int32_t status = domain.empty() ? -2 : domain.find('.') == std::string::npos ? -3 : 1;
    return buildResponse(0, c.cmd.id, c.cmd.userData, "<Status>" + std::to_string(status) + "</Status>");
}

std::string SimService::ddnsStatus(const Call& c) {
    // Registered (1) while the stored DDNS setting is on, else disabled (-1).
    bool on = base::Trim(storedText(store_, std::string(c.row.key).c_str(), "Enable")) == "1";
    return buildResponse(0, c.cmd.id, c.cmd.userData, std::string("<Status>") + (on ? "1" : "-1") + "</Status>");
}

std::string SimService::startCapture(const Call& c) {
    // The capture listens on one of the machine's serial ports.
    const std::string port = base::Trim(c.cmd.param("SerialPort"));
    const std::string ports = store_.get(c.row.key).value_or("");
    if (port.empty() || ports.find("<COMPort>" + xmlEscape(port) + "</COMPort>") == std::string::npos)
        return buildResponse(-1, c.cmd.id, c.cmd.userData, "<ID>-1</ID>");
    const int32_t id = nextCaptureId_++;
    captures_.insert(id);
    return buildResponse(0, c.cmd.id, c.cmd.userData, "<ID>" + std::to_string(id) + "</ID>");
}

std::string SimService::stopCapture(const Call& c) {
    const auto id = number(c.cmd.param("ID"));
    if (!id || captures_.erase(static_cast<int32_t>(*id)) == 0) return buildResponse(-1, c.cmd.id, c.cmd.userData, "");
    // No till is wired to the service's ports: the capture holds no bytes.
    return buildResponse(0, c.cmd.id, c.cmd.userData, "<POSData></POSData>");
}

std::string SimService::simulator(const Call& c) {
    // The analysis runs on a configured channel's video.
    const int ch = static_cast<int>(number(c.cmd.param("CH")).value_or(0));
    const bool configured = ch >= 1 && ch <= 64 && seed::channelEntry(store_.get(c.row.key), ch);
    return buildResponse(configured ? 0 : -1, c.cmd.id, c.cmd.userData, "");
}

std::string SimService::openQuery(const Call& c) {
    int32_t id = nextQueryId_++;
    queries_[id] = Query{c.peer.sessionId, c.row.key == kCountingLogKey, {}, 0, 0};
    return buildResponse(0, c.cmd.id, c.cmd.userData, "<QueryID>" + std::to_string(id) + "</QueryID>");
}

std::string SimService::closeQuery(const Call& c) {
    auto qid = number(c.cmd.param("QueryID"));
    bool found = qid && queries_.erase(static_cast<int32_t>(*qid)) > 0;
    return buildResponse(found ? 0 : -1, c.cmd.id, c.cmd.userData, "");
}

SimService::Query* SimService::queryOf(const Command& cmd) {
    auto qid = number(cmd.param("QueryID"));
    auto it = qid ? queries_.find(static_cast<int32_t>(*qid)) : queries_.end();
    return it == queries_.end() ? nullptr : &it->second;
}

std::string SimService::clearLog(const Call& c) {
    Query* q = queryOf(c.cmd);
    if (!q) return buildResponse(-1, c.cmd.id, c.cmd.userData, "");
    // The system log keeps one row saying it was cleared.
    std::string cleared = q->counting ? "<ITLLogList></ITLLogList>" : sysLogWith(256, 264, c.peer, false);
    if (!store_.put(q->counting ? kCountingLogKey : kSysLogKey, cleared)) {
        return buildResponse(-1, c.cmd.id, c.cmd.userData, "");
    }
    q->rows.clear();
    q->position = 0;
    return buildResponse(0, c.cmd.id, c.cmd.userData, "<TotalCount>0</TotalCount>");
}

std::string SimService::searchLog(const Call& c) {
    Query* found = queryOf(c.cmd);
    if (!found) return buildResponse(-1, c.cmd.id, c.cmd.userData, "");
    Query& q = *found;
    const Command& cmd = c.cmd;
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
    const char* list = q.counting ? "ITLLogList" : "SysLogList";
    pugi::xml_document doc;
    auto body = store_.get(q.counting ? kCountingLogKey : kSysLogKey);
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
    return page(cmd, q);
}

std::string SimService::nextPage(const Call& c) {
    Query* q = queryOf(c.cmd);
    if (!q) return buildResponse(-1, c.cmd.id, c.cmd.userData, "");
    if (q->position + q->pageSize < q->rows.size()) q->position += q->pageSize;
    return page(c.cmd, *q);
}

std::string SimService::previousPage(const Call& c) {
    Query* q = queryOf(c.cmd);
    if (!q) return buildResponse(-1, c.cmd.id, c.cmd.userData, "");
    q->position = q->position > q->pageSize ? q->position - q->pageSize : 0;
    return page(c.cmd, *q);
}

std::string SimService::gotoPage(const Call& c) {
    Query* q = queryOf(c.cmd);
    if (!q) return buildResponse(-1, c.cmd.id, c.cmd.userData, "");
    auto index = number(c.cmd.param("Index"));
    if (index && *index >= 1) q->position = std::min(static_cast<size_t>(*index - 1) * q->pageSize, q->rows.size());
    return page(c.cmd, *q);
}

std::string SimService::page(const Command& cmd, const Query& q) {
    const std::string list = q.counting ? "ITLLogList" : "SysLogList";
    std::string body = "<TotalCount>" + std::to_string(q.rows.size()) + "</TotalCount><" + list + ">";
    for (size_t i = q.position; i < q.rows.size() && i < q.position + q.pageSize; ++i) body += q.rows[i];
    body += "</" + list + ">";
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
    std::string name = storedText(store_, std::string(findCommand(4100)->key).c_str(), "Name");
    if (name.empty()) name = "kelvarra-sim";
    return "<DeviceList><Device><IP>" + xmlEscape(ip) + "</IP><Port>" + std::to_string(options_.port) +
           "</Port><Manufacturer>Kelvarra</Manufacturer><Model>Kelvarra 64</Model><DeviceType>" +
           std::to_string(type > 0 ? type : 8) + "</DeviceType><DeviceName>" + xmlEscape(name) +
           "</DeviceName></Device></DeviceList>";
}

}  // namespace kv::sim
