// The record of every command text the service received, one per line.
#pragma once

#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

#include "base/result.h"

namespace kv::sim {

/// A command on one line: a backslash becomes "\\", CR "\r" and LF "\n"; every other byte is
/// kept, so the line reads back to the exact text.
std::string escapeTrafficLine(std::string_view text);
/// The inverse of escapeTrafficLine.
std::string unescapeTrafficLine(std::string_view line);

class TrafficLog {
public:
    /// Opens the file for appending, creating it when missing.
    static base::Result<std::unique_ptr<TrafficLog>> open(const std::filesystem::path& file);
    ~TrafficLog();
    TrafficLog(const TrafficLog&) = delete;
    TrafficLog& operator=(const TrafficLog&) = delete;

    /// Appends one line and flushes it, so that a reader sees it at once and a kill loses nothing.
    void write(std::string_view command);

private:
    explicit TrafficLog(std::FILE* file) : file_(file) {}
    std::FILE* file_;
};

}  // namespace kv::sim
