// The reference service's configuration: one SQLite file of documents keyed by name.
#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/result.h"

namespace kv::sim {

/// Documents are the bodies of the service's answers, keyed by the decimal response id
/// ("24582", "32801", ...), plus a few named entries of the service's own ("version" ...).
class SimStore {
public:
    using Documents = std::vector<std::pair<std::string, std::string>>;

    /// Opens or creates the file; `reset` empties it first.
    static base::Result<std::unique_ptr<SimStore>> open(const std::filesystem::path& file, bool reset);
    ~SimStore();

    std::optional<std::string> get(std::string_view key) const;
    /// Stores a document; an empty body removes it.
    bool put(std::string_view key, std::string_view body);
    /// Writes all documents in one transaction: all of them or none.
    bool putAll(const Documents& docs);
    bool empty() const;

private:
    struct Impl;
    explicit SimStore(std::unique_ptr<Impl> impl);
    std::unique_ptr<Impl> impl_;
};

}  // namespace kv::sim
