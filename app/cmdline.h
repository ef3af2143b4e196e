// The command line of the desktop client: switches "-X:value" or "/X:value".
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace kv::app {

struct CmdLine {
    bool bCmdLogin = false;
    int32_t iCmdDevice = -1;
    std::string sCmdIP;
    int32_t iCmdPort = 9877;
    std::string sCmdUser;
    std::string sCmdPass;
    int32_t iCmdFrame = -1;
    int32_t iCmdLang = 99;
    bool bCmdOnTop = false;
    int32_t iCmdTop = -1;
    int32_t iCmdLeft = -1;
    bool operator==(const CmdLine&) const = default;
};

/// Parses the whole line. Tokens are lower-cased as a whole before they are read, so user names
/// and passwords given here arrive in lower case; unknown tokens are skipped; a login is asked
/// for exactly when an address was given.
CmdLine ParseCommandLine(std::string_view line);

/// Joins program arguments into one line with single blanks, as the parser expects.
std::string JoinArguments(int argc, const char* const* argv);

}  // namespace kv::app
