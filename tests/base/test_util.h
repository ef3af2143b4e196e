// Helpers for tests: a scratch folder removed at the end, file reading, scoped environment variables.
#pragma once

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

namespace kv::test {

class TempDir {
public:
    TempDir() {
        std::string templ = (std::filesystem::temp_directory_path() / "kvtest-XXXXXX").string();
        path_ = ::mkdtemp(templ.data()) ? templ : std::string();
    }
    ~TempDir() {
        std::error_code ec;
        std::filesystem::remove_all(path_, ec);
    }
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;
    const std::filesystem::path& path() const { return path_; }
    std::filesystem::path operator/(const std::string& name) const { return path_ / name; }

private:
    std::filesystem::path path_;
};

inline std::string readFile(const std::filesystem::path& p) {
    std::ifstream in(p, std::ios::binary);
    std::ostringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

/// The lines of a text file, without their line ends.
inline std::vector<std::string> readLines(const std::filesystem::path& p) {
    std::istringstream in(readFile(p));
    std::vector<std::string> out;
    for (std::string line; std::getline(in, line);) out.push_back(line);
    return out;
}

inline void writeFile(const std::filesystem::path& p, const std::string& content) {
    std::ofstream out(p, std::ios::binary);
    out << content;
}

/// Sets (or with nullptr unsets) an environment variable for the scope and restores it; a change of
/// TZ takes effect at once.
class ScopedEnv {
public:
    ScopedEnv(const char* name, const char* value) : name_(name) {
        const char* old = std::getenv(name);
        had_ = old != nullptr;
        if (had_) old_ = old;
        if (value) ::setenv(name, value, 1); else ::unsetenv(name);
        ::tzset();
    }
    ~ScopedEnv() {
        if (had_) ::setenv(name_.c_str(), old_.c_str(), 1); else ::unsetenv(name_.c_str());
        ::tzset();
    }
    ScopedEnv(const ScopedEnv&) = delete;
    ScopedEnv& operator=(const ScopedEnv&) = delete;

private:
    std::string name_;
    bool had_ = false;
    std::string old_;
};

struct ScopedTz : ScopedEnv {
    explicit ScopedTz(const char* tz) : ScopedEnv("TZ", tz) {}
};

}  // namespace kv::test
