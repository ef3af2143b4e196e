// kelvarra-sim: the reference service as a program: options, data folder, store, link server, signals.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <asio.hpp>

#include "link/link_server.h"
#include "sim/seed.h"
#include "sim/service.h"
#include "sim/store.h"
#include "sim/traffic_log.h"

namespace {

namespace fs = std::filesystem;

struct Options {
    std::string listen = "127.0.0.1";
    int port = 0;  // only with --port; otherwise the stored command port
    std::string data;
    bool reset = false;
    std::string seed = "demo";
    bool denyRemote = false;
    bool noRemote = false;
    bool shuttingDown = false;
    bool silent = false;
    bool loopbackIsRemote = false;
    std::string version;
    int rebootAfter = 0;
    std::string trafficLog;
    int discoveryPort = 9877;
    std::string portFile;
    std::string shutdownFile;
    std::vector<std::string> disks;  // LETTER=FOLDER
};

fs::path defaultDataDir() {
    if (const char* xdg = std::getenv("XDG_DATA_HOME"); xdg && *xdg) return fs::path(xdg) / "kelvarra-sim";
    if (const char* home = std::getenv("HOME"); home && *home) return fs::path(home) / ".local/share/kelvarra-sim";
    return fs::current_path() / "kelvarra-sim";
}

// The shutdown marker of the local service: four little-endian 32-bit values a0..a3 whose sum
// a0 + 2*a1 + 4*a2 + 8*a3 is the mark. Written beside and renamed, so a reader never sees half.
bool writeShutdownMark(const fs::path& file, int mark) {
    std::string bytes;
    for (int i = 0; i < 4; ++i) {
        const uint32_t v = (static_cast<uint32_t>(mark) >> i) & 1u;
        for (int b = 0; b < 4; ++b) bytes.push_back(static_cast<char>((v >> (8 * b)) & 0xFF));
    }
    std::error_code ec;
    if (file.has_parent_path()) fs::create_directories(file.parent_path(), ec);
    const fs::path tmp = file.string() + ".part";
    {
        std::ofstream out(tmp, std::ios::binary | std::ios::trunc);
        out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        if (!out.flush()) return false;
    }
    fs::rename(tmp, file, ec);
    return !ec;
}

int fail(const std::string& message) {
    std::cerr << "kelvarra-sim: " << message << "\n";
    return 1;
}

}  // namespace

