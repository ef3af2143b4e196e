// The command line parser.
#include "app/cmdline.h"

#include "base/text.h"

namespace kv::app {
namespace {

int32_t number(std::string_view v) {
    const int64_t n = base::LeadingNumber(v);
    return n > INT32_MAX ? INT32_MAX : n < INT32_MIN ? INT32_MIN : static_cast<int32_t>(n);
}

}  // namespace

CmdLine ParseCommandLine(std::string_view lineIn) {
    CmdLine c;
    const std::string line = base::Trim(lineIn);
    size_t pos = 0;
    while (pos <= line.size() && !line.empty()) {
        size_t end = line.find(' ', pos);
        if (end == std::string::npos) end = line.size();
        const std::string token = base::ToLower(std::string_view(line).substr(pos, end - pos));
        pos = end + 1;
        const size_t colon = token.find(':');
        const std::string sw = base::ToUpper(std::string_view(token).substr(0, colon));
        std::string value;
        if (colon != std::string::npos) {
            // Only the part up to a second colon is the value.
            const size_t second = token.find(':', colon + 1);
            value = token.substr(colon + 1, second == std::string::npos ? std::string::npos : second - colon - 1);
        }
        if (sw.size() < 2 || (sw[0] != '-' && sw[0] != '/')) continue;
        const std::string name = sw.substr(1);
        if (name == "D") {
            c.iCmdDevice = number(value);
            c.bCmdLogin = false;
        } else if (name == "IP") {
            c.sCmdIP = base::Trim(value);
        } else if (name == "PORT") {
            c.iCmdPort = number(value);
        } else if (name == "USER") {
            c.sCmdUser = base::Trim(value);
        } else if (name == "PASS") {
            c.sCmdPass = base::Trim(value);
        } else if (name == "FRAME") {
            c.iCmdFrame = number(value);
        } else if (name == "LANG") {
            c.iCmdLang = number(value);
        } else if (name == "ONTOP") {
            c.bCmdOnTop = base::ToUpper(value) == "TRUE";
        } else if (name == "TOP") {
            c.iCmdTop = number(value);
        } else if (name == "LEFT") {
            c.iCmdLeft = number(value);
        }
        if (end == line.size()) break;
    }
    c.bCmdLogin = !c.sCmdIP.empty();
    return c;
}

std::string JoinArguments(int argc, const char* const* argv) {
    std::string line;
    for (int i = 1; i < argc; ++i) {
        if (i > 1) line.push_back(' ');
        line += argv[i];
    }
    return line;
}

}  // namespace kv::app
