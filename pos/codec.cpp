// Reading the POS trigger events.
#include "pos/codec.h"

#include <charconv>
#include <string>
#include <string_view>

#include <pugixml.hpp>

#include "app/protocol.h"
#include "app/xml_read.h"
#include "base/text.h"

namespace kv::pos {
namespace {

pugi::xml_node acceptedResponse(const pugi::xml_document& doc) {
    const pugi::xml_node response = app::ResponseOf(doc);
    for (const pugi::xml_attribute a : response.attributes())
        if (app::BaseName(a.name()) == "RET") return app::ToInt32(a.value()) == 0 ? response : pugi::xml_node{};
    return {};
}

// A child's text as received: the parser undid the entities once, the service's own escaping is
// undone on top.
std::string childText(pugi::xml_node e, const char* name) { return base::XMLFilter(e.child(name).text().get(), false); }
int16_t childNum(pugi::xml_node e, const char* name) { return app::ToInt16(e.child(name).text().get()); }

}  // namespace

bool Load_POSDefineTriiggerEvent_XML(const pugi::xml_document& reply, POSTriggerEventList& list) {
    list = POSTriggerEventList(1);
    try {
        const pugi::xml_node l = app::FindDeep(acceptedResponse(reply), "UserDefinedEventList");
        if (!l) return false;
        POSTriggerEventList read;
        for (pugi::xml_node e = l.child("UserDefinedEvent"); e; e = e.next_sibling("UserDefinedEvent")) {
            POSTriggerEventRecord& r = read.emplace_back();
            r.ID = childNum(e, "ID");
            r.Name = childText(e, "Name");
            r.Description = childText(e, "Description");
            r.Type = childNum(e, "Type");
            r.Keyword = childText(e, "Keyword");
            r.CaseSensitive = childNum(e, "CaseSensitive");
            r.MatchWholeWord = childNum(e, "MatchWholeWord");
            r.PrefixText = childText(e, "PrefixText");
            r.PostfixText = childText(e, "PostfixText");
            r.Condition = childNum(e, "Condition");
            // "." is the decimal point on the wire whatever the locale; a bad number stays 0.
            const std::string_view v = e.child("NumericValue").text().get();
            std::from_chars(v.data(), v.data() + v.size(), r.NumericValue);
        }
        if (!read.empty()) list = std::move(read);
        return true;
    } catch (...) {
        list = POSTriggerEventList(1);
        return false;
    }
}

bool Load_POSDefineTriiggerEvent_XML(std::string_view xml, POSTriggerEventList& list) {
    return Load_POSDefineTriiggerEvent_XML(app::ParseReply(xml), list);
}

}  // namespace kv::pos
