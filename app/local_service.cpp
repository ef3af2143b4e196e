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
#include "store/local_db.h"

namespace kv::app {

namespace fs = std::filesystem;

namespace {

// The client lists the service on this machine from the settings row of its configuration
// database: installing the service writes it (the service's own port and HTTP port).
void registerWithClient(const LocalServiceSpec& setup) {
    store::WriteLocalServiceSettings(setup.home / "Database", 9877, 80, 1, kLocalServiceName);
}

std::string StateText(int32_t state) {
    switch (state) {
        case service_state::kRunning: return "Running";
        case service_state::kStopped: return "Stopped";
        case service_state::kStartPending: return "Start Pending";
        case service_state::kStopPending: return "Stop Pending";
        default: return "Uninstall";
    }
}

}  // namespace

std::string LocalServiceControl::stateText() { return StateText(query()); }

LocalServiceSpec ClientLocalService(const fs::path& home, const fs::path& program) {
    return LocalServiceSpec{program, {"--data", (home / "Service").string()}, home};
}

fs::path ShutdownMarkerFile(const fs::path& home) { return home / "Database" / "SHUTDOWN"; }

std::vector<std::string> ServiceCommandLine(const LocalServiceSpec& setup) {
    std::vector<std::string> argv{setup.program.string()};
    argv.insert(argv.end(), setup.arguments.begin(), setup.arguments.end());
    // The service records how it ended where the client's next start looks for it.
    argv.insert(argv.end(), {"--shutdown-file", ShutdownMarkerFile(setup.home).string()});
    return argv;
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
        f << "[Unit]\nDescription=Kelvarra 64 video service (reference)\n\n[Service]\nExecStart=";
        const auto argv = ServiceCommandLine(spec_);
        for (size_t i = 0; i < argv.size(); ++i) f << (i ? " " : "") << shellQuote(argv[i]);
        f << "\nRestart=no\n\n[Install]\nWantedBy=" << (system_ ? "multi-user.target" : "default.target") << "\n";
        f.close();
        if (!f) return failed("cannot write " + (unitDir() / unit()).string());
        registerWithClient(spec_);
        return run({"daemon-reload"});
    }
    bool start() override { return run({"start", unit()}); }
    bool stop() override { return run({"stop", unit()}); }
    bool remove() override {
        runWait(ctl({"stop", unit()}));
        std::error_code ec;
        if (!fs::remove(unitDir() / unit(), ec) && ec) return failed("cannot remove " + (unitDir() / unit()).string());
        return run({"daemon-reload"});
    }
    std::string describe() const override {
        return std::string("systemd unit ") + unit() + (system_ ? " (system)" : " (user)");
    }

private:
    static std::string unit() { return std::string(kLocalServiceName) + ".service"; }
    bool run(std::vector<std::string> args) {
        const auto argv = ctl(args);
        const int rc = runWait(argv);
        if (rc == 0) return true;
        std::string line;
        for (const auto& a : argv) line += (line.empty() ? "" : " ") + a;
        return failed(line + (rc < 0 ? " could not be run" : " exited with " + std::to_string(rc)));
    }
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
        for (const auto& a : ServiceCommandLine(spec_)) f << a << "\n";
        f.close();
        if (!f) return failed("cannot write " + installMark().string());
        registerWithClient(spec_);
        return true;
    }
    bool start() override {
        if (query() == service_state::kUnknown) return failed("the service is not installed");
        if (runningPid() > 0) return true;
        std::error_code ec;
        if (!fs::exists(spec_.program, ec)) return failed("no program " + spec_.program.string());
        fs::create_directories(spec_.home / "Log", ec);
        // Double fork: the service is a child of init, in its own session, and outlives the client.
        const pid_t first = ::fork();
        if (first < 0) return failed("cannot start a process");
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
            std::vector<std::string> argv = ServiceCommandLine(spec_);
            std::vector<char*> args;
            for (auto& a : argv) args.push_back(a.data());
            args.push_back(nullptr);
            ::execv(args[0], args.data());
            ::_exit(127);
        }
        int status = 0;
        ::waitpid(first, &status, 0);
        if (WIFEXITED(status) && WEXITSTATUS(status) == 0) return true;
        return failed("cannot start a detached process");
    }
    bool stop() override {
        const pid_t pid = runningPid();
        if (pid <= 0) return true;
        if (::kill(pid, SIGTERM) != 0) return failed("cannot signal process " + std::to_string(pid));
        // runningPid() and not kill(pid, 0): an ended service nobody has reaped yet counts as gone.
        for (int i = 0; i < 100 && runningPid() == pid; ++i) std::this_thread::sleep_for(std::chrono::milliseconds(50));
        if (runningPid() == pid) ::kill(pid, SIGKILL);
        std::error_code ec;
        fs::remove(pidFile(), ec);
        return true;
    }
    bool remove() override {
        if (!stop()) return false;
        std::error_code ec;
        if (!fs::remove(installMark(), ec) && ec) return failed("cannot remove " + installMark().string());
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

ServiceCtrlModel::ServiceCtrlModel(LocalServiceControl& control, int32_t limitSeconds, bool forLogin)
    : control_(control), limit_(limitSeconds), forLogin_(forLogin) {}

void ServiceCtrlModel::refresh() { show(control_.query()); }

void ServiceCtrlModel::show(int32_t s) {
    state = s;
    stateText = StateText(state);
    const bool present = installed();
    installButtonVisible = !present;
    startButtonVisible = present && state != service_state::kRunning;
    startButtonEnabled = startButtonVisible && !waiting_;
    stopButtonVisible = state == service_state::kRunning || state == service_state::kStartPending;
    removeButtonVisible = present;
    otherButtonsEnabled = !waiting_;
    if (state == service_state::kRunning && forLogin_) closed = true;
}

bool ServiceCtrlModel::fail(std::string reason) {
    failure = std::move(reason);
    return false;
}

void ServiceCtrlModel::open() {
    failure.clear();
    statusTextId = secondTextId = 0;
    refresh();
    if (state == service_state::kRunning && forLogin_) statusTextId = 367;
}

bool ServiceCtrlModel::imgButton_Click() {
    failure.clear();
    if (waiting_) return true;
    if (!installed()) return fail("the service is not installed");
    if (state == service_state::kRunning) return true;
    statusTextId = secondTextId = 0;
    elapsedSeconds = 0;
    if (!control_.start()) {
        refresh();
        return fail(control_.lastError());
    }
    waiting_ = true;
    show(state);
    return true;
}

bool ServiceCtrlModel::imgInstall_Click() {
    failure.clear();
    if (installed()) return true;
    const bool ok = control_.create();
    statusTextId = secondTextId = 0;
    refresh();
    if (!ok) return fail(control_.lastError());
    if (!installed()) return fail("the service manager does not list the service after installing it");
    return true;
}

bool ServiceCtrlModel::imgStop_Click() {
    failure.clear();
    if (!installed()) return fail("the service is not installed");
    waiting_ = false;
    statusTextId = secondTextId = 0;
    const bool ok = state == service_state::kStopped || control_.stop();
    refresh();
    if (!ok) return fail(control_.lastError());
    return true;
}

bool ServiceCtrlModel::imgRemove_Click() {
    failure.clear();
    if (!installed()) return true;
    waiting_ = false;
    statusTextId = secondTextId = 0;
    const bool ok = control_.remove();
    refresh();
    if (!ok) return fail(control_.lastError());
    return true;
}

void ServiceCtrlModel::Timer1(int32_t elapsed) {
    if (!waiting_) return;
    elapsedSeconds = elapsed;
    const int32_t now = control_.query();
    if (now == service_state::kRunning) {
        statusTextId = 367;
        secondTextId = 0;
        waiting_ = false;
    } else if (elapsed < limit_) {
        statusTextId = 515;
        secondTextId = 463;
    } else {
        statusTextId = 516;
        secondTextId = 0;
        waiting_ = false;
        failure = "the service did not run within " + std::to_string(limit_) + " s";
    }
    show(now);
}

std::string ServiceCtrlModel::statusText(const base::Language& lang) const {
    if (!failure.empty() && statusTextId != 516) return failure;
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
