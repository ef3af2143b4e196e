// Starts kelvarra-sim as its own process on a free loopback port, with its data in a scratch
// folder, and stops it at the end. Used by the integration tests and the benchmarks.
#pragma once

#include <signal.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

extern char** environ;

namespace kv::test {

class SimProcess {
public:
    /// Starts the program with `--port 0 --port-file ... --data ...` and the extra arguments, its
    /// output going to `out`; waits up to 10 s for the port. `ok()` tells whether it came up.
    SimProcess(const std::string& program, const std::filesystem::path& dataDir,
               const std::vector<std::string>& extra = {}, const std::filesystem::path& out = "/dev/null") {
        portFile_ = dataDir.string() + ".port";
        std::error_code ec;
        std::filesystem::remove(portFile_, ec);
        std::vector<std::string> args{program, "--port", "0", "--port-file", portFile_, "--data", dataDir.string()};
        args.insert(args.end(), extra.begin(), extra.end());
        std::vector<char*> argv;
        for (auto& a : args) argv.push_back(a.data());
        argv.push_back(nullptr);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, 1, out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        if (::posix_spawn(&pid_, program.c_str(), &actions, nullptr, argv.data(), environ) != 0) pid_ = -1;
        posix_spawn_file_actions_destroy(&actions);
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        while (pid_ > 0 && port_ == 0 && std::chrono::steady_clock::now() < deadline) {
            std::ifstream f(portFile_);
            int p = 0;
            if (f >> p && p > 0) port_ = p;
            else std::this_thread::sleep_for(std::chrono::milliseconds(10));
            int status = 0;
            if (::waitpid(pid_, &status, WNOHANG) == pid_) {
                pid_ = -1;
                exitCode_ = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
            }
        }
    }
    ~SimProcess() { stop(SIGKILL); }
    SimProcess(const SimProcess&) = delete;
    SimProcess& operator=(const SimProcess&) = delete;

    bool ok() const { return pid_ > 0 && port_ > 0; }
    int port() const { return port_; }
    pid_t pid() const { return pid_; }
    void signal(int sig) const {
        if (pid_ > 0) ::kill(pid_, sig);
    }
    /// Sends `sig` and waits for the end; returns the exit code (-1 when killed by a signal).
    int stop(int sig = SIGTERM) {
        if (pid_ <= 0) return exitCode_;
        ::kill(pid_, sig);
        int status = 0;
        ::waitpid(pid_, &status, 0);
        pid_ = -1;
        exitCode_ = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        return exitCode_;
    }

private:
    pid_t pid_ = -1;
    int port_ = 0;
    int exitCode_ = -1;
    std::string portFile_;
};

}  // namespace kv::test

namespace kv::test {

struct ProcessResult {
    int exitCode = -1;
    std::string out;
    std::string err;
};

/// Runs a program to its end with extra environment variables; stdout and stderr are captured.
inline ProcessResult RunProcess(const std::vector<std::string>& args, const std::vector<std::string>& env = {},
                                const std::filesystem::path& scratch = std::filesystem::temp_directory_path()) {
    ProcessResult r;
    const std::string tag = std::to_string(::getpid()) + "-" + std::to_string(std::rand());
    const std::string outFile = (scratch / ("out-" + tag)).string();
    const std::string errFile = (scratch / ("err-" + tag)).string();
    std::vector<std::string> a = args;
    std::vector<char*> argv;
    for (auto& s : a) argv.push_back(s.data());
    argv.push_back(nullptr);
    std::vector<std::string> e = env;
    for (char** p = environ; *p; ++p) e.emplace_back(*p);
    std::vector<char*> envp;
    for (auto& s : e) envp.push_back(s.data());
    envp.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 1, outFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    posix_spawn_file_actions_addopen(&actions, 2, errFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    pid_t pid = -1;
    if (::posix_spawn(&pid, a[0].c_str(), &actions, nullptr, argv.data(), envp.data()) == 0) {
        int status = 0;
        ::waitpid(pid, &status, 0);
        r.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    posix_spawn_file_actions_destroy(&actions);
    auto slurp = [](const std::string& f) {
        std::ifstream in(f, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), {});
    };
    r.out = slurp(outFile);
    r.err = slurp(errFile);
    std::error_code ec;
    std::filesystem::remove(outFile, ec);
    std::filesystem::remove(errFile, ec);
    return r;
}

}  // namespace kv::test
