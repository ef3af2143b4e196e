// Event names and picture keys.
#include "events/event_names.h"

#include <charconv>

#include "app/xml_read.h"

namespace kv::events {
namespace {

// The whole text as a number; nullopt-like false when it is not one.
bool wholeNumber(std::string_view text, int32_t& out) {
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), out);
    return !text.empty() && ec == std::errc() && end == text.data() + text.size();
}

}  // namespace

bool IsPOSEventCode(int32_t code) { return code == kPOSEvent || (code > kPOSEventBase && code < 4139); }

std::string GetEventName(std::string_view code, std::span<const base::EventTypeName> types,
                         const pos::POSTriggerEventList& triggers, const base::Language& lang) {
    int32_t c = 0;
    if (!wholeNumber(code, c)) return "-1";
    for (const base::EventTypeName& t : types)
        if (t.code == c) return t.text;
    for (const pos::POSTriggerEventRecord& t : triggers)
        if (t.ID >= 0 && t.ID == c - kPOSEventBase)
            return lang.GetText(kPOSTriggerText) + ":" + std::to_string(t.ID) + "[" + t.Name + "]";
    return "-1";
}

int32_t GetEventCode(std::string_view name, std::span<const base::EventTypeName> types) {
    const size_t colon = name.find(':');
    if (colon == std::string_view::npos) {
        for (const base::EventTypeName& t : types)
            if (t.text == name) return t.code;
        return -1;
    }
    std::string_view second = name.substr(colon + 1);
    second = second.substr(0, second.find(':'));
    return app::ToInt32(second.substr(0, second.find('['))) + kPOSEventBase;
}

std::string EventIconKey(std::string_view code) {
    int32_t c = 0;
    if (wholeNumber(code, c) && c > kPOSEventBase && c < 4200) return "E4110";
    return "E" + std::string(code);
}

}  // namespace kv::events
