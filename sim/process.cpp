// Starting and stopping kelvarra-sim as a child process.
#include "sim/process.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <thread>

extern char** environ;

namespace kv::sim {
namespace {

int exitCodeOf(int status) { return WIFEXITED(status) ? WEXITSTATUS(status) : -1; }

}  // namespace

SimProcess::SimProcess(const std::string& program, const std::filesystem::path& dataDir,
                       const std::vector<std::string>& extra, const std::filesystem::path& out, SimPort port,
                       const std::filesystem::path& err) {
    portFile_ = dataDir.string() + ".port";
    std::error_code ec;
    std::filesystem::remove(portFile_, ec);
    std::vector<std::string> args{program, "--port-file", portFile_, "--data", dataDir.string()};
    if (port == SimPort::kFree) args.insert(args.begin() + 1, {"--port", "0"});
    args.insert(args.end(), extra.begin(), extra.end());
    std::vector<char*> argv;
    for (auto& a : args) argv.push_back(a.data());
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (!err.empty()) posix_spawn_file_actions_addopen(&actions, 2, err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (::posix_spawn(&pid_, program.c_str(), &actions, nullptr, argv.data(), environ) != 0) pid_ = -1;
    posix_spawn_file_actions_destroy(&actions);
    // The program writes the port once it listens; a program that ends first never will.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (pid_ > 0 && port_ == 0 && std::chrono::steady_clock::now() < deadline) {
        std::ifstream f(portFile_);
        int p = 0;
        if (f >> p && p > 0) port_ = p;
        else std::this_thread::sleep_for(std::chrono::milliseconds(10));
        int status = 0;
        if (::waitpid(pid_, &status, WNOHANG) == pid_) {
            pid_ = -1;
            exitCode_ = exitCodeOf(status);
        }
    }
}

SimProcess::~SimProcess() { stop(SIGKILL); }

void SimProcess::signal(int sig) const {
    if (pid_ > 0) ::kill(pid_, sig);
}

int SimProcess::stop(int sig) {
    if (pid_ <= 0) return exitCode_;
    ::kill(pid_, sig);
    int status = 0;
    ::waitpid(pid_, &status, 0);
    pid_ = -1;
    exitCode_ = exitCodeOf(status);
    return exitCode_;
}

}  // namespace kv::sim
