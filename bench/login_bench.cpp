// Login plus the whole initial load against kelvarra-sim on loopback, beside its floor: the
// round trips of the synchronous steps with empty commands, and a bare parse of the same replies.
#include <benchmark/benchmark.h>

#include <pugixml.hpp>

#include <chrono>
#include <cstdlib>
#include <thread>
#include <memory>

#include "session/session.h"
#include "base/lang.h"
#include "base/log.h"
#include "link/tcp_link.h"
#include "tests/base/test_util.h"
#include "tests/support/sim_process.h"

namespace {

using namespace kv;

// Records every reply that passes, synchronous or not.
class RecordingLink : public link::ServiceLink, public link::LinkEvents {
public:
    explicit RecordingLink(link::ServiceLink& inner) : inner_(inner) {}
    std::vector<std::string> replies;

    void setEvents(link::LinkEvents* e) override {
        events_ = e;
        inner_.setEvents(e ? this : nullptr);
    }
    int32_t Login(const std::string& ip, int32_t port, const std::string& u, const std::string& p,
                  const std::string& tag) override {
        return inner_.Login(ip, port, u, p, tag);
    }
    std::string SendCommand(int32_t r, bool wait, const std::string& xml) override {
        std::string reply = inner_.SendCommand(r, wait, xml);
        if (wait) replies.push_back(reply);
        return reply;
    }
    void Logout(int32_t h) override { inner_.Logout(h); }
    int32_t GetExportProgress() override { return inner_.GetExportProgress(); }
    int32_t StartBackupToAVI(int32_t r, const std::string& x) override { return inner_.StartBackupToAVI(r, x); }
    int32_t GetBackupProgress(int32_t id) override { return inner_.GetBackupProgress(id); }
    int32_t StartBackupDatabase(int32_t r, const std::string& x) override { return inner_.StartBackupDatabase(r, x); }
    bool StopExport(int32_t id) override { return inner_.StopExport(id); }
    void SetVendorName(const std::string& n) override { inner_.SetVendorName(n); }
    int32_t GetMapPicture(const std::string& f, int32_t g, const std::string& t, int32_t fl) override {
        return inner_.GetMapPicture(f, g, t, fl);
    }
    void UploadMapPicture(const std::string& p, int32_t g, int32_t f) override { inner_.UploadMapPicture(p, g, f); }
    std::string FilterTest(const std::string& r, const std::string& p) override { return inner_.FilterTest(r, p); }
    void SearchServers(int32_t s, int32_t t) override { inner_.SearchServers(s, t); }
    void setSendTimeout(int32_t ms) override { inner_.setSendTimeout(ms); }

    void OnResponse(int32_t r, const std::string& xml) override {
        replies.push_back(xml);
        events_->OnResponse(r, xml);
    }
    void OnNotifyServiceStatus(int32_t r, int32_t s) override { events_->OnNotifyServiceStatus(r, s); }
    void OnGetMapPic(int32_t r, int32_t g, int32_t res, const std::string& p) override { events_->OnGetMapPic(r, g, res, p); }
    void OnBackupDatabaseStatus(int32_t r, int32_t s) override { events_->OnBackupDatabaseStatus(r, s); }
    void OnBackupToAVIStatus(int32_t id, int32_t s) override { events_->OnBackupToAVIStatus(id, s); }
    void OnNotify(int32_t r, const std::string& x) override { events_->OnNotify(r, x); }
    void OnSearchResult(const std::string& x) override { events_->OnSearchResult(x); }
    void OnReceiveStatus(int32_t r, int32_t v) override { events_->OnReceiveStatus(r, v); }

private:
    link::ServiceLink& inner_;
    link::LinkEvents* events_ = nullptr;
};

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

class Host : public session::LoginHost {
public:
    bool entered = false, ended = false;
    void enterConfiguration(int32_t) override { entered = true; }
    void unload() override { ended = true; }
};

struct World {
    kv::test::TempDir dir;
    std::unique_ptr<kv::test::SimProcess> sim;
    base::Language lang{std::filesystem::path(KV_SOURCE_SHARE) / "Lang"};
    std::vector<std::string> replies;  // of one complete login
    World() {
        const char* seed = std::getenv("KV_BENCH_SEED");
        sim = std::make_unique<kv::test::SimProcess>(KV_SIM_PROGRAM, dir / "data",
                                                     std::vector<std::string>{"--seed", seed ? seed : "full"});
        lang.LoadLanguage(base::LanguageFileName(1));
    }
};

World& world() {
    static World w;
    return w;
}

// One login with the whole initial load; false when it did not complete.
bool loginOnce(std::vector<std::string>* replies) {
    World& w = world();
    session::QueueExecutor executor;
    link::TcpLink tcp(executor);
    RecordingLink link(tcp);
    Quiet prompter;
    Host host;
    base::Log log("bench");
    session::Session session(link, prompter, w.lang, log, host, "bench");
    auto& login = session.login;
    login.cmdLine.bCmdLogin = true;
    login.cmdLine.sCmdIP = "127.0.0.1";
    login.cmdLine.iCmdPort = w.sim->port();
    login.cmdLine.sCmdUser = "admin";
    login.cmdLine.sCmdPass = "admin";
    login.bClickLogin = false;
    login.imgLoginBtn_Click(0);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    size_t atEntry = 0;
    while (std::chrono::steady_clock::now() < deadline && !host.ended) {
        executor.drain(5);
        if (host.entered && atEntry == 0) atEntry = session.responsesRouted() + 1;
        if (host.entered && session.responsesRouted() + 1 - atEntry >= session::Session::kInitialAsyncReads) {
            if (replies) *replies = link.replies;
            session.dispatcher.bAppEnding = true;
            link.Logout(login.hLogin);
            return true;
        }
    }
    return false;
}

void BM_LoginAndInitialLoad(benchmark::State& state) {
    if (!world().sim->ok()) {
        state.SkipWithError("kelvarra-sim did not start");
        return;
    }
    for (auto _ : state) {
        if (!loginOnce(nullptr)) state.SkipWithError("the login did not complete");
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
    World& w = world();
    session::QueueExecutor executor;
    link::TcpLink tcp(executor);
    StatusEvents events;
    if (!handshake(tcp, executor, events, w.sim->port())) {
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
    World& w = world();
    for (auto _ : state) {
        session::QueueExecutor executor;
        link::TcpLink tcp(executor);
        StatusEvents events;
        if (!handshake(tcp, executor, events, w.sim->port())) state.SkipWithError("login failed");
        tcp.Logout(1);
        state.PauseTiming();
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
        state.ResumeTiming();
    }
}
BENCHMARK(BM_HandshakeOnly)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_FloorParseReplies(benchmark::State& state) {
    World& w = world();
    if (w.replies.empty() && !loginOnce(&w.replies)) {
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
