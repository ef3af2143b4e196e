// The reference service behind the link: answers commands from the stored configuration, checks
// accounts and admission, maps its disks onto local folders, serves map pictures, runs exports and
// answers discovery.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <asio.hpp>

#include "base/result.h"
#include "link/server_handler.h"
#include "sim/commands.h"
#include "sim/probe.h"
#include "sim/store.h"
#include "sim/traffic_log.h"

namespace kv::sim {

/// The command port a start without `--port` listens on when the store holds none.
inline constexpr uint16_t kDefaultCommandPort = 9877;

/// The command port of the stored server information; nothing when none is stored or it is not
/// 1..65535.
std::optional<uint16_t> storedCommandPort(const SimStore& store);

/// The notice that tells every client the service is about to restart.
inline constexpr const char* kRebootNotice = "<NOTIFY><Reboot>1</Reboot></NOTIFY>";

/// The service's disks: a drive letter ('A'..'Z') and the folder that stands for its root.
using DiskMap = std::map<char, std::filesystem::path>;

/// A `--disk` value, "C=/some/folder" (the letter case-blind), as a letter and a folder; the reason
/// when it is none.
base::Result<std::pair<char, std::filesystem::path>> parseDiskMapping(std::string_view value);
/// The disks of a start without `--disk`: C, D and E under `dataDir/disks`.
DiskMap defaultDisks(const std::filesystem::path& dataDir);
/// Makes the folder of every disk; false with the reason when one cannot be made.
bool makeDiskFolders(const DiskMap& disks, std::string* error);
/// The local folder of a path of the service's machine ("D:\Record\", "\" or "/" between the
/// parts): nothing when its drive is not mapped, it is no drive path, or it leaves its disk.
std::optional<std::filesystem::path> diskFolder(const DiskMap& disks, std::string_view path);
/// Makes the folders of `paths` that lie on a mapped disk, as a recorder makes its recording folders.
void makeFoldersOnDisks(const DiskMap& disks, const std::vector<std::string>& paths);
/// The folders of the demo's recordings, laid out on its disks when the demo is seeded.
std::vector<std::string> demoRecordingFolders();

struct ServiceOptions {
    std::filesystem::path dataDir;  // "Map/" and "Export/" live here
    DiskMap disks;                  // the drives 32815 reports and 32816 and 32786 resolve
    std::string version;            // replaces the stored Version of the server information when set
    bool denyRemote = false;        // remote logins get -11
    bool noRemote = false;          // remote logins get -12
    bool shuttingDown = false;      // every login gets -14
    bool silent = false;            // logins are never answered
    bool loopbackIsRemote = false;  // loopback peers count as remote for the two options above
    std::string address = "127.0.0.1";  // the listening address, told to discovery
    uint16_t port = 0;                   // the listening port, told to discovery
};

/// All calls come on the one thread that runs the io_context: the service keeps no locks.
/// Export timers run on the same io_context.
class SimService final : public link::ServerHandler {
public:
    SimService(asio::io_context& io, SimStore& store, ServiceOptions options, TrafficLog* traffic = nullptr);
    ~SimService() override;

    /// The service listens on `port` and serves the stored HTTP port: both are taken at the start, so
    /// ports saved later take effect at the next start.
    void setListenEndpoint(std::string address, uint16_t port);
    /// Makes the folders of the stored storage paths, as the recorder does at its start.
    void makeStorageFolders();
    /// Adds a row to the system log (code and sub-code of the log's table) made by `peer`.
    void logEvent(int32_t code, int32_t subCode, const link::PeerInfo& peer);

    std::optional<int32_t> admission(const link::PeerInfo& peer) override;
    std::optional<std::string> passwordOf(const std::string& user) override;
    std::string onCommand(const link::PeerInfo& peer, const std::string& xml) override;
    std::optional<std::string> readFile(const link::PeerInfo& peer, const std::string& serverFile, int32_t groupID,
                                        int32_t flag) override;
    bool writeFile(const link::PeerInfo& peer, const std::string& name, int32_t groupID, int32_t flag,
                   const std::string& data) override;
    std::string filterTest(const link::PeerInfo& peer, const std::string& rawText,
                           const std::string& profileXml) override;
    int32_t startExport(const link::PeerInfo& peer, int32_t kind, const std::string& xml,
                        link::ExportSink sink) override;
    bool stopExport(const link::PeerInfo& peer, int32_t exportID) override;
    std::string discoveryReply(int32_t type) override;
    void sessionClosed(const link::PeerInfo& peer) override;

