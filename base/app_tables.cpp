// The start-up tables, with their texts taken from the language in force.
#include "base/app_tables.h"

#include "base/lang.h"

namespace kv::base {

std::array<int32_t, 11> LanguageCharSets() {
    std::array<int32_t, 11> sets{};
    sets[3] = 128;  // language 4, Japanese
    return sets;
}

AppTables APP_SPEC_INIT(const Language& lang, int32_t maxChannel) {
    AppTables t;
    struct Row {
        int16_t code;
        int32_t textId;
    };
    static constexpr Row rows[15] = {
        {1, 426},    {2, 427},    {3, 110},    {2001, 111}, {2002, 112}, {2003, 113}, {2004, 147}, {2005, 379},
        {2006, 380}, {4001, 368}, {2007, 421}, {2008, 422}, {2009, 428}, {2011, 531}, {4101, 669},
    };
    for (size_t i = 0; i < 15; ++i) {
        t.eventTypes[i].code = rows[i].code;
        t.eventTypes[i].text = lang.GetText(rows[i].textId);
    }
    t.eventTypes[2].text = "DI " + t.eventTypes[2].text;  // "DI Change"
    t.codePages = codePageTable();
    t.baudRates = {300, 1200, 2400, 4800, 9600, 19200, 38400, 57600, 115200};
    t.byteSizes = {7, 8};
    t.flowControl = {"NONE", "XON/XOFF", "HARDWARE"};
    t.parity = {"None", "Even", "Odd", "Mark", "Space"};
    t.stopBits = {1, 2};
    t.languageCharSets = LanguageCharSets();
    t.iMaxChannel = maxChannel;
    return t;
}

}  // namespace kv::base
