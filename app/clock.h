// The clock the timed rules read: seconds since 1970/1/1. Tests give one they move by hand.
#pragma once

#include <chrono>
#include <cstdint>

namespace kv::app {

class Clock {
public:
    virtual ~Clock() = default;
    virtual int64_t nowSeconds() const = 0;
};

class SystemClock final : public Clock {
public:
    int64_t nowSeconds() const override {
        return std::chrono::duration_cast<std::chrono::seconds>(std::chrono::system_clock::now().time_since_epoch())
            .count();
    }
};

}  // namespace kv::app