    /// The folder of map pictures and the folder exports are written to.
    std::filesystem::path mapDir() const { return options_.dataDir / "Map"; }
    std::filesystem::path exportDir() const { return options_.dataDir / "Export"; }

private:
    struct Query {
        uint64_t sessionId = 0;
        bool counting = false;          // a counting-log query rather than a system-log one
        std::vector<std::string> rows;  // the rows the last search found
        size_t position = 0;            // first row of the page last answered
        size_t pageSize = 0;
    };
    struct Export;
    /// A channel written (24581 with its settings) and not yet applied by its session's 40963.
    struct PendingChannel {
        uint64_t sessionId = 0;
        int ch = 0;
        std::string body;
    };

    friend struct CommandRows;  // the command table names the handlers below

    // Handlers of the command table (sim/commands.cpp), one per kind of answer.
    std::string readStored(const Call& call);
    /// A read of one document the request names (a POS profile): RET -1 when there is none.
    std::string readExisting(const Call& call);
    std::string write(const Call& call);
    /// Stores the documents of a write with its system-log row: RET 0, or RET -1 when there are
    /// none or the store fails.
    std::string commit(const Call& call, SimStore::Documents docs);
    /// 24581: a removal takes effect at once; a channel's settings wait for the session's 40963.
    std::string writeChannel(const Call& call);
    /// 40963: the session's channel writes take effect, all or none.
    std::string applyChannels(const Call& call);
    /// A write that adds an entry to a list: answers the entry's new `ID`.
    std::string writeAdded(const Call& call);
    std::string acknowledge(const Call& call);
    std::string serverInfo(const Call& call);
    std::string userGroup(const Call& call);
    std::string serviceStatus(const Call& call);
    std::string portCheck(const Call& call);
    std::string ddnsCheck(const Call& call);
    std::string ddnsStatus(const Call& call);
    std::string openQuery(const Call& call);
    std::string closeQuery(const Call& call);
    std::string searchLog(const Call& call);
    std::string nextPage(const Call& call);
    std::string previousPage(const Call& call);
    std::string gotoPage(const Call& call);
    std::string clearLog(const Call& call);
    std::string startCapture(const Call& call);
    std::string stopCapture(const Call& call);
    std::string simulator(const Call& call);
    // The channel reads the service computes, in service_channels.cpp.
    std::string detectDevice(const Call& call);
    std::string searchCameras(const Call& call);
    std::string channelStatus(const Call& call);
    std::string channelDetail(const Call& call);
    std::string presets(const Call& call);
    std::string ptzPosition(const Call& call);
    std::string selectPresetPoint(const Call& call);
    std::string fisheyeMode(const Call& call);
    std::string previewCamera(const Call& call);
    // The disks, their folders and the storage write, in service_disks.cpp.
    /// 32815: each disk's free and total space, from its file system.
    std::string diskSpace(const Call& call);
    /// 32816: the folders under `ParentPath`, the parent first.
    std::string listFolders(const Call& call);
    /// 32786: the paths must lie on mapped disks; their folders are made before the setting is stored.
    std::string writeStorage(const Call& call);

    /// The open query a log command names, or nullptr (its answer then is RET -1).
    Query* queryOf(const Command& cmd);
    /// The page of the query's snapshot from its position.
    std::string page(const Command& cmd, const Query& q);
    /// The system log document with one row more (or with that row alone when not `keepOld`).
    std::string sysLogWith(int32_t code, int32_t subCode, const link::PeerInfo& peer, bool keepOld = true);
    void exportTick(int32_t id);
    /// The documents the channel writes make, applied one after the other over the store; nothing
    /// when one of them is refused.
    std::optional<SimStore::Documents> channelDocuments(const std::vector<const std::string*>& bodies);

    asio::io_context& io_;
    SimStore& store_;
    ServiceOptions options_;
    TrafficLog* traffic_;
    CpuSampler cpu_;
    std::map<int32_t, Query> queries_;
    int32_t nextQueryId_ = 1;
    int32_t nextCaptureId_ = 1;
    std::set<int32_t> captures_;  // started and not yet stopped
    std::map<int32_t, std::unique_ptr<Export>> exports_;
    int32_t nextExportId_ = 1;
    std::vector<PendingChannel> pendingChannels_;  // in the order written
    uint16_t httpPort_ = 0;  // the HTTP port served, taken at the start; 0: the web server could not start
};

}  // namespace kv::sim
