// The tables filled once after the language is known: event type names, serial port choices,
// character sets of the languages and the code page list.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>

#include "base/codepage.h"

namespace kv::base {

class Language;

struct EventTypeName {
    int16_t code = 0;
    std::string text;
};

struct AppTables {
    /// 15 rows in their stored order (not numerical): the event combo lists keep it.
    std::array<EventTypeName, 15> eventTypes;
    std::span<const CodePageRow> codePages;
    std::array<int32_t, 9> baudRates{};
    std::array<int32_t, 2> byteSizes{};
    std::array<std::string, 3> flowControl;
    std::array<std::string, 5> parity;
    std::array<int32_t, 2> stopBits{};
    /// Indexed by language number minus 1.
    std::array<int32_t, 11> languageCharSets{};
    int32_t iMaxChannel = 64;
};

/// Fills the tables with the texts of the language in force.
AppTables APP_SPEC_INIT(const Language& lang, int32_t maxChannel = 64);

/// The language character set table alone (filled at start, before the other tables).
std::array<int32_t, 11> LanguageCharSets();

}  // namespace kv::base
