// The codec kit of the subjects: element and attribute builders (free text always escaped),
// and the send of a write with the one result rule.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace kv::link {
class ServiceLink;
}

namespace kv::app::wire {

/// `<name>value</name>` with the value escaped (XMLFilter).
std::string Text(std::string_view name, std::string_view value);
/// `<name>n</name>`.
std::string Num(std::string_view name, int64_t value);
/// `<name>inner</name>`, `inner` already built.
std::string Elem(std::string_view name, std::string_view inner);
/// ` name="value"` with the value escaped (XMLFilter), one blank in front.
std::string Attr(std::string_view name, std::string_view value);
/// ` name="n"`.
std::string Attr(std::string_view name, int64_t value);

}  // namespace kv::app::wire

namespace kv::app {

/// The result rule of every save: the link answered (no "-" text) and the answer's RET is not
/// negative.
bool WriteAccepted(std::string_view reply);

/// Sends a write and waits for its answer. True when the link answered (no "-" text) and the
/// answer's RET is not negative: the result rule of every save. `reply`, when given, receives
/// the text (a "-" code when the link failed).
bool SendWrite(link::ServiceLink& link, const std::string& command, std::string* reply = nullptr);

}  // namespace kv::app
