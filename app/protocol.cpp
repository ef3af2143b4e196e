// The command envelope, concatenated byte for byte, and the readers of RESPONSE.
#include "app/protocol.h"

#include <pugixml.hpp>

#include "app/commands.h"
#include "app/xml_read.h"
#include "base/text.h"

namespace kv::app {
namespace {

std::string head(int32_t id) {
    std::string s = "<CMD ID=\"";
    s += std::to_string(static_cast<uint32_t>(id));
    s += '"';
    return s;
}

bool loadDoc(pugi::xml_document& doc, std::string_view xml) {
    return static_cast<bool>(doc.load_buffer(xml.data(), xml.size(), pugi::parse_default, pugi::encoding_utf8));
}

int32_t toInt32(std::string_view text) {
    const int64_t v = base::LeadingNumber(text);
    if (v > INT32_MAX) return INT32_MAX;
    if (v < INT32_MIN) return INT32_MIN;
    return static_cast<int32_t>(v);
}

int32_t retOf(std::string_view xml) {
    pugi::xml_document doc;
    if (!loadDoc(doc, xml)) return -1;
    const pugi::xml_node r = doc.select_node("//RESPONSE").node();
    if (!r) return -1;
    for (const pugi::xml_attribute a : r.attributes())
        if (BaseName(a.name()) == "RET") return toInt32(a.value());
    return -1;
}

}  // namespace

std::string_view BaseName(std::string_view name) {
    const size_t colon = name.find(':');
    return colon == std::string_view::npos ? name : name.substr(colon + 1);
}

std::string CommandA(int32_t id, std::string_view body) { return CommandA(id, userdata::kConfigAp, body); }

std::string CommandA(int32_t id, std::string_view userData, std::string_view body) {
    std::string s = head(id);
    s += "><UserData>";
    s += userData;
    s += "</UserData><Param>";
    s += body;
    s += "</Param></CMD>";
    return s;
}

std::string CommandB(int32_t id, std::string_view body) {
    std::string s = head(id);
    s += "><Param>";
    s += body;
    s += "</Param></CMD>";
    return s;
}

std::string CommandC(int32_t id) { return head(id) + " />"; }

std::string CommandC2(int32_t id) { return head(id) + "/>"; }

std::string CommandD(int32_t id, std::string_view userData, int32_t channel) {
    std::string s = head(id);
    s += " ><UserData>";
    s += userData;
    s += "</UserData><Param><CH>";
    s += std::to_string(channel);
    s += "</CH></Param></CMD>";
    return s;
}

int32_t Load_XML_RESPONSE(std::string_view xml) { return Load_XML_RESPONSE(ParseReply(xml)); }

int32_t Load_XML_RESPONSE(const pugi::xml_document& doc) {
    try {
        const pugi::xml_node r = ResponseOf(doc);
        if (!r) return 0;
        const pugi::xml_attribute second = r.first_attribute().next_attribute();
        if (!second) return 0;
        return toInt32(second.value());
    } catch (...) {
        return 0;
    }
}

int32_t CheckCMDReturn(std::string_view xml) {
    try {
        return retOf(xml);
    } catch (...) {
        return -1;
    }
}

int32_t Load_GetRetCode_XML(std::string_view xml) {
    try {
        return retOf(xml);
    } catch (...) {
        return -1;
    }
}

int32_t Load_XML_QUERYID(std::string_view xml) {
    try {
        pugi::xml_document doc;
        if (!loadDoc(doc, xml)) return 0;
        const pugi::xml_node q = doc.select_node("//QueryID").node();
        return q ? toInt32(q.text().get()) : 0;
    } catch (...) {
        return 0;
    }
}

}  // namespace kv::app
