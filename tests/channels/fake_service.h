// Doubles for the channel page models: a link answering from a script, a fixed clock, a host that
// records what the page asked of it, and the English texts.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "app/protocol.h"
#include "app/shell.h"
#include "base/lang.h"
#include "channels/channel_page.h"
#include "tests/support/fakes.h"

namespace kv::test {

/// Records every command; answers from `replies` by command id, else RET 0 with an empty body.
class ScriptedLink : public NullLink {
public:
    std::vector<std::string> sent;
    std::map<int32_t, std::string> replies;
    std::string SendCommand(int32_t, bool, const std::string& xml) override {
        sent.push_back(xml);
        const int32_t id = idOf(xml);
        const auto it = replies.find(id);
        return it != replies.end() ? it->second
                                   : "<RESPONSE RET=\"0\" ID=\"" + std::to_string(id) + "\"></RESPONSE>";
    }
    std::vector<int32_t> ids() const {
        std::vector<int32_t> out;
        for (const std::string& s : sent) out.push_back(idOf(s));
        return out;
    }
    static int32_t idOf(const std::string& xml) {
        const size_t q = xml.find('"');
        return q == std::string::npos ? 0 : std::stoi(xml.substr(q + 1));
    }
};

struct FixedClock : app::Clock {
    int64_t now = 1700000000;
    int64_t nowSeconds() const override { return now; }
};

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

inline const base::Language& English() {
    static const base::Language lang = [] {
        base::Language l(std::filesystem::path(KV_SOURCE_SHARE) / "Lang");
        l.LoadLanguage(base::LanguageFileName(1));
        return l;
    }();
    return lang;
}

}  // namespace kv::test
