// The record of every command text the service received.
#include "sim/traffic_log.h"

#include <cerrno>
#include <cstring>

namespace kv::sim {

std::string escapeTrafficLine(std::string_view text) {
    std::string out;
    out.reserve(text.size() + 8);
    for (char c : text) {
        switch (c) {
        case '\\': out += "\\\\"; break;
        case '\r': out += "\\r"; break;
        case '\n': out += "\\n"; break;
        default: out += c;
        }
    }
    return out;
}

std::string unescapeTrafficLine(std::string_view line) {
    std::string out;
    out.reserve(line.size());
    for (size_t i = 0; i < line.size(); ++i) {
        if (line[i] != '\\' || i + 1 == line.size()) {
            out += line[i];
            continue;
        }
        char next = line[++i];
        out += next == 'r' ? '\r' : next == 'n' ? '\n' : next;
    }
    return out;
}

base::Result<std::unique_ptr<TrafficLog>> TrafficLog::open(const std::filesystem::path& file) {
    std::FILE* f = std::fopen(file.string().c_str(), "ab");
    if (!f) {
        return base::Result<std::unique_ptr<TrafficLog>>::failure("cannot open the traffic log " + file.string() +
                                                                  ": " + std::strerror(errno));
    }
    return std::unique_ptr<TrafficLog>(new TrafficLog(f));
}

TrafficLog::~TrafficLog() { std::fclose(file_); }

void TrafficLog::write(std::string_view command) {
    std::string line = escapeTrafficLine(command);
    line += '\n';
    std::fwrite(line.data(), 1, line.size(), file_);
    std::fflush(file_);
}

}  // namespace kv::sim
