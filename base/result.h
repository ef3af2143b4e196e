// Result of an operation that can fail with a message: a value or an error text, never an exception.
#pragma once

#include <optional>
#include <string>
#include <utility>

namespace kv::base {

template <class T>
class Result {
public:
    Result(T value) : value_(std::move(value)) {}  // NOLINT: implicit on purpose, like a return value
    static Result failure(std::string message) {
        Result r;
        r.error_ = std::move(message);
        return r;
    }

    explicit operator bool() const { return value_.has_value(); }
    bool ok() const { return value_.has_value(); }
    const T& value() const& { return *value_; }
    T& value() & { return *value_; }
    T&& value() && { return std::move(*value_); }
    const T* operator->() const { return &*value_; }
    const T& operator*() const { return *value_; }
    /// Empty when the operation succeeded.
    const std::string& error() const { return error_; }

private:
    Result() = default;
    std::optional<T> value_;
    std::string error_;
};

}  // namespace kv::base
