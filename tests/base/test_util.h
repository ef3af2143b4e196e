// Helpers for tests: a scratch folder removed at the end, file reading, a fixed time zone.
#pragma once

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <unistd.h>

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

inline void writeFile(const std::filesystem::path& p, const std::string& content) {
    std::ofstream out(p, std::ios::binary);
    out << content;
}

/// Sets TZ for the scope and restores the previous value.
class ScopedTz {
public:
    explicit ScopedTz(const char* tz) {
        const char* old = std::getenv("TZ");
        had_ = old != nullptr;
        if (had_) old_ = old;
        ::setenv("TZ", tz, 1);
        ::tzset();
    }
    ~ScopedTz() {
        if (had_) ::setenv("TZ", old_.c_str(), 1); else ::unsetenv("TZ");
        ::tzset();
    }

private:
    bool had_ = false;
    std::string old_;
};

}  // namespace kv::test
