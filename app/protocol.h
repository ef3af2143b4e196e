// The command envelope (forms A, B, C, C', D) and the readers of the response envelope.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace pugi {
class xml_document;
}

namespace kv::app {

/// Form A: `<CMD ID="id"><UserData>CONFIG_AP</UserData><Param>body</Param></CMD>`.
std::string CommandA(int32_t id, std::string_view body);
/// Form A with another UserData value.
std::string CommandA(int32_t id, std::string_view userData, std::string_view body);
/// Form B: no UserData.
std::string CommandB(int32_t id, std::string_view body);
/// Form C: `<CMD ID="id" />`, one blank before the slash.
std::string CommandC(int32_t id);
/// Form C': `<CMD ID="id"/>`.
std::string CommandC2(int32_t id);
/// Form D: a blank before ">", the caller's UserData and the channel.
std::string CommandD(int32_t id, std::string_view userData, int32_t channel);

/// The response id: the second attribute of the first RESPONSE, read by position; 0 when the
/// text does not parse, has no RESPONSE or the attribute is missing.
int32_t Load_XML_RESPONSE(std::string_view xml);
/// The same of a reply already parsed.
int32_t Load_XML_RESPONSE(const pugi::xml_document& reply);
/// The RET attribute of the first RESPONSE (by base name); -1 without one or on a bad text.
int32_t CheckCMDReturn(std::string_view xml);
/// The same walk for responses read inside the shell.
int32_t Load_GetRetCode_XML(std::string_view xml);
/// The number in the first QueryID element anywhere in the document; 0 when there is none.
int32_t Load_XML_QUERYID(std::string_view xml);

/// The base name of an XML name: the part after a namespace prefix.
std::string_view BaseName(std::string_view name);

}  // namespace kv::app
