// The link's events written down one line each, for tests over the real link.
#pragma once

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "link/service_link.h"

namespace kv::test {

/// Writes each event as one line of text; `held` notes, per line, what `heldNow` said when it came
/// (the link suite: whether the link handed it over itself after a wait).
class RecordingEvents : public link::LinkEvents {
public:
    explicit RecordingEvents(std::function<bool()> heldNow = {}) : heldNow_(std::move(heldNow)) {}

    void OnResponse(int32_t, const std::string& xml) override { add("response " + xml); }
    void OnNotifyServiceStatus(int32_t, int32_t status) override {
        statuses.push_back(status);
        add("status " + std::to_string(status));
    }
    void OnGetMapPic(int32_t, int32_t groupID, int32_t result, const std::string& path) override {
        add("map " + std::to_string(groupID) + " " + std::to_string(result) + " " + path);
    }
    void OnBackupDatabaseStatus(int32_t reserved, int32_t status) override {
        add("db " + std::to_string(reserved) + " " + std::to_string(status));
    }
    void OnBackupToAVIStatus(int32_t id, int32_t status) override {
        add("avi " + std::to_string(id) + " " + std::to_string(status));
    }
    void OnNotify(int32_t, const std::string& xml) override { add("notify " + xml); }
    void OnSearchResult(const std::string& xml) override { add("search " + xml); }
    void OnReceiveStatus(int32_t, int32_t value) override { add("receive " + std::to_string(value)); }

    bool hasStatus(int32_t s) const { return std::find(statuses.begin(), statuses.end(), s) != statuses.end(); }
    /// The last status, 0 before any.
    int32_t lastStatus() const { return statuses.empty() ? 0 : statuses.back(); }
    void clear() {
        lines.clear();
        held.clear();
        statuses.clear();
    }

    std::vector<std::string> lines;
    std::vector<bool> held;
    std::vector<int32_t> statuses;

private:
    void add(std::string line) {
        lines.push_back(std::move(line));
        held.push_back(heldNow_ && heldNow_());
    }
    std::function<bool()> heldNow_;
};

}  // namespace kv::test
