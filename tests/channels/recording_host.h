// The channel page's host for the channel tests: it records what the page asked of it.
#pragma once

#include <string>
#include <vector>

#include "channels/channel_page.h"
#include "tests/support/fakes.h"

namespace kv::test {

/// Records the calls of the page in their order.
struct RecordingHost : channels::ChannelPageHost {
    std::vector<std::string> calls;
    int16_t dual = -1;
    bool dirty = false;
    void channelDirtyChanged(bool d) override { dirty = d; }
    int16_t dualModeOf(int32_t) override { return dual; }
    bool switchDualModeOff(int32_t ch) override {
        calls.push_back("dual off " + std::to_string(ch));
        dual = 0;
        return true;
    }
    int32_t openPreview(const channels::ChannelRecord&, const std::string& command) override {
        calls.push_back(command);
        return -164;
    }
    void channelRemoved(int32_t ch) override { calls.push_back("removed " + std::to_string(ch)); }
    void channelsChanged() override { calls.push_back("reload"); }
};

}  // namespace kv::test
