// The local service on Linux: a systemd unit or a detached process with a pid file.
#include "app/local_service.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <thread>

#include "base/lang.h"

namespace kv::app {

namespace fs = std::filesystem;

std::string LocalServiceControl::stateText() {
    switch (query()) {
        case service_state::kRunning: return "Running";
        case service_state::kStopped: return "Stopped";
        case service_state::kStartPending: return "Start Pending";
        case service_state::kStopPending: return "Stop Pending";
        default: return "Uninstall";
    }
}

bool SystemdRunning() {
    std::error_code ec;
    return fs::is_directory("/run/systemd/system", ec);
}

namespace {

// Runs a program with arguments and waits; its output is discarded. Returns the exit status, -1 on failure.
int runWait(const std::vector<std::string>& argv, std::string* output = nullptr) {
    int pipefd[2] = {-1, -1};
    if (output && ::pipe(pipefd) != 0) return -1;
    const pid_t pid = ::fork();
    if (pid < 0) return -1;
    if (pid == 0) {
        const int devnull = ::open("/dev/null", O_RDWR);
        ::dup2(devnull, 0);
        ::dup2(output ? pipefd[1] : devnull, 1);
        ::dup2(devnull, 2);
        if (output) ::close(pipefd[0]);
        std::vector<char*> args;
        for (const auto& a : argv) args.push_back(const_cast<char*>(a.c_str()));
        args.push_back(nullptr);
        ::execvp(args[0], args.data());
        ::_exit(127);
    }
    if (output) {
        ::close(pipefd[1]);
        char buf[512];
        ssize_t n;
        while ((n = ::read(pipefd[0], buf, sizeof buf)) > 0) output->append(buf, static_cast<size_t>(n));
        ::close(pipefd[0]);
    }
    int status = 0;
    if (::waitpid(pid, &status, 0) < 0) return -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::string shellQuote(const std::string& s) {
    std::string q = "\"";
    for (char c : s) {
        if (c == '"' || c == '\\') q.push_back('\\');
        q.push_back(c);
    }
    return q + "\"";
}

class SystemdService : public LocalServiceControl {
public:
    explicit SystemdService(LocalServiceSpec setup) : spec_(std::move(setup)), system_(::geteuid() == 0) {}

    int32_t query() override {
        std::string out;
        runWait(ctl({"show", unit(), "--property=LoadState,ActiveState", "--value"}), &out);
        std::istringstream lines(out);
        std::string load, active;
        std::getline(lines, load);
        std::getline(lines, active);
        if (load != "loaded") return service_state::kUnknown;
        if (active == "active" || active == "reloading") return service_state::kRunning;
        if (active == "activating") return service_state::kStartPending;
        if (active == "deactivating") return service_state::kStopPending;
        if (active == "inactive" || active == "failed") return service_state::kStopped;
        return service_state::kUnknown;
    }
    bool create() override {
        std::error_code ec;
        fs::create_directories(unitDir(), ec);
        std::ofstream f(unitDir() / unit());
        f << "[Unit]\nDescription=Kelvarra 64 video service (reference)\n\n[Service]\nExecStart="
          << shellQuote(spec_.program.string());
        for (const auto& a : spec_.arguments) f << ' ' << shellQuote(a);
        f << "\nRestart=no\n\n[Install]\nWantedBy=" << (system_ ? "multi-user.target" : "default.target") << "\n";
        f.close();
        if (!f) return false;
        return runWait(ctl({"daemon-reload"})) == 0;
    }
    bool start() override { return runWait(ctl({"start", unit()})) == 0; }
    bool stop() override { return runWait(ctl({"stop", unit()})) == 0; }
    bool remove() override {
        runWait(ctl({"stop", unit()}));
        std::error_code ec;
        fs::remove(unitDir() / unit(), ec);
        return runWait(ctl({"daemon-reload"})) == 0;
    }
    std::string describe() const override {
        return std::string("systemd unit ") + unit() + (system_ ? " (system)" : " (user)");
    }

private:
    static std::string unit() { return std::string(kLocalServiceName) + ".service"; }
    fs::path unitDir() const {
        if (system_) return "/etc/systemd/system";
        const char* xdg = std::getenv("XDG_CONFIG_HOME");
        const char* home = std::getenv("HOME");
        return (xdg && *xdg ? fs::path(xdg) : fs::path(home ? home : "/tmp") / ".config") / "systemd" / "user";
    }
    std::vector<std::string> ctl(std::vector<std::string> args) const {
        std::vector<std::string> argv{"systemctl"};
        if (!system_) argv.push_back("--user");
        argv.insert(argv.end(), args.begin(), args.end());
        return argv;
    }
    LocalServiceSpec spec_;
    bool system_;
};

class ProcessService : public LocalServiceControl {
public:
    explicit ProcessService(LocalServiceSpec setup) : spec_(std::move(setup)) {}

    int32_t query() override {
        std::error_code ec;
        if (!fs::exists(installMark(), ec)) return service_state::kUnknown;
        return runningPid() > 0 ? service_state::kRunning : service_state::kStopped;
    }
    bool create() override {
        std::error_code ec;
        fs::create_directories(spec_.home, ec);
        std::ofstream f(installMark());
        f << spec_.program.string() << "\n";
        for (const auto& a : spec_.arguments) f << a << "\n";
        return static_cast<bool>(f);
    }
    bool start() override {
        if (query() == service_state::kUnknown) return false;
        if (runningPid() > 0) return true;
        // Double fork: the service is a child of init, in its own session, and outlives the client.
        const pid_t first = ::fork();
        if (first < 0) return false;
        if (first == 0) {
            ::setsid();
            const pid_t second = ::fork();
            if (second != 0) ::_exit(second < 0 ? 1 : 0);
            const int devnull = ::open("/dev/null", O_RDWR);
            const int logfd = ::open((spec_.home / "Log" / "local-service.log").c_str(),
                                     O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
            ::dup2(devnull, 0);
            ::dup2(logfd >= 0 ? logfd : devnull, 1);
            ::dup2(logfd >= 0 ? logfd : devnull, 2);
            {
                std::ofstream pid(pidFile());
                pid << ::getpid() << "\n";
            }
            std::vector<std::string> argv{spec_.program.string()};
            argv.insert(argv.end(), spec_.arguments.begin(), spec_.arguments.end());
            std::vector<char*> args;
            for (auto& a : argv) args.push_back(a.data());
            args.push_back(nullptr);
            ::execv(args[0], args.data());
            ::_exit(127);
        }
        int status = 0;
        ::waitpid(first, &status, 0);
        return WIFEXITED(status) && WEXITSTATUS(status) == 0;
    }
    bool stop() override {
        const pid_t pid = runningPid();
        if (pid <= 0) return true;
        ::kill(pid, SIGTERM);
        for (int i = 0; i < 100 && ::kill(pid, 0) == 0; ++i) std::this_thread::sleep_for(std::chrono::milliseconds(50));
        if (::kill(pid, 0) == 0) ::kill(pid, SIGKILL);
        std::error_code ec;
        fs::remove(pidFile(), ec);
        return true;
    }
    bool remove() override {
        stop();
        std::error_code ec;
        fs::remove(installMark(), ec);
        return true;
    }
    std::string describe() const override { return "detached process, pid file " + pidFile().string(); }

private:
    fs::path pidFile() const { return spec_.home / (std::string(kLocalServiceName) + ".pid"); }
    fs::path installMark() const { return spec_.home / (std::string(kLocalServiceName) + ".service"); }
    // The pid of the running service, or 0: a stale pid file (crash, reboot, reused pid) counts as stopped.
    pid_t runningPid() const {
        std::ifstream f(pidFile());
        long pid = 0;
        if (!(f >> pid) || pid <= 0) return 0;
        if (::kill(static_cast<pid_t>(pid), 0) != 0) return 0;
        std::ifstream cmd("/proc/" + std::to_string(pid) + "/cmdline");
        std::string first;
        std::getline(cmd, first, '\0');
        if (fs::path(first).filename() != spec_.program.filename()) return 0;
        return static_cast<pid_t>(pid);
    }
    LocalServiceSpec spec_;
};

}  // namespace

std::unique_ptr<LocalServiceControl> MakeSystemdService(const LocalServiceSpec& setup) {
    return std::make_unique<SystemdService>(setup);
}

std::unique_ptr<LocalServiceControl> MakeProcessService(const LocalServiceSpec& setup) {
    return std::make_unique<ProcessService>(setup);
}

std::unique_ptr<LocalServiceControl> MakeLocalService(const LocalServiceSpec& setup) {
    if (SystemdRunning()) {
        std::string out;
        // The user's manager may be absent (no login session): then fall back to a process.
        const bool root = ::geteuid() == 0;
        std::vector<std::string> probe{"systemctl"};
        if (!root) probe.push_back("--user");
        probe.push_back("is-system-running");
        if (runWait(probe, &out) >= 0 && !out.empty() && out.find("offline") == std::string::npos)
            return MakeSystemdService(setup);
    }
    return MakeProcessService(setup);
}

ServiceCtrlModel::ServiceCtrlModel(LocalServiceControl& control, int32_t limitSeconds)
    : control_(control), limit_(limitSeconds) {}

void ServiceCtrlModel::open() {
    state = control_.query();
    if (state == service_state::kUnknown && control_.create()) state = control_.query();
    startButtonVisible = state != service_state::kRunning;
    startButtonEnabled = startButtonVisible;
    if (state == service_state::kRunning) {
        statusTextId = 367;
        closed = true;
    }
}

void ServiceCtrlModel::imgButton_Click() {
    if (!startButtonEnabled) return;
    startButtonEnabled = false;
    waiting_ = true;
    elapsedSeconds = 0;
    control_.start();
}

void ServiceCtrlModel::Timer1(int32_t elapsed) {
    if (!waiting_) return;
    elapsedSeconds = elapsed;
    state = control_.query();
    if (state == service_state::kRunning) {
        statusTextId = 367;
        secondTextId = 0;
        waiting_ = false;
        closed = true;
    } else if (elapsed < limit_) {
        statusTextId = 515;
        secondTextId = 463;
    } else {
        statusTextId = 516;
        secondTextId = 0;
        waiting_ = false;
        startButtonEnabled = true;
    }
}

std::string ServiceCtrlModel::statusText(const base::Language& lang) const {
    if (statusTextId == 0) {
        const int32_t id = state == service_state::kRunning        ? 367
                           : state == service_state::kStartPending ? 463
                           : state == service_state::kStopPending  ? 514
                           : state == service_state::kStopped      ? 407
                                                                   : 513;
        return lang.GetText(id);
    }
    std::string t = lang.GetText(statusTextId);
    if (statusTextId == 515) t += "... " + std::to_string(elapsedSeconds) + " s";
    if (secondTextId != 0) t += "  (" + lang.GetText(secondTextId) + ")";
    return t;
}

}  // namespace kv::app
