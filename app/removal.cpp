// The removal's hook list and the channel-list helper the subjects prune with.
#include "app/removal.h"

#include <algorithm>

#include "base/text.h"

namespace kv::app {

void ChannelRemoval::add(RemovalStep step, Prune prune, React react) {
    parts_[static_cast<size_t>(step)].push_back({std::move(prune), std::move(react)});
}

void ChannelRemoval::run(int32_t ch) const {
    for (const auto& step : parts_)
        for (const Part& p : step)
            if (p.prune) p.prune(ch);
    for (const auto& step : parts_)
        for (const Part& p : step)
            if (p.react) p.react(ch);
}

std::vector<RemovalStep> ChannelRemoval::steps() const {
    std::vector<RemovalStep> out;
    for (size_t i = 0; i < parts_.size(); ++i)
        if (!parts_[i].empty()) out.push_back(static_cast<RemovalStep>(i));
    return out;
}

std::string RemoveChannelFromList(std::string_view list, int32_t ch) {
    const std::string number = std::to_string(ch);
    std::string out;
    size_t pos = 0;
    while (pos < list.size()) {
        const size_t end = std::min(list.find(',', pos), list.size());
        const std::string_view item = list.substr(pos, end - pos);
        if (base::Trim(item) != number) {
            if (!out.empty()) out += ',';
            out += item;
        }
        pos = end + 1;
    }
    return out;
}

}  // namespace kv::app
