// kelvarra-ctl: logs in to a service exactly as the desktop client does and prints or applies
// its configuration.
#include <termios.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <string>

#include <CLI/CLI.hpp>

#include "base/lang.h"
#include "cli/apply.h"
#include "session/headless.h"

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
    cli.require_subcommand(1);
    try {
        cli.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        const int rc = cli.exit(e);
        return rc == 0 ? 0 : 2;
    }

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
    if (applyCmd->parsed())
        rc = kv::cli::Apply(document, parts, client.link(), lang, std::cout, std::cerr,
                            {.dryRun = dryRun, .secrets = secrets, .echo = &client.link()});
    client.leave();
    return rc;
}
