// Runs a program to its end and keeps what it wrote: the end-to-end tests of the programs.
#pragma once

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/base/test_util.h"

extern char** environ;

namespace kv::test {

struct ProcessResult {
    int exitCode = -1;
    std::string out;
    std::string err;
};

/// Runs `args` with extra environment variables, no input, stdout and stderr captured.
inline ProcessResult RunProcess(const std::vector<std::string>& args, const std::vector<std::string>& env = {}) {
    TempDir scratch;
    const std::string outFile = (scratch / "out").string(), errFile = (scratch / "err").string();
    std::vector<std::string> a = args, e = env;
    for (char** p = environ; *p; ++p) e.emplace_back(*p);
    std::vector<char*> argv, envp;
    for (auto& s : a) argv.push_back(s.data());
    for (auto& s : e) envp.push_back(s.data());
    argv.push_back(nullptr);
    envp.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 1, outFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    posix_spawn_file_actions_addopen(&actions, 2, errFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    ProcessResult r;
    pid_t pid = -1;
    if (::posix_spawn(&pid, a[0].c_str(), &actions, nullptr, argv.data(), envp.data()) == 0) {
        int status = 0;
        ::waitpid(pid, &status, 0);
        r.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    posix_spawn_file_actions_destroy(&actions);
    r.out = readFile(outFile);
    r.err = readFile(errFile);
    return r;
}

}  // namespace kv::test
