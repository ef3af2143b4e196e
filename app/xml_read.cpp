// Small reading helpers over pugixml.
#include "app/xml_read.h"

#include "base/text.h"

namespace kv::app {

bool LoadReply(pugi::xml_document& doc, std::string_view xml) {
    const pugi::xml_parse_result r = doc.load_buffer(xml.data(), xml.size(), pugi::parse_default, pugi::encoding_utf8);
    return r && doc.document_element();
}

pugi::xml_document ParseReply(std::string_view xml) {
    pugi::xml_document doc;
    // A failed parse leaves what it read so far: nothing of it may be taken for a reply.
    if (!LoadReply(doc, xml)) doc.reset();
    return doc;
}

pugi::xml_node ResponseOf(const pugi::xml_document& doc) {
    if (std::string_view(doc.document_element().name()) == "RESPONSE") return doc.document_element();
    return FindDeep(doc, "RESPONSE");
}

pugi::xml_node FindDeep(pugi::xml_node parent, const char* name) {
    return parent.find_node([name](const pugi::xml_node& n) {
        return n.type() == pugi::node_element && std::string_view(n.name()) == name;
    });
}

int32_t ToInt32(std::string_view text) {
    const int64_t v = base::LeadingNumber(text);
    return v > INT32_MAX ? INT32_MAX : v < INT32_MIN ? INT32_MIN : static_cast<int32_t>(v);
}

int16_t ToInt16(std::string_view text) {
    const int64_t v = base::LeadingNumber(text);
    return v > INT16_MAX ? INT16_MAX : v < INT16_MIN ? INT16_MIN : static_cast<int16_t>(v);
}

}  // namespace kv::app
