// Cutting a captured POS byte stream into receipts with a filter profile.
#include "sim/pos_filter.h"

#include <utility>
#include <vector>

#include <pugixml.hpp>

#include "base/base64.h"
#include "base/bytelist.h"

namespace kv::sim {

namespace {

std::string bytesOf(const pugi::xml_node& parent, const char* name) {
    auto parsed = base::ParseByteList(parent.child_value(name));
    return parsed ? parsed.value() : std::string();
}

void replaceAll(std::string& text, const std::string& from, const std::string& to) {
    if (from.empty()) return;
    for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
        text.replace(at, from.size(), to);
    }
}

}  // namespace

std::string filterReceipts(std::string_view raw, std::string_view profileXml) {
    pugi::xml_document doc;
    doc.load_buffer(profileXml.data(), profileXml.size(), pugi::parse_default, pugi::encoding_utf8);
    pugi::xml_node tf = doc.select_node(".//TagFilter").node();
    if (!tf) return "<FilteredData></FilteredData>";

    std::string start = bytesOf(tf, "StartTag");
    std::string end = std::string(tf.child_value("LineMode")) == "1" ? "\r\n" : bytesOf(tf, "EndTag");
    std::vector<std::pair<std::string, std::string>> subs;
    for (pugi::xml_node tag : tf.child("TagList").children("Tag")) {
        std::string from = bytesOf(tag, "Original");
        if (!from.empty()) subs.emplace_back(from, bytesOf(tag, "Substitute"));
    }

    std::string out = "<FilteredData>";
    size_t pos = 0;
    while (pos < raw.size()) {
        size_t s = start.empty() ? pos : raw.find(start, pos);
        if (s == std::string_view::npos) break;
        size_t e = end.empty() ? raw.size() : raw.find(end, s + start.size());
        if (e == std::string_view::npos) break;
        size_t stop = end.empty() ? raw.size() : e + end.size();
        std::string receipt(raw.substr(s, stop - s));
        pos = stop;
        if (receipt == end) continue;  // an empty line in line mode
        for (const auto& [from, to] : subs) replaceAll(receipt, from, to);
        out += "<Receipt>" + base::MyEncode(receipt) + "</Receipt>";
    }
    out += "</FilteredData>";
    return out;
}

}  // namespace kv::sim
