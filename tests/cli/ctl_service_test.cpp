// kelvarra-ctl service: the local service of a home folder installed, started, stopped and
// removed through the program, with its exit codes and one-line reasons.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include "tests/base/test_util.h"
#include "tests/support/run_process.h"

using kv::test::RunProcess;
using kv::test::TempDir;
namespace fs = std::filesystem;

namespace {

struct CtlService : ::testing::Test {
    TempDir dir;
    fs::path home = dir / "home";
    fs::path program = dir / "bin" / "kelvarra-sim";

    void SetUp() override {
        // The service under its own name, on a free port and without the LAN search, so that tests
        // running side by side do not meet.
        fs::create_directories(program.parent_path());
        kv::test::writeFile(program, std::string("#!/bin/sh\nexec ") + KV_SIM_PROGRAM +
                                         " \"$@\" --port 0 --discovery-port 0\n");
        ::chmod(program.c_str(), 0755);
    }
    void TearDown() override { service("remove"); }
    kv::test::ProcessResult service(const std::string& action, const fs::path& prog = {}) {
        return RunProcess({KV_CTL_PROGRAM, "service", action, "--manager", "process"},
                          {"KELVARRA_HOME=" + home.string(),
                           "KELVARRA_SERVICE_PROGRAM=" + (prog.empty() ? program : prog).string()});
    }
};

}  // namespace

TEST_F(CtlService, InstallStartStopRemove) {
    struct Step {
        const char* action;
        int exitCode;
        const char* out;
    };
    // Each row runs the program once over the same home folder.
    const Step steps[] = {
        {"status", 0, "Uninstall\n"},   // an absent service is a state, not an error
        {"install", 0, "Stopped\n"},
        {"start", 0, "Running\n"},      // waits until the service runs
        {"start", 0, "Running\n"},      // nothing to do
        {"stop", 0, "Stopped\n"},
        {"stop", 0, "Stopped\n"},
        {"remove", 0, "Uninstall\n"},
    };
    for (const Step& s : steps) {
        const auto r = service(s.action);
        EXPECT_EQ(r.exitCode, s.exitCode) << s.action << ": " << r.err;
        EXPECT_EQ(r.out, s.out) << s.action;
    }
}

TEST_F(CtlService, FailuresEndWithCodeThreeAndOneLine) {
    auto r = service("start");
    EXPECT_EQ(r.exitCode, 3);
    EXPECT_EQ(r.err, "kelvarra-ctl: service start: the service is not installed\n");
    ASSERT_EQ(service("install").exitCode, 0);
    r = service("start", dir / "missing" / "kelvarra-sim");
    EXPECT_EQ(r.exitCode, 3);
    EXPECT_EQ(r.err, "kelvarra-ctl: service start: no program " + (dir / "missing" / "kelvarra-sim").string() + "\n");
}
