// The client's daily text log: one file a day under the "Log" folder, fixed columns, a header per opening.
#pragma once

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <string>

namespace kv::base {

/// One log entry: local wall-clock seconds since 1970/1/1, the function, the description and a level.
struct LogRecord {
    int64_t Time = 0;
    std::string Function;
    std::string Description;
    int16_t Level = 0;
};

/// Creates each missing folder of `path` up to, not including, its last component.
/// A first component ending in ":" is a drive and is never created. True when at least one folder was made.
bool FileCheck(const std::string& path);

/// Formats local wall-clock seconds since 1970/1/1 as "yyyy/mm/dd hh:mm:ss".
std::string FormatLocalSeconds(int64_t localSeconds);

/// Local wall-clock seconds since 1970/1/1 for a point in time, in the system's time zone (honours TZ).
int64_t LocalSecondsOf(std::chrono::system_clock::time_point t);

class Log {
public:
    using Now = std::function<std::chrono::system_clock::time_point()>;

    explicit Log(std::string appTitle, Now now = std::chrono::system_clock::now);
    ~Log();
    Log(const Log&) = delete;
    Log& operator=(const Log&) = delete;

    /// Stores the threshold and the folder: `path` (the home folder) + "Log/".
    void InitLog(int16_t level, const std::filesystem::path& path);
    /// Writes one line stamped with the current time. Never throws, never reports a failure.
    void SetLog(const std::string& function, const std::string& description, int16_t level);
    void SaveToLogFile(const LogRecord& record);
    /// Opens folder + name + ".txt" for appending; writes the header when the folder already stood.
    bool OpenLogFile(const std::string& folder, const std::string& name);
    void DestoryLog();

    /// The base name of the day's file: "LOG-" + title + "_" + yyyymmdd.
    std::string DayName(int64_t localSeconds) const;
    const std::string& folder() const { return sLogFolder_; }
    const std::string& title() const { return appTitle_; }
    bool isOpen() const { return iLogFile_ != nullptr; }

    static std::string FormatLine(const LogRecord& record);
    static std::string HeaderLines();

private:
    void closeFile();

    std::string appTitle_;
    Now now_;
    int16_t iLogLevel_ = 0;
    std::string sLogFolder_;
    std::FILE* iLogFile_ = nullptr;
    bool bLogOpen_ = false;
    std::string sLogName_;
};

}  // namespace kv::base
