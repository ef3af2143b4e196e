// Control of the service on this machine: create, start, stop, delete and query, behind one
// interface, with a systemd unit where systemd runs and a detached process elsewhere.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace kv::base {
class Language;
}

namespace kv::app {

/// The name of the local service.
inline constexpr const char* kLocalServiceName = "Kelvarra64";

namespace service_state {
inline constexpr int32_t kStopped = 1;
inline constexpr int32_t kStartPending = 2;
inline constexpr int32_t kStopPending = 3;
inline constexpr int32_t kRunning = 4;
inline constexpr int32_t kUnknown = -2;  // not installed, or the state cannot be told
}  // namespace service_state

/// How the local service runs: the program and its arguments.
struct LocalServiceSpec {
    std::filesystem::path program;  // kelvarra-sim
    std::vector<std::string> arguments;
    std::filesystem::path home;     // the client's home folder (pid file, unit file, logs)
};

/// The setup of the client's own local service: kelvarra-sim with its data under the home folder.
LocalServiceSpec ClientLocalService(const std::filesystem::path& home, const std::filesystem::path& program);
/// The shutdown marker the local service keeps in the client's home folder.
std::filesystem::path ShutdownMarkerFile(const std::filesystem::path& home);
/// The program with its arguments as the service runs it: the setup's, and the shutdown marker's path.
std::vector<std::string> ServiceCommandLine(const LocalServiceSpec& setup);

class LocalServiceControl {
public:
    virtual ~LocalServiceControl() = default;
    /// The state: 1 stopped, 2 starting, 3 stopping, 4 running, -2 not installed or unknown.
    virtual int32_t query() = 0;
    /// The state as the service manager words it: "Running", "Stopped", ... or "Uninstall".
    std::string stateText();
    virtual bool create() = 0;
    virtual bool start() = 0;
    virtual bool stop() = 0;
    virtual bool remove() = 0;
    /// What this implementation uses, for messages and the log.
    virtual std::string describe() const = 0;
    /// Why the last operation that returned false failed, in one line.
    const std::string& lastError() const { return error_; }

protected:
    bool failed(std::string reason) {
        error_ = std::move(reason);
        return false;
    }
    std::string error_;
};

/// A systemd unit "Kelvarra64.service": the system manager when running as root, else the user's.
std::unique_ptr<LocalServiceControl> MakeSystemdService(const LocalServiceSpec& setup);
/// A detached process with a pid file in the home folder, for machines without systemd.
std::unique_ptr<LocalServiceControl> MakeProcessService(const LocalServiceSpec& setup);
/// Systemd when it runs here (and answers), otherwise the detached process.
std::unique_ptr<LocalServiceControl> MakeLocalService(const LocalServiceSpec& setup);
/// True when systemd is the init system of this machine.
bool SystemdRunning();

/// The service-control dialog: shows the state, installs, starts, stops and removes the service,
/// and waits for a start, one tick a second. In the login's form it closes once the service runs.
class ServiceCtrlModel {
public:
    ServiceCtrlModel(LocalServiceControl& control, int32_t limitSeconds = 30, bool forLogin = true);

    int32_t state = service_state::kUnknown;
    /// The state as the service manager words it: "Running", "Stopped", ... "Uninstall".
    std::string stateText = "Uninstall";
    bool startButtonVisible = false;
    bool startButtonEnabled = false;
    bool stopButtonVisible = false;
    bool installButtonVisible = false;
    bool removeButtonVisible = false;
    /// Install, stop and remove: all but a wait for the start.
    bool otherButtonsEnabled = false;
    bool closed = false;        // Running reached in the login's form: the dialog closes, the login goes on
    int32_t elapsedSeconds = 0;
    /// The status text parts: text 367 when running; 515 + "..." + seconds and 463 while starting;
    /// 516 at the limit. The page puts them together with the language.
    int32_t statusTextId = 0;
    int32_t secondTextId = 0;
    /// The reason the last action failed or was refused; empty after one that worked.
    std::string failure;

    /// Opening: reads the state. An absent service is offered for installing, not installed.
    void open();
    /// The start button; false when refused (not installed) or the start failed at once.
    bool imgButton_Click();
    /// The install button; installing a present service does nothing.
    bool imgInstall_Click();
    /// The stop button: stops and reads the state again; stopping a stopped service does nothing.
    bool imgStop_Click();
    /// The remove button: stops the service and removes it.
    bool imgRemove_Click();
    /// Timer1, once a second, with the seconds since the start of the wait.
    void Timer1(int32_t elapsed);
    bool waiting() const { return waiting_; }
    bool installed() const { return stateText != "Uninstall"; }
    /// The status line: the reason of a failure; else the state's text while nothing is under way
    /// (367 running, 463 start pending, 514 stop pending, 407 stopped, 513 not installed); else the
    /// wait's texts.
    std::string statusText(const base::Language& lang) const;

private:
    void refresh();
    void show(int32_t s);
    bool fail(std::string reason);

    LocalServiceControl& control_;
    int32_t limit_;
    bool forLogin_;
    bool waiting_ = false;
};

}  // namespace kv::app
