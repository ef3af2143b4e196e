// kelvarra-sim as a child process on a free loopback port, with its data in a given folder; the
// tests and the benchmarks start it so and stop it at the end.
#pragma once

#include <sys/types.h>

#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

namespace kv::sim {

/// Which command port the program listens on: a free one (`--port 0`), or its stored one (no `--port`).
enum class SimPort { kFree, kStored };

class SimProcess {
public:
    /// Starts `program --port 0 --port-file ... --data dataDir` plus `extra` (without `--port` for
    /// `SimPort::kStored`), its standard output going to `out` and its standard error to `err` (empty:
    /// inherited); waits up to 10 s for the port it took. `ok()` tells whether it came up.
    SimProcess(const std::string& program, const std::filesystem::path& dataDir,
               const std::vector<std::string>& extra = {}, const std::filesystem::path& out = "/dev/null",
               SimPort port = SimPort::kFree, const std::filesystem::path& err = {});
    ~SimProcess();
    SimProcess(const SimProcess&) = delete;
    SimProcess& operator=(const SimProcess&) = delete;

    bool ok() const { return pid_ > 0 && port_ > 0; }
    int port() const { return port_; }
    void signal(int sig) const;
    /// Sends `sig` and waits for the end; the exit code, -1 when a signal ended it.
    int stop(int sig = SIGTERM);

private:
    pid_t pid_ = -1;
    int port_ = 0;
    int exitCode_ = -1;
    std::string portFile_;
};

}  // namespace kv::sim
