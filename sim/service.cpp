// The reference service's handlers: reads from the store, writes into it (channel settings held
// until their session's 40963), the computed answers (status, port and DDNS checks, log queries,
// captures), accounts and admission. Which handler
// answers which id is the command table's (sim/commands.cpp).
#include "sim/service.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <set>
#include <sstream>
#include <vector>

#include "app/commands.h"
#include "base/text.h"
#include "sim/ddns.h"
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

std::optional<uint16_t> storedCommandPort(const SimStore& store) {
    const auto port = number(storedText(store, std::string(findCommand(4100)->key).c_str(), "Port"));
    if (!port || *port < 1 || *port > 65535) return std::nullopt;
    return static_cast<uint16_t>(*port);
}

void SimService::setListenEndpoint(std::string address, uint16_t port) {
    options_.address = std::move(address);
    options_.port = port;
    // The web server takes the stored HTTP port at the start; it cannot start on a port that is no
    // port, nor on the command port.
    const auto http = number(storedText(store_, std::string(findCommand(4100)->key).c_str(), "HTTPPort"));
    const bool serves = http && *http >= 1 && *http <= 65535 && *http != port;
    httpPort_ = serves ? static_cast<uint16_t>(*http) : 0;
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
    return commit(c, documentsFromWrite(c.cmd.id, c.cmd.paramBody,
                                        [this](const std::string& key) { return store_.get(key); }));
}

std::string SimService::commit(const Call& c, SimStore::Documents docs) {
    // A write the service refuses, or whose body cannot be read, changes nothing and says so; the
    // documents it changes land together or not at all, with the system log's row about them.
    if (docs.empty()) return buildResponse(-1, c.cmd.id, c.cmd.userData, "");
    if (c.row.logSubCode) docs.emplace_back(kSysLogKey, sysLogWith(512, c.row.logSubCode, c.peer));
    return buildResponse(store_.putAll(docs) ? 0 : -1, c.cmd.id, c.cmd.userData, "");
}

std::optional<SimStore::Documents> SimService::channelDocuments(const std::vector<const std::string*>& bodies) {
    std::map<std::string, std::string> changed;
    const DocumentLookup lookup = [&](const std::string& key) -> std::optional<std::string> {
        if (const auto it = changed.find(key); it != changed.end()) return it->second;
        return store_.get(key);
    };
    for (const std::string* body : bodies) {
        SimStore::Documents docs = documentsFromWrite(app::cmd::kCommitChannel, *body, lookup);
        if (docs.empty()) return std::nullopt;
        for (auto& [key, doc] : docs) changed[key] = std::move(doc);
    }
    return SimStore::Documents(changed.begin(), changed.end());
}

std::string SimService::writeChannel(const Call& c) {
    const int ch = static_cast<int>(number(c.cmd.param("CH")).value_or(0));
    const pugi::xml_node param = c.cmd.doc.document_element().child("Param");
    if (!param.child("IP")) {
        // A removal takes effect at once (the client sends no 40963 after it), and overrides what
        // the session wrote for that channel before.
        std::erase_if(pendingChannels_,
                      [&](const PendingChannel& p) { return p.sessionId == c.peer.sessionId && p.ch == ch; });
        return write(c);
    }
    // The settings are checked now, over what the session wrote for its other channels, and take
    // effect at its 40963; a second write of a channel replaces the first.
    std::vector<const std::string*> bodies;
    for (const PendingChannel& p : pendingChannels_)
        if (p.sessionId == c.peer.sessionId && p.ch != ch) bodies.push_back(&p.body);
    bodies.push_back(&c.cmd.paramBody);
    if (!channelDocuments(bodies)) return buildResponse(-1, c.cmd.id, c.cmd.userData, "");
    std::erase_if(pendingChannels_,
                  [&](const PendingChannel& p) { return p.sessionId == c.peer.sessionId && p.ch == ch; });
    pendingChannels_.push_back({c.peer.sessionId, ch, c.cmd.paramBody});
    return buildResponse(0, c.cmd.id, c.cmd.userData, "");
}

