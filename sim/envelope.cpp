// Reading a command text and writing its reply.
#include "sim/envelope.h"

#include <charconv>
#include <cstring>

namespace kv::sim {

namespace {

// The exact bytes between the start and the end tag of a top-level child of CMD. pugixml gives
// where the element's name starts; the close tag is the first one after it, since these
// elements never nest inside themselves.
std::string innerText(std::string_view text, const pugi::xml_node& node) {
    ptrdiff_t at = node.offset_debug();
    if (at < 0 || static_cast<size_t>(at) >= text.size()) return {};
    size_t open = text.find('>', static_cast<size_t>(at));
    if (open == std::string_view::npos || text[open - 1] == '/') return {};
    std::string close = std::string("</") + node.name();
    size_t end = text.find(close, open + 1);
    if (end == std::string_view::npos) return {};
    return std::string(text.substr(open + 1, end - open - 1));
}

std::optional<int32_t> decimalId(const char* text) {
    size_t n = std::strlen(text);
    if (n == 0 || text[0] < '0' || text[0] > '9') return std::nullopt;
    int32_t value = 0;
    auto [end, ec] = std::from_chars(text, text + n, value);
    if (ec != std::errc() || end != text + n) return std::nullopt;
    return value;
}

}  // namespace

std::string Command::param(const char* name) const {
    pugi::xml_node p = doc.document_element().child("Param");
    if (!p) return {};
    pugi::xml_node n = p.child(name);
    if (!n) n = p.find_node([name](pugi::xml_node x) { return std::strcmp(x.name(), name) == 0; });
    return n.child_value();
}

std::optional<Command> parseCommand(std::string_view text) {
    Command cmd;
    if (!cmd.doc.load_buffer(text.data(), text.size(), pugi::parse_default, pugi::encoding_utf8)) return std::nullopt;
    pugi::xml_node root = cmd.doc.document_element();
    if (std::strcmp(root.name(), "CMD") != 0) return std::nullopt;
    auto id = decimalId(root.attribute("ID").value());
    if (!id) return std::nullopt;
    cmd.id = *id;
    if (pugi::xml_node ud = root.child("UserData")) cmd.userData = innerText(text, ud);
    if (pugi::xml_node p = root.child("Param")) cmd.paramBody = innerText(text, p);
    return cmd;
}

std::string buildResponse(int32_t ret, int32_t id, const std::optional<std::string>& userData,
                          std::string_view body, bool retCode) {
    std::string out = "<RESPONSE RET=\"" + std::to_string(ret) + "\" ID=\"" + std::to_string(id) + "\"";
    if (retCode) out += " RetCode=\"" + std::to_string(ret) + "\"";
    out += ">";
    if (userData && body.substr(0, 10) != "<UserData>") out += "<UserData>" + *userData + "</UserData>";
    out += body;
    out += "</RESPONSE>";
    return out;
}

std::string xmlEscape(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (char c : text) {
        switch (c) {
        case '<': out += "&lt;"; break;
        case '>': out += "&gt;"; break;
        case '&': out += "&amp;"; break;
        case '"': out += "&quot;"; break;
        default: out += c;
        }
    }
    return out;
}

bool loadFragment(pugi::xml_document& doc, std::string_view body) {
    return static_cast<bool>(doc.load_buffer(body.data(), body.size(),
                                             pugi::parse_default | pugi::parse_fragment, pugi::encoding_utf8));
}

}  // namespace kv::sim
