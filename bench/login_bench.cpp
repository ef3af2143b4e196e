// Login plus the whole initial load against kelvarra-sim on loopback, beside its floor: the
// round trips of the synchronous steps with empty commands, and a bare parse of the same replies.
#include <benchmark/benchmark.h>

#include <pugixml.hpp>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <thread>

#include "base/lang.h"
#include "link/tcp_link.h"
#include "session/headless.h"
#include "sim/process.h"
#include "sim/traffic_log.h"

namespace {

using namespace kv;
namespace fs = std::filesystem;

// Keeps only the last login status.
struct StatusEvents : link::LinkEvents {
    int32_t last = 0;
    void OnResponse(int32_t, const std::string&) override {}
    void OnNotifyServiceStatus(int32_t, int32_t s) override { last = s; }
    void OnGetMapPic(int32_t, int32_t, int32_t, const std::string&) override {}
    void OnBackupDatabaseStatus(int32_t, int32_t) override {}
    void OnBackupToAVIStatus(int32_t, int32_t) override {}
    void OnNotify(int32_t, const std::string&) override {}
    void OnSearchResult(const std::string&) override {}
    void OnReceiveStatus(int32_t, int32_t) override {}
};

// Logs in with a bare link up to status 9; false when it did not get there.
bool handshake(link::TcpLink& tcp, session::QueueExecutor& executor, StatusEvents& events, int port) {
    tcp.setEvents(&events);
    tcp.Login("127.0.0.1", port, "admin", "admin", "bench");
    for (int i = 0; i < 400 && events.last != 9; ++i) executor.drain(5);
    return events.last == 9;
}

class Quiet : public app::Prompter {
public:
    void status(const std::string&) override {}
    app::Answer box(app::BoxKind, const std::string&, const std::string&) override { return app::Answer::Ok; }
};

// A scratch folder of its own, removed at the end.
struct Scratch {
    fs::path path;
    Scratch() {
        std::string templ = (fs::temp_directory_path() / "kvbench-XXXXXX").string();
        path = ::mkdtemp(templ.data()) ? templ : std::string();
    }
    ~Scratch() {
        std::error_code ec;
        fs::remove_all(path, ec);
    }
};

const char* seedName() {
    const char* seed = std::getenv("KV_BENCH_SEED");
    return seed ? seed : "full";
}

struct World {
    Scratch dir;
    sim::SimProcess sim{KV_SIM_PROGRAM, dir.path / "data", {"--seed", seedName()}};
    base::Language lang{fs::path(KV_SOURCE_SHARE) / "Lang"};
    Quiet prompter;
    std::vector<std::string> replies;  // of one complete login
    World() { lang.LoadLanguage(base::LanguageFileName(1)); }
};

World& world() {
    static World w;
    return w;
}

// One login with the whole initial load, as the desktop client and kelvarra-ctl log in.
bool loginOnce() {
    session::HeadlessClient client(world().prompter, world().lang, "bench");
    return client.login("127.0.0.1", world().sim.port(), "admin", "admin", 10) ==
           session::HeadlessClient::Outcome::Loaded;
}

// The replies of one complete login: a service of its own logs the commands of a login, which are
// then sent again one by one and answered.
bool collectReplies(std::vector<std::string>& replies) {
    World& w = world();
    const fs::path traffic = w.dir.path / "traffic.log";
    sim::SimProcess logged(KV_SIM_PROGRAM, w.dir.path / "logged",
                           {"--seed", seedName(), "--traffic-log", traffic.string()});
    session::HeadlessClient client(w.prompter, w.lang, "bench");
    if (!logged.ok() || client.login("127.0.0.1", logged.port(), "admin", "admin", 10) !=
                            session::HeadlessClient::Outcome::Loaded)
        return false;
    std::vector<std::string> commands;
    std::ifstream in(traffic);
    for (std::string line; std::getline(in, line);) commands.push_back(sim::unescapeTrafficLine(line));
    for (const std::string& c : commands) replies.push_back(client.link().SendCommand(0, true, c));
    return !replies.empty();
}

void BM_LoginAndInitialLoad(benchmark::State& state) {
    if (!world().sim.ok()) {
        state.SkipWithError("kelvarra-sim did not start");
        return;
    }
    for (auto _ : state) {
        if (!loginOnce()) state.SkipWithError("the login did not complete");
        // The service writes its log row of the logout (with a sync to disk) after the session
        // ends; each login is measured against a service at rest, as a user's login meets it.
        state.PauseTiming();
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
        state.ResumeTiming();
    }
}
BENCHMARK(BM_LoginAndInitialLoad)->Unit(benchmark::kMillisecond)->UseRealTime();

// The synchronous steps of the session start (6 reads) as empty round trips.
void BM_FloorEmptyRoundTrips(benchmark::State& state) {
    session::QueueExecutor executor;
    link::TcpLink tcp(executor);
    StatusEvents events;
    if (!handshake(tcp, executor, events, world().sim.port())) {
        state.SkipWithError("login failed");
        return;
    }
    for (auto _ : state)
        for (int i = 0; i < 6; ++i) benchmark::DoNotOptimize(tcp.SendCommand(0, true, "<CMD ID=\"40964\" />"));
}
BENCHMARK(BM_FloorEmptyRoundTrips)->Unit(benchmark::kMillisecond)->UseRealTime();

// The connection and the challenge-response handshake alone, up to status 9: not part of the
// floor, shown to tell how much of the login it takes.
void BM_HandshakeOnly(benchmark::State& state) {
    for (auto _ : state) {
        session::QueueExecutor executor;
        link::TcpLink tcp(executor);
        StatusEvents events;
        if (!handshake(tcp, executor, events, world().sim.port())) state.SkipWithError("login failed");
        tcp.Logout(1);
        state.PauseTiming();
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
        state.ResumeTiming();
    }
}
BENCHMARK(BM_HandshakeOnly)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_FloorParseReplies(benchmark::State& state) {
    World& w = world();
    if (w.replies.empty() && !collectReplies(w.replies)) {
        state.SkipWithError("the login did not complete");
        return;
    }
    size_t bytes = 0;
    for (const auto& r : w.replies) bytes += r.size();
    for (auto _ : state) {
        for (const auto& r : w.replies) {
            pugi::xml_document doc;
            benchmark::DoNotOptimize(doc.load_buffer(r.data(), r.size()));
        }
    }
    state.counters["reply_bytes"] = static_cast<double>(bytes);
    state.counters["replies"] = static_cast<double>(w.replies.size());
}
BENCHMARK(BM_FloorParseReplies)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
