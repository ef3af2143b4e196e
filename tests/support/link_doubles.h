// Doubles for tests over the real link: an owner's queue the test thread drains, and events
// written down one line each.
#pragma once

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "link/service_link.h"

namespace kv::test {

/// The owner's queue: the test thread drains it. Remembers whether each function was posted by the owner.
class QueueExecutor : public link::Executor {
public:
    void post(std::function<void()> fn) override {
        std::lock_guard lock(mu_);
        queue_.push_back({std::move(fn), std::this_thread::get_id() == owner_});
        cv_.notify_all();
    }

    /// Runs queued functions until `done` holds or the time is up.
    bool runUntil(const std::function<bool()>& done, std::chrono::milliseconds limit = std::chrono::seconds(3)) {
        const auto deadline = std::chrono::steady_clock::now() + limit;
        for (;;) {
            drain();
            if (done()) return true;
            std::unique_lock lock(mu_);
            if (!cv_.wait_until(lock, deadline, [this] { return !queue_.empty(); })) break;
        }
        drain();
        return done();
    }
    void runFor(std::chrono::milliseconds time) { runUntil([] { return false; }, time); }
    bool runningFromOwner() const { return runningFromOwner_; }

private:
    struct Item {
        std::function<void()> fn;
        bool fromOwner;
    };
    void drain() {
        for (;;) {
            Item item;
            {
                std::lock_guard lock(mu_);
                if (queue_.empty()) return;
                item = std::move(queue_.front());
                queue_.pop_front();
            }
            runningFromOwner_ = item.fromOwner;
            item.fn();
        }
    }

    std::thread::id owner_ = std::this_thread::get_id();
    std::mutex mu_;
    std::condition_variable cv_;
    std::deque<Item> queue_;
    bool runningFromOwner_ = false;
};

/// Writes each event as one line of text; `held` tells whether the link handed it over itself after a wait.
class RecordingEvents : public link::LinkEvents {
public:
    explicit RecordingEvents(const QueueExecutor& executor) : executor_(executor) {}

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
        held.push_back(executor_.runningFromOwner());
    }
    const QueueExecutor& executor_;
};

}  // namespace kv::test
