// kelvarra-ctl: logs in to a service exactly as the desktop client does and prints or applies
// its configuration.
#include <termios.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <string>
#include <thread>

#include <CLI/CLI.hpp>

#include "app/local_service.h"
#include "base/lang.h"
#include "cli/apply.h"
#include "events/destination_test.h"
#include "events/document.h"
#include "session/headless.h"
#include "session/start.h"

namespace {

constexpr const char* kTitle = "kelvarra-ctl";

std::string readPassword() {
    if (const char* env = std::getenv("KELVARRA_PASSWORD")) return env;
    std::string pass;
    std::cerr << "Password: " << std::flush;
    termios old{};
    const bool tty = ::isatty(STDIN_FILENO) && ::tcgetattr(STDIN_FILENO, &old) == 0;
    if (tty) {
        termios quiet = old;
        quiet.c_lflag &= static_cast<tcflag_t>(~ECHO);
        ::tcsetattr(STDIN_FILENO, TCSANOW, &quiet);
    }
    std::getline(std::cin, pass);
    if (tty) {
        ::tcsetattr(STDIN_FILENO, TCSANOW, &old);
        std::cerr << "\n";
    }
    return pass;
}

// Status lines go to stderr when asked for; boxes always do.
class CliPrompter : public kv::app::Prompter {
public:
    bool verbose = false;
    std::string lastStatus;
    std::string lastBox;
    void status(const std::string& text) override {
        lastStatus = text;
        if (verbose) std::cerr << text << "\n";
    }
    kv::app::Answer box(kv::app::BoxKind, const std::string& text, const std::string& title) override {
        lastBox = text;
        std::cerr << title << ": " << text << "\n";
        return kv::app::Answer::Ok;
    }
};

// The service program: $KELVARRA_SERVICE_PROGRAM, else kelvarra-sim beside this program or in
// the build tree's sim folder, as the desktop client looks for it.
std::filesystem::path serviceProgram() {
    namespace fs = std::filesystem;
    if (const char* p = std::getenv("KELVARRA_SERVICE_PROGRAM"); p && *p) return p;
    std::error_code ec;
    const fs::path dir = fs::read_symlink("/proc/self/exe", ec).parent_path();
    for (const fs::path& candidate : {dir / "kelvarra-sim", dir / ".." / "sim" / "kelvarra-sim"})
        if (!ec && fs::exists(candidate, ec)) return fs::weakly_canonical(candidate, ec);
    return "kelvarra-sim";
}

// `service ACTION`: the local service of the client's home folder, through the rules of the
// service-control dialog. Prints the state after the action; 3 with the reason when it failed.
int runService(const std::string& action, const std::string& manager, int timeoutSeconds, bool verbose) {
    using namespace kv::app;
    const LocalServiceSpec setup = ClientLocalService(kv::session::HomeFolder(), serviceProgram());
    const auto control = manager == "systemd" ? MakeSystemdService(setup)
                         : manager == "process" ? MakeProcessService(setup)
                                                : MakeLocalService(setup);
    if (verbose) std::cerr << control->describe() << "\n";
    ServiceCtrlModel model(*control, timeoutSeconds, false);
    model.open();
    bool ok = true;
    if (action == "install") ok = model.imgInstall_Click();
    else if (action == "stop") ok = model.imgStop_Click();
    else if (action == "remove") ok = model.imgRemove_Click();
    else if (action == "start") {
        ok = model.imgButton_Click();
        const auto begin = std::chrono::steady_clock::now();
        while (ok && model.waiting()) {
            std::this_thread::sleep_for(std::chrono::milliseconds(200));
            const auto elapsed = std::chrono::duration_cast<std::chrono::seconds>(std::chrono::steady_clock::now() - begin);
            model.Timer1(static_cast<int32_t>(elapsed.count()));
        }
        ok = ok && model.state == service_state::kRunning;
    }
    if (!ok) {
        std::cerr << kTitle << ": service " << action << ": " << (model.failure.empty() ? model.stateText : model.failure)
                  << "\n";
        return 3;
    }
    std::cout << model.stateText << "\n";
    return 0;
}

// `test-destination KIND ID`: the test of a loaded destination, its report on stdout; 0 when it
// worked, 4 when it did not.
int testDestination(const kv::cli::Parts& parts, const std::string& kind, int16_t id) {
    const kv::events::EventDocument* events = nullptr;
    for (const auto& p : parts)
        if (const auto* e = dynamic_cast<const kv::events::EventDocument*>(p.get())) events = e;
    if (!events) {
        std::cerr << kTitle << ": this version has no event destinations\n";
        return 2;
    }
    const int k = kind == "mail" ? kv::events::kMail
                  : kind == "ftp"  ? kv::events::kFTP
                  : kind == "http" ? kv::events::kHTTP
                                   : kv::events::kTCP;
    const kv::events::ProbeReport report =
        kv::events::TestDestination(events->tables(), k, id, std::chrono::seconds(10));
    const std::string text = report.text();
    std::cout << text << (text.ends_with('\n') ? "" : "\n");
    return report.ok ? 0 : 4;
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App cli{"Command-line client of the Kelvarra 64 service"};
    std::string host = "127.0.0.1";
    int port = 9877;
    std::string user = "admin";
    int timeoutSeconds = 40;
    bool verbose = false;
    cli.add_option("--host", host, "Service address");
    cli.add_option("--port", port, "Service port")->check(CLI::Range(1, 65535));
    cli.add_option("--user", user, "Account name");
    cli.add_option("--timeout", timeoutSeconds, "Seconds to wait for the whole load");
    cli.add_flag("-v,--verbose", verbose, "Show the login's status lines");
    auto* loginCmd = cli.add_subcommand("login", "Log in, load the configuration and log out");
    bool secrets = false;
    bool dryRun = false;
    auto* dumpCmd = cli.add_subcommand("dump", "Print the loaded configuration as JSON (passwords masked)");
    dumpCmd->add_flag("--secrets", secrets, "Print passwords in clear");
    auto* applyCmd = cli.add_subcommand(
        "apply",
        "Apply a document of dump (all or some sections) to the service. Each section given is the whole "
        "list: an account, group or preset it leaves out is removed (a channel is removed by an empty IP). "
        "A masked password keeps the service's value; a table's text or its index may be given.");
    std::string applyFile;
    applyCmd->add_option("FILE", applyFile, "The JSON document")->required();
    applyCmd->add_flag("--dry-run", dryRun, "Print the plan and the commands, send nothing");
    applyCmd->add_flag("--secrets", secrets, "Print the passwords of the commands in clear");
    auto* serviceCmd = cli.add_subcommand(
        "service",
        "Control the local service of this machine as the desktop client does (its home folder: "
        "$KELVARRA_HOME). Prints the state afterwards: Running, Stopped, ... or Uninstall.");
    std::string serviceAction;
    std::string serviceManager = "auto";
    serviceCmd->add_option("ACTION", serviceAction, "status, start, stop, install or remove")
        ->required()
        ->check(CLI::IsMember({"status", "start", "stop", "install", "remove"}));
    serviceCmd->add_option("--manager", serviceManager, "auto, systemd or process (a detached process)")
        ->check(CLI::IsMember({"auto", "systemd", "process"}))
        ->capture_default_str();
    auto* testCmd = cli.add_subcommand(
        "test-destination",
        "Try a notification destination from this machine: a test mail, file, request or line goes straight to "
        "it and every step is reported. Exit 0 when it worked, 4 when it did not.");
    std::string testKind;
    int testId = 0;
    testCmd->add_option("KIND", testKind, "mail, ftp, http or tcp")
        ->required()
        ->check(CLI::IsMember({"mail", "ftp", "http", "tcp"}));
    testCmd->add_option("ID", testId, "The destination's ID, as dump prints it")
        ->required()
        ->check(CLI::Range(1, 32767));
    cli.require_subcommand(1);
    try {
        cli.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        const int rc = cli.exit(e);
        return rc == 0 ? 0 : 2;
    }

    if (serviceCmd->parsed()) return runService(serviceAction, serviceManager, timeoutSeconds, verbose);

    // A document that cannot be read ends the run before the login.
    kv::cli::Json document;
    if (applyCmd->parsed()) {
        std::string error;
        auto doc = kv::cli::ReadDocument(applyFile, error);
        if (!doc) {
            std::cerr << error << "\n";
            return kv::cli::kExitBadDocument;
        }
        document = std::move(*doc);
    }

    const std::string password = readPassword();
    kv::base::Language lang(std::filesystem::path(KV_SOURCE_SHARE) / "Lang");
    if (const char* home = std::getenv("KELVARRA_HOME")) lang.setFolder(std::filesystem::path(home) / "Lang");
    lang.LoadLanguage(kv::base::LanguageFileName(1));

    CliPrompter prompter;
    prompter.verbose = verbose;
    kv::session::HeadlessClient client(prompter, lang, kTitle);
    const auto outcome = client.login(host, port, user, password, timeoutSeconds);
    if (outcome == kv::session::HeadlessClient::Outcome::Failed) {
        // A box was printed as it came; a status line only when no box said it.
        if (prompter.lastBox.empty()) std::cerr << prompter.lastStatus << "\n";
        return 3;
    }
    if (outcome == kv::session::HeadlessClient::Outcome::Partial)
        std::cerr << "warning: not every answer of the initial load arrived\n";
    kv::cli::Parts parts = client.session().documentParts();
    if (dumpCmd->parsed() || applyCmd->parsed())
        for (auto& p : parts) p->readExtras();
    if (dumpCmd->parsed()) std::cout << kv::cli::Dump(parts, {.secrets = secrets}).dump(2) << "\n";
    if (loginCmd->parsed() && verbose) std::cerr << "logged in\n";
    int rc = 0;
    if (testCmd->parsed()) rc = testDestination(parts, testKind, static_cast<int16_t>(testId));
    if (applyCmd->parsed())
        rc = kv::cli::Apply(document, parts, client.link(), lang, std::cout, std::cerr,
                            {.dryRun = dryRun, .secrets = secrets, .echo = &client.link()});
    client.leave();
    return rc;
}
