// Daily text log with fixed columns; every failure is swallowed so logging never stops the program.
#include "base/log.h"

#include "base/timeconv.h"

#include <system_error>
#include <vector>

namespace kv::base {
namespace {

// Pads `line` with blanks so that the next text starts at the 1-based column `column`.
// A field that already reaches the column is followed by one blank, so fields never run together.
void padToColumn(std::string& line, size_t column) {
    const size_t width = column - 1;
    if (line.size() < width)
        line.append(width - line.size(), ' ');
    else
        line.push_back(' ');
}

std::vector<std::string> splitPath(const std::string& path) {
    std::vector<std::string> parts;
    std::string cur;
    for (char c : path) {
        if (c == '/' || c == '\\') {
            parts.push_back(cur);
            cur.clear();
        } else {
            cur.push_back(c);
        }
    }
    parts.push_back(cur);
    return parts;
}

}  // namespace

bool FileCheck(const std::string& path) {
    try {
        const auto parts = splitPath(path);
        if (parts.size() < 2) return false;
        bool made = false;
        std::filesystem::path dir;
        for (size_t i = 0; i + 1 < parts.size(); ++i) {
            const std::string& part = parts[i];
            if (i == 0 && part.empty()) {
                dir = "/";
                continue;
            }
            if (i == 0 && part.back() == ':') continue;  // a drive: there is nothing to create
            if (part.empty()) continue;                   // doubled separator
            dir /= part;
            std::error_code ec;
            if (std::filesystem::is_directory(dir, ec)) continue;
            if (std::filesystem::create_directory(dir, ec)) made = true;
        }
        return made;
    } catch (...) {
        return false;
    }
}

std::string FormatLocalSeconds(int64_t localSeconds) {
    const CivilTime c = CivilFromSeconds(localSeconds);
    char buf[48];
    std::snprintf(buf, sizeof buf, "%04d/%02d/%02d %02d:%02d:%02d", c.year, c.month, c.day, c.hour, c.minute,
                  c.second);
    return buf;
}

int64_t LocalSecondsOf(std::chrono::system_clock::time_point t) {
    return UTCtoLocal(static_cast<int64_t>(std::chrono::system_clock::to_time_t(t)));
}

Log::Log(std::string appTitle, Now now) : appTitle_(std::move(appTitle)), now_(std::move(now)) {}

Log::~Log() { closeFile(); }

void Log::InitLog(int16_t level, const std::filesystem::path& path) {
    iLogLevel_ = level;
    std::string folder = path.string();
    if (!folder.empty() && folder.back() != '/') folder.push_back('/');
    sLogFolder_ = folder + "Log/";
    closeFile();
    bLogOpen_ = false;
    sLogName_.clear();
}

void Log::SetLog(const std::string& function, const std::string& description, int16_t level) {
    try {
        LogRecord r;
        r.Time = LocalSecondsOf(now_());
        r.Function = function;
        r.Description = description;
        r.Level = level;
        SaveToLogFile(r);
    } catch (...) {
    }
}

std::string Log::DayName(int64_t localSeconds) const {
    const std::string stamp = FormatLocalSeconds(localSeconds);  // yyyy/mm/dd hh:mm:ss
    if (stamp.size() < 10) return {};
    return "LOG-" + appTitle_ + "_" + stamp.substr(0, 4) + stamp.substr(5, 2) + stamp.substr(8, 2);
}

std::string Log::FormatLine(const LogRecord& r) {
    std::string line = FormatLocalSeconds(r.Time);
    padToColumn(line, 26);
    line += std::to_string(r.Level);
    padToColumn(line, 33);
    line += r.Function;
    padToColumn(line, 68);
    line += r.Description;
    return line;
}

std::string Log::HeaderLines() {
    struct Row {
        const char* time;
        const char* level;
        const char* function;
        std::string description;
    };
    const Row rows[3] = {
        {"===================", "=======", "================================", std::string(80, '=')},
        {"Time", "Level", "Function", "Description"},
        {"-------------------", "-------", "--------------------------------", std::string(80, '-')},
    };
    std::string out;
    for (const Row& row : rows) {
        std::string line = row.time;
        padToColumn(line, 23);
        line += row.level;
        padToColumn(line, 33);
        line += row.function;
        padToColumn(line, 68);
        line += row.description;
        out += line + "\n";
    }
    return out;
}

void Log::SaveToLogFile(const LogRecord& record) {
    try {
        if (record.Level < iLogLevel_ && record.Level != 0) return;
        if (sLogFolder_.empty()) return;
        const std::string name = DayName(record.Time);
        if (!bLogOpen_) {
            bLogOpen_ = OpenLogFile(sLogFolder_, name);
            sLogName_ = name;
        }
        if (name != sLogName_) {
            closeFile();
            bLogOpen_ = OpenLogFile(sLogFolder_, name);
            sLogName_ = name;
        }
        if (!iLogFile_) return;
        const std::string line = FormatLine(record) + "\n";
        std::fwrite(line.data(), 1, line.size(), iLogFile_);
        std::fflush(iLogFile_);
    } catch (...) {
    }
}

bool Log::OpenLogFile(const std::string& folderIn, const std::string& name) {
    try {
        std::string folder = folderIn;
        if (folder.empty() || folder.back() != '/') folder.push_back('/');
        const bool created = FileCheck(folder + name);
        closeFile();
        iLogFile_ = std::fopen((folder + name + ".txt").c_str(), "a");
        if (iLogFile_ && !created) {
            const std::string header = HeaderLines();
            std::fwrite(header.data(), 1, header.size(), iLogFile_);
            std::fflush(iLogFile_);
        }
    } catch (...) {
    }
    // The log reports success whatever happened; a file that did not open only means no lines.
    return true;
}

void Log::DestoryLog() { closeFile(); }

void Log::closeFile() {
    if (iLogFile_) std::fclose(iLogFile_);
    iLogFile_ = nullptr;
}

}  // namespace kv::base
