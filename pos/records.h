// POS records. The trigger events are read at login: the event action table names them as
// event sources.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kv::pos {

/// A rule on a POS text stream that raises an event: a keyword (Type 1) or a number between two
/// texts compared with a value (Type 2).
struct POSTriggerEventRecord {
    int16_t ID = -1;  // from the service; -1 for a new one and for the blank record of an empty list
    std::string Name, Description;
    int16_t Type = 0;  // 1 keyword, 2 numeric
    std::string Keyword;
    int16_t CaseSensitive = 0, MatchWholeWord = 0;
    std::string PrefixText, PostfixText;
    int16_t Condition = 0;  // 0 =, 1 >, 2 >=, 3 <, 4 <=
    float NumericValue = 0;
    bool operator==(const POSTriggerEventRecord&) const = default;
};
/// One blank record when empty.
using POSTriggerEventList = std::vector<POSTriggerEventRecord>;

/// A new trigger: ID -1, Type 0, empty texts.
inline POSTriggerEventRecord GetNewPOSTriggerEvent() { return {}; }

}  // namespace kv::pos
