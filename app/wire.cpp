// The codec kit's builders and the write-result rule.
#include "app/wire.h"

#include "app/protocol.h"
#include "base/text.h"
#include "link/service_link.h"

namespace kv::app {
namespace wire {

std::string Elem(std::string_view name, std::string_view inner) {
    std::string out;
    out.reserve(name.size() * 2 + inner.size() + 5);
    out.append("<").append(name).append(">").append(inner).append("</").append(name).append(">");
    return out;
}

std::string Text(std::string_view name, std::string_view value) { return Elem(name, base::XMLFilter(value, true)); }

std::string Num(std::string_view name, int64_t value) { return Elem(name, std::to_string(value)); }

std::string Attr(std::string_view name, std::string_view value) {
    std::string out = " ";
    out.append(name).append("=\"").append(base::XMLFilter(value, true)).append("\"");
    return out;
}

std::string Attr(std::string_view name, int64_t value) {
    std::string out = " ";
    out.append(name).append("=\"").append(std::to_string(value)).append("\"");
    return out;
}

}  // namespace wire

bool WriteAccepted(std::string_view reply) { return base::CheckResult(reply) >= 0 && CheckCMDReturn(reply) >= 0; }

bool SendWrite(link::ServiceLink& link, const std::string& command, std::string* reply) {
    std::string answer;
    try {
        answer = link.SendCommand(0, true, command);
    } catch (...) {
        answer = "-1";
    }
    const bool ok = WriteAccepted(answer);
    if (reply) *reply = std::move(answer);
    return ok;
}

}  // namespace kv::app
