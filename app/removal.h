// What goes with a removed channel: an ordered list of the subjects' reactions. Each subject
// registers the prune of its tables and its page's reaction; the order is fixed here, once.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace kv::app {

/// The places in the removal's order. The lists are pruned in this order, then the pages
/// follow in the same order (the analytics page, the event actions, the event schedule, the
/// map, the recording, the backup), the user groups last.
enum class RemovalStep : size_t {
    kAnalytics = 0,
    kEventActions,
    kEventSchedule,
    kEMap,
    kRecording,
    kBackup,
    kUserGroups,
};
inline constexpr size_t kRemovalStepCount = 7;

class ChannelRemoval {
public:
    /// Takes the channel out of a subject's tables.
    using Prune = std::function<void(int32_t ch)>;
    /// The page follows: refreshes, and saves through its own button what the prune changed.
    using React = std::function<void(int32_t ch)>;

    /// A subject's part; either may be empty. Several parts may share a step (registration order).
    void add(RemovalStep step, Prune prune, React react = nullptr);
    /// Every prune in step order, then every reaction in step order.
    void run(int32_t ch) const;
    /// The steps that have a part, in order (for the tests of the order).
    std::vector<RemovalStep> steps() const;

private:
    struct Part {
        Prune prune;
        React react;
    };
    std::array<std::vector<Part>, kRemovalStepCount> parts_;
};

/// Rebuilds `list` without the entries `gone` names, the order of the others kept; a list left
/// empty holds one blank record (the sentinel). Entries with a channel of 0 or less go in the
/// same pass when `gone` says so. True when a record other than a blank one went, so that the
/// subject knows whether its list must be saved.
template <class List, class Gone>
bool PruneList(List& list, Gone gone) {
    using Record = typename List::value_type;
    List kept;
    bool changed = false;
    for (auto& entry : list) {
        if (!gone(entry)) kept.push_back(std::move(entry));
        else if (!(entry == Record{})) changed = true;
    }
    if (kept.empty()) kept.resize(1);
    list = std::move(kept);
    return changed;
}

/// A comma list of channel numbers without `ch` (blanks around a number are allowed).
std::string RemoveChannelFromList(std::string_view list, int32_t ch);

}  // namespace kv::app
