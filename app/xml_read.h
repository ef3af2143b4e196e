// Small reading helpers over pugixml shared by the response parsers.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include <pugixml.hpp>

namespace kv::app {

/// Parses a reply; false when the text is not XML or has no root.
bool LoadReply(pugi::xml_document& doc, std::string_view xml);
/// The reply as a document; an empty document when the text is not XML or has no root, so that
/// a reader finds no RESPONSE in it.
pugi::xml_document ParseReply(std::string_view xml);
/// The first RESPONSE element of the document (empty node when there is none).
pugi::xml_node ResponseOf(const pugi::xml_document& doc);
/// The first element of that name at any depth below `parent`.
pugi::xml_node FindDeep(pugi::xml_node parent, const char* name);
/// Numbers read like numeric values of text: leading blanks, sign, digits; 0 when none.
int32_t ToInt32(std::string_view text);
int16_t ToInt16(std::string_view text);

}  // namespace kv::app