int main(int argc, char** argv) {
    Options o;
    CLI::App app{"kelvarra-sim: the reference Kelvarra 64 service, for demos and tests"};
    app.add_option("--listen", o.listen, "Address to listen on")->capture_default_str();
    CLI::Option* portOption =
        app.add_option("--port", o.port, "Command port instead of the stored one (9877 in a new store); 0: a free one")
            ->check(CLI::Range(0, 65535));
    app.add_option("--data", o.data, "Data folder (default $XDG_DATA_HOME/kelvarra-sim)");
    app.add_flag("--reset", o.reset, "Start again from the seed configuration");
    app.add_option("--seed", o.seed, "Configuration of a new or reset store")
        ->check(CLI::IsMember({"demo", "empty", "full"}))
        ->capture_default_str();
    app.add_flag("--deny-remote", o.denyRemote, "Reject logins from other machines (-11)");
    app.add_flag("--no-remote", o.noRemote, "Tell other machines remote logins are not supported (-12)");
    app.add_flag("--shutting-down", o.shuttingDown, "Answer every login with 'shutting down' (-14)");
    app.add_flag("--silent", o.silent, "Never answer a login");
    app.add_flag("--treat-loopback-as-remote", o.loopbackIsRemote, "Loopback peers count as remote");
    app.add_option("--version", o.version, "Version the server information reports (X.Y.Z)");
    app.add_option("--reboot-after", o.rebootAfter, "Announce a restart after SECONDS")->check(CLI::PositiveNumber);
    app.add_option("--traffic-log", o.trafficLog, "Append every command received to FILE, one per line");
    app.add_option("--discovery-port", o.discoveryPort, "UDP port of the LAN search; 0 = off")
        ->check(CLI::Range(0, 65535))
        ->capture_default_str();
    app.add_option("--port-file", o.portFile, "Write the listening port to FILE once listening");
    app.add_option("--shutdown-file", o.shutdownFile,
                   "Keep the shutdown marker in FILE: 3 (an unexpected end) while running, 1 after a stop by "
                   "SIGTERM or SIGINT");
    app.add_option("--disk", o.disks,
                   "Disk LETTER=FOLDER the service reports and records on, repeatable (default: C, D and E under "
                   "DATA/disks)")
        ->check(CLI::Validator(
            [](std::string& value) {
                const auto disk = kv::sim::parseDiskMapping(value);
                return disk ? std::string() : disk.error();
            },
            "LETTER=FOLDER"));
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& e) {
        return app.exit(e);
    } catch (const CLI::ParseError& e) {
        app.exit(e);
        return 2;
    }

    // Marked as an unexpected end from the start on: only a stop that was asked for replaces it,
    // so a crash, a kill or a failed start leaves 3 behind.
    if (!o.shutdownFile.empty() && !writeShutdownMark(o.shutdownFile, 3))
        return fail("cannot write the shutdown marker " + o.shutdownFile);

    const fs::path dataDir = o.data.empty() ? defaultDataDir() : fs::path(o.data);
    std::error_code ec;
    fs::create_directories(dataDir, ec);
    if (ec || !fs::is_directory(dataDir)) return fail("cannot create the data folder " + dataDir.string() + ": " + ec.message());

    kv::sim::DiskMap disks;
    for (const std::string& value : o.disks) {
        const auto disk = kv::sim::parseDiskMapping(value);
        if (!disks.emplace(disk->first, disk->second).second) {
            std::cerr << "kelvarra-sim: --disk: disk " << disk->first << " is given twice\n";
            return 2;
        }
    }
    if (disks.empty()) disks = kv::sim::defaultDisks(dataDir);
    if (std::string error; !kv::sim::makeDiskFolders(disks, &error)) return fail(error);

    auto opened = kv::sim::SimStore::open(dataDir / "kelvarra-sim.db", o.reset);
    if (!opened) return fail(opened.error());
    kv::sim::SimStore& store = *opened.value();
    if (store.empty()) {
        auto docs = o.seed == "empty"  ? kv::sim::emptyDocuments()
                    : o.seed == "full" ? kv::sim::fullDocuments()
                                       : kv::sim::demoDocuments();
        // The marker keeps a store that was seeded empty from being seeded again.
        docs.emplace_back("seed", o.seed);
        if (!store.putAll(docs)) return fail("cannot write the seed configuration into the store");
        // The demo has recorded: its storage folders hold the first cameras' folders.
        if (o.seed != "empty") kv::sim::makeFoldersOnDisks(disks, kv::sim::demoRecordingFolders());
    }

    std::unique_ptr<kv::sim::TrafficLog> traffic;
    if (!o.trafficLog.empty()) {
        auto log = kv::sim::TrafficLog::open(o.trafficLog);
        if (!log) return fail(log.error());
        traffic = std::move(log.value());
    }

    // The service listens on the command port of its configuration, where a port saved from the
    // client takes effect at the next start; --port overrides it for this run and says so.
    const std::optional<uint16_t> storedPort = kv::sim::storedCommandPort(store);
    uint16_t port = storedPort.value_or(kv::sim::kDefaultCommandPort);
    if (portOption->count() > 0) {
        if (storedPort && *storedPort != o.port)
            std::cerr << "kelvarra-sim: --port " << o.port << " overrides the stored command port " << *storedPort
                      << std::endl;
        port = static_cast<uint16_t>(o.port);
    }

    asio::io_context io;
    kv::sim::ServiceOptions so;
    so.dataDir = dataDir;
    so.disks = disks;
    so.version = o.version;
    so.denyRemote = o.denyRemote;
    so.noRemote = o.noRemote;
    so.shuttingDown = o.shuttingDown;
    so.silent = o.silent;
    so.loopbackIsRemote = o.loopbackIsRemote;
    kv::sim::SimService service(io, store, so, traffic.get());
    service.makeStorageFolders();

    kv::link::LinkServer::Options lo;
    lo.address = o.listen;
    lo.port = port;
    lo.discoveryPort = static_cast<uint16_t>(o.discoveryPort);
    kv::link::LinkServer server(io, service, lo);
    // The signals are caught before the port is announced, so that a script may signal at once.
    // Every write is committed before it is answered, so stopping needs no saving: close the
    // sessions and end run(); the handlers that the close aborted run once more below, while
    // the server they belong to still exists.
    asio::signal_set stopSignals(io, SIGINT, SIGTERM);
    asio::steady_timer rebootTimer(io);
#ifdef SIGUSR1
    asio::signal_set rebootSignal(io, SIGUSR1);
#endif
    stopSignals.async_wait([&](const asio::error_code& e, int) {
        if (e) return;
        server.stop();
        rebootTimer.cancel();
#ifdef SIGUSR1
        rebootSignal.cancel();
#endif
        io.stop();
    });
#ifdef SIGUSR1
    std::function<void()> waitReboot = [&] {
        rebootSignal.async_wait([&](const asio::error_code& e, int) {
            if (e) return;
            server.notifyAll(kv::sim::kRebootNotice);
            waitReboot();
        });
    };
    waitReboot();
#endif
    if (o.rebootAfter > 0) {
        rebootTimer.expires_after(std::chrono::seconds(o.rebootAfter));
        rebootTimer.async_wait([&](const asio::error_code& e) {
            if (!e) server.notifyAll(kv::sim::kRebootNotice);
        });
    }

    std::string error;
    if (!server.start(&error)) return fail("cannot listen on " + o.listen + ":" + std::to_string(port) + ": " + error);
    service.setListenEndpoint(o.listen, server.port());
    service.logEvent(256, 257, kv::link::PeerInfo{0, o.listen, true, "", "kelvarra-sim"});  // service start

    if (!o.portFile.empty()) {
        // Written beside and renamed: a script polling for the file never reads half of it.
        fs::path tmp = o.portFile + ".part";
        {
            std::ofstream pf(tmp, std::ios::trunc);
            pf << server.port() << "\n";
            if (!pf.flush()) return fail("cannot write the port file " + o.portFile);
        }
        fs::rename(tmp, o.portFile, ec);
        if (ec) return fail("cannot write the port file " + o.portFile + ": " + ec.message());
    }
    std::cout << "kelvarra-sim listening on " << o.listen << ":" << server.port() << std::endl;

    io.run();
    io.restart();
    io.poll();
    // run() ends only on SIGTERM or SIGINT: a stop that was asked for.
    if (!o.shutdownFile.empty() && !writeShutdownMark(o.shutdownFile, 1))
        return fail("cannot write the shutdown marker " + o.shutdownFile);
    return 0;
}
