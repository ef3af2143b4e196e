// The service's files: map pictures, exports driven by a timer, and the POS filter test.
#include <chrono>
#include <fstream>
#include <system_error>

#include "sim/envelope.h"
#include "sim/pos_filter.h"
#include "sim/service.h"

namespace kv::sim {

namespace {

constexpr auto kExportStep = std::chrono::milliseconds(200);  // 10 % a step: about 2 s an export
constexpr size_t kMaxMapPicture = 16 * 1024 * 1024;

// The last component of a path written with "\" or "/"; empty when it names no file.
std::string fileNameOf(const std::string& path) {
    size_t cut = path.find_last_of("\\/");
    std::string name = cut == std::string::npos ? path : path.substr(cut + 1);
    return name == "." || name == ".." ? std::string() : name;
}

// Writes beside and renames, so that a reader never sees half a file.
bool writeWhole(const std::filesystem::path& file, const std::string& data) {
    std::error_code ec;
    std::filesystem::create_directories(file.parent_path(), ec);
    std::filesystem::path tmp = file;
    tmp += ".part";
    {
        std::ofstream out(tmp, std::ios::binary | std::ios::trunc);
        if (!out.write(data.data(), static_cast<std::streamsize>(data.size())) || !out.flush()) return false;
    }
    std::filesystem::rename(tmp, file, ec);
    if (ec) std::filesystem::remove(tmp, ec);
    return !ec;
}

}  // namespace

struct SimService::Export {
    explicit Export(asio::io_context& io) : timer(io) {}
    uint64_t sessionId = 0;
    int32_t kind = 0;
    std::filesystem::path file;
    std::string content;
    link::ExportSink sink;
    asio::steady_timer timer;
    int32_t percent = 0;
};

// Here, where an export is a complete type.
SimService::SimService(asio::io_context& io, SimStore& store, ServiceOptions options, TrafficLog* traffic)
    : io_(io), store_(store), options_(std::move(options)), traffic_(traffic) {
    setListenEndpoint(options_.address, options_.port);
}

SimService::~SimService() = default;

std::optional<std::string> SimService::readFile(const link::PeerInfo&, const std::string& serverFile, int32_t,
                                                int32_t) {
    std::string name = fileNameOf(serverFile);
    if (name.empty()) return std::nullopt;
    std::ifstream in(mapDir() / name, std::ios::binary);
    if (!in) return std::nullopt;
    return std::string(std::istreambuf_iterator<char>(in), {});
}

bool SimService::writeFile(const link::PeerInfo&, const std::string& name, int32_t groupID, int32_t,
                           const std::string& data) {
    // The client fetches a group's picture as "Map\MAP_<group>.jpg", whatever the file it
    // uploaded was called.
    std::string target = groupID >= 0 ? "MAP_" + std::to_string(groupID) + ".jpg" : fileNameOf(name);
    if (target.empty() || data.size() > kMaxMapPicture) return false;
    return writeWhole(mapDir() / target, data);
}

std::string SimService::filterTest(const link::PeerInfo&, const std::string& rawText, const std::string& profileXml) {
    return filterReceipts(rawText, profileXml);
}

int32_t SimService::startExport(const link::PeerInfo& peer, int32_t kind, const std::string& xml,
                                link::ExportSink sink) {
    if (kind != 0 && kind != 1) return -1;
    pugi::xml_document doc;
    if (!doc.load_buffer(xml.data(), xml.size(), pugi::parse_default, pugi::encoding_utf8)) return -1;
    pugi::xml_node param = doc.select_node("//Param").node();
    if (!param) return -1;

    int32_t id = nextExportId_++;
    auto job = std::make_unique<Export>(io_);
    job->sessionId = peer.sessionId;
    job->kind = kind;
    job->sink = std::move(sink);
    std::string name = fileNameOf(param.child_value("FileName"));
    if (name.empty()) name = kind == 1 ? "AVI_Backup_" + std::to_string(id) + ".avi" : "DB_BACKUP_" + std::to_string(id) + ".db";
    job->file = exportDir() / name;
    std::string channels;
    for (pugi::xml_node ch : param.child("CHList").children("CH")) {
        channels += (channels.empty() ? "" : ",") + std::string(ch.child_value());
    }
    job->content = "kelvarra-sim export " + std::to_string(id) + "\nkind: " + (kind == 1 ? "AVI" : "media database") +
                   "\nchannels: " + channels + "\nbegin: " + param.child_value("BeginTime") +
                   "\nend: " + param.child_value("EndTime") + "\n";
    exports_[id] = std::move(job);
    // The first report comes after the caller has the id.
    asio::post(io_, [this, id] {
        auto it = exports_.find(id);
        if (it == exports_.end()) return;
        if (it->second->sink.progress) it->second->sink.progress(0);
        exportTick(id);
    });
    return id;
}

void SimService::exportTick(int32_t id) {
    Export& job = *exports_.at(id);
    job.timer.expires_after(kExportStep);
    job.timer.async_wait([this, id](const asio::error_code& ec) {
        if (ec) return;  // stopped, or the service is going away: `this` may be gone
        auto it = exports_.find(id);
        if (it == exports_.end()) return;
        Export& e = *it->second;
        e.percent += 10;
        if (e.sink.progress) e.sink.progress(e.percent);
        if (e.percent < 100) {
            exportTick(id);
            return;
        }
        bool ok = writeWhole(e.file, e.content);
        link::ExportSink sink = std::move(e.sink);
        exports_.erase(it);
        if (sink.finished) sink.finished(ok ? 1 : -1);
    });
}

bool SimService::stopExport(const link::PeerInfo&, int32_t exportID) { return exports_.erase(exportID) > 0; }

void SimService::sessionClosed(const link::PeerInfo& peer) {
    // Queries and exports die with the session that made them: nobody is left to read them.
    std::erase_if(queries_, [&](const auto& q) { return q.second.sessionId == peer.sessionId; });
    std::erase_if(exports_, [&](const auto& e) { return e.second->sessionId == peer.sessionId; });
    // Channel settings a session wrote and never applied go with it.
    std::erase_if(pendingChannels_, [&](const PendingChannel& p) { return p.sessionId == peer.sessionId; });
    if (!peer.user.empty()) logEvent(1792, 1794, peer);  // logout
}

}  // namespace kv::sim
