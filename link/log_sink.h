// Where the link writes its log lines: the function (where) and the description (what happened).
#pragma once

#include <functional>
#include <string>

namespace kv::link {

using LogSink = std::function<void(const std::string& function, const std::string& description)>;

}  // namespace kv::link
