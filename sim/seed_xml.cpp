// Text builders and the writer of parsed elements used by every seed file.
#include <algorithm>
#include <charconv>

#include "base/text.h"
#include "sim/seed_internal.h"

namespace kv::sim::seed {

std::string esc(std::string_view text) { return base::XMLFilter(text, true); }

std::string attr(std::string_view name, std::string_view value) {
    return " " + std::string(name) + "=\"" + base::XMLFilter(value, true) + "\"";
}

std::string attr(std::string_view name, int64_t value) { return attr(name, std::to_string(value)); }

std::string elem(std::string_view name, std::string_view value) {
    return "<" + std::string(name) + ">" + base::XMLFilter(value, true) + "</" + std::string(name) + ">";
}

std::string elem(std::string_view name, int64_t value) { return elem(name, std::to_string(value)); }

std::string wrap(std::string_view name, std::string_view inner) {
    return "<" + std::string(name) + ">" + std::string(inner) + "</" + std::string(name) + ">";
}

std::string dayString(int from, int to) {
    std::string s(96, '0');
    for (int i = std::max(from, 0); i < std::min(to, 96); ++i) s[static_cast<size_t>(i)] = '1';
    return s;
}

bool parseBody(pugi::xml_document& doc, std::string_view body) {
    const std::string text = "<R>" + std::string(body) + "</R>";
    return static_cast<bool>(doc.load_buffer(text.data(), text.size(), pugi::parse_default, pugi::encoding_utf8));
}

pugi::xml_node bodyRoot(const pugi::xml_document& doc) { return doc.child("R"); }

namespace {

void write(pugi::xml_node n, std::string& out) {
    if (n.type() == pugi::node_pcdata || n.type() == pugi::node_cdata) {
        out += base::XMLFilter(n.value(), true);
        return;
    }
    if (n.type() != pugi::node_element) return;
    out += '<';
    out += n.name();
    for (const pugi::xml_attribute a : n.attributes()) out += attr(a.name(), a.value());
    if (!n.first_child()) {
        if (n.first_attribute()) {
            out += " />";
        } else {
            out += "></";
            out += n.name();
            out += '>';
        }
        return;
    }
    out += '>';
    for (const pugi::xml_node c : n.children()) write(c, out);
    out += "</";
    out += n.name();
    out += '>';
}

}  // namespace

std::string serialize(pugi::xml_node node) {
    std::string out;
    write(node, out);
    return out;
}

int toInt(std::string_view text) {
    while (!text.empty() && (text.front() == ' ' || text.front() == '+')) text.remove_prefix(1);
    int v = 0;
    std::from_chars(text.data(), text.data() + text.size(), v);
    return v;
}

}  // namespace kv::sim::seed