std::string SimService::applyChannels(const Call& c) {
    std::vector<const std::string*> bodies;
    for (const PendingChannel& p : pendingChannels_)
        if (p.sessionId == c.peer.sessionId) bodies.push_back(&p.body);
    if (bodies.empty()) return buildResponse(0, c.cmd.id, c.cmd.userData, "");
    // Another session may have taken a camera since: then nothing takes effect and nothing stays
    // held, so that a channel the client gives up on never comes back with a later notice; a
    // client that tries again writes the channel again.
    std::optional<SimStore::Documents> docs = channelDocuments(bodies);
    if (!docs) {
        std::erase_if(pendingChannels_, [&](const PendingChannel& p) { return p.sessionId == c.peer.sessionId; });
        return buildResponse(-1, c.cmd.id, c.cmd.userData, "");
    }
    docs->emplace_back(kSysLogKey, sysLogWith(512, findCommand(app::cmd::kCommitChannel)->logSubCode, c.peer));
    if (!store_.putAll(*docs)) return buildResponse(-1, c.cmd.id, c.cmd.userData, "");
    std::erase_if(pendingChannels_, [&](const PendingChannel& p) { return p.sessionId == c.peer.sessionId; });
    return buildResponse(0, c.cmd.id, c.cmd.userData, "");
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
    const std::string body = "<CPUUsage>" + std::to_string(cpu_.usage()) + "</CPUUsage><HTTP>" +
                             (httpPort_ ? "1" : "0") + "</HTTP>";
    return buildResponse(0, c.cmd.id, c.cmd.userData, body);
}

std::string SimService::portCheck(const Call& c) {
    std::string type = base::Trim(c.cmd.param("Type"));
    std::string portText = base::Trim(c.cmd.param("Port"));
    auto port = number(portText);
    bool valid = port && *port >= 1 && *port <= 65535 && (type == "1" || type == "2");
    // Type 1 asks about the command port, 2 about the HTTP port. The ports the service holds are
    // free for the use they have and taken for the other; any other port is tried.
    const uint16_t own = type == "2" ? httpPort_ : options_.port;
    const uint16_t other = type == "2" ? options_.port : httpPort_;
    bool available = valid && (*port == own || (*port != other && portAvailable(static_cast<uint16_t>(*port))));
    std::string body = "<Type>" + xmlEscape(type) + "</Type><Port>" + xmlEscape(portText) + "</Port><Available>" +
                       (available ? "1" : "0") + "</Available>";
    return buildResponse(valid ? 0 : -1, c.cmd.id, c.cmd.userData, body);
}

std::string SimService::ddnsCheck(const Call& c) {
    // The provider is asked with the settings of the request, which may not be saved yet.
    const int server = static_cast<int>(number(c.cmd.param("Server")).value_or(0));
    const int32_t status = ddnsRegister(server, c.cmd.param("DomainName"), c.cmd.param("UserName"),
                                        c.cmd.param("Password"));
    return buildResponse(0, c.cmd.id, c.cmd.userData, "<Status>" + std::to_string(status) + "</Status>");
}

std::string SimService::ddnsStatus(const Call& c) {
    // Disabled (-1) while the stored setting is off; else what the provider answers the stored
    // name and account.
    int32_t status = -1;
    pugi::xml_document doc;
    const auto body = store_.get(std::string(c.row.key));
    if (body && loadFragment(doc, *body)) {
        const auto text = [&](const char* name) {
            return std::string(doc.select_node((std::string(".//") + name).c_str()).node().child_value());
        };
        if (base::Trim(text("Enable")) == "1") {
            const int server = static_cast<int>(number(text("Server")).value_or(0));
            status = ddnsRegister(server, text("DomainName"), text("UserName"), text("Password"));
        }
    }
    return buildResponse(0, c.cmd.id, c.cmd.userData, "<Status>" + std::to_string(status) + "</Status>");
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
