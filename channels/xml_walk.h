// Walking a reply the way the channel readers do: element children in order, attributes by
// position, and the text of an element with what lies below it.
#pragma once

#include <string>
#include <string_view>

#include <pugixml.hpp>

namespace kv::channels::xml {

/// Calls `fn` for each element child of `node`, in document order.
template <class Fn>
void forEachElement(pugi::xml_node node, Fn fn) {
    for (pugi::xml_node c = node.first_child(); c; c = c.next_sibling())
        if (c.type() == pugi::node_element) fn(c);
}

inline size_t elementCount(pugi::xml_node node) {
    size_t n = 0;
    forEachElement(node, [&](pugi::xml_node) { ++n; });
    return n;
}

/// The attribute at `position` (from 0); an empty attribute when there are fewer.
inline pugi::xml_attribute attributeAt(pugi::xml_node node, size_t position) {
    pugi::xml_attribute a = node.first_attribute();
    for (size_t i = 0; a && i < position; ++i) a = a.next_attribute();
    return a;
}

/// The text of an element: its own text, or, when it has element children, their texts joined
/// by one blank (so that a list of items reads as a blank-separated list).
inline std::string textOf(pugi::xml_node node) {
    std::string out;
    bool items = false;
    forEachElement(node, [&](pugi::xml_node c) {
        if (items) out += ' ';
        out += textOf(c);
        items = true;
    });
    if (items) return out;
    for (pugi::xml_node c = node.first_child(); c; c = c.next_sibling())
        if (c.type() == pugi::node_pcdata || c.type() == pugi::node_cdata) out += c.value();
    return out;
}

inline bool named(pugi::xml_node node, std::string_view name) { return name == node.name(); }

}  // namespace kv::channels::xml
