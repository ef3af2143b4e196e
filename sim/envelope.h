// Reading a command text and writing its reply: the CMD envelope as the service sees it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include <pugixml.hpp>

namespace kv::sim {

/// A command text taken apart. The bodies are the exact bytes between the tags, so that a write
/// stores what the client sent and a reply echoes the caller's user data unchanged.
struct Command {
    int32_t id = 0;
    std::optional<std::string> userData;  // inner text of the top-level UserData, when present
    std::string paramBody;                // inner text of Param; empty for the short forms
    pugi::xml_document doc;               // the parsed text, for reading Param's elements

    /// Text of the element `name` under Param (first match at any depth), empty when absent.
    std::string param(const char* name) const;
};

/// Parses a command text; nullopt when it is not XML, the root is not CMD, or ID is missing or
/// not a decimal number without sign.
std::optional<Command> parseCommand(std::string_view text);

/// `<RESPONSE RET="ret" ID="id">` + the echoed UserData (unless the body begins with one) + body.
/// `retCode` adds the return code once more as a third attribute, `RetCode`, for the readers that
/// take it from there (channel detail and device detection).
std::string buildResponse(int32_t ret, int32_t id, const std::optional<std::string>& userData,
                          std::string_view body, bool retCode = false);

/// Text escaped for an element or a double-quoted attribute.
std::string xmlEscape(std::string_view text);

/// Loads a stored body (a sequence of elements without one root) for reading; false when broken.
bool loadFragment(pugi::xml_document& doc, std::string_view body);

}  // namespace kv::sim
