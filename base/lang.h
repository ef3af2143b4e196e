// Texts by number from a language file, the system-language mappings, font rules and caption marks.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace kv::base {

/// The extension of language files; like the original four-character suffix it is cut off
/// by `LoadLanguage` to get the language's name.
inline constexpr std::string_view kLangExtension = ".lng";
/// The flag picture of a language stands beside its file with this extension.
inline constexpr std::string_view kFlagExtension = ".svg";

/// "Lang_Nex_" + the number in four digits + the extension.
std::string LanguageFileName(int language);
/// The number in characters 10 to 13 of a language file name, or -1.
int LanguageNumberOf(std::string_view fileName);

/// The loaded language: text by id. With nothing loaded every lookup answers "-".
class Language {
public:
    Language() = default;
    explicit Language(std::filesystem::path folder) : folder_(std::move(folder)) {}

    void setFolder(std::filesystem::path folder) { folder_ = std::move(folder); }
    const std::filesystem::path& folder() const { return folder_; }

    /// Drops the old texts, then loads `fileName` (a file of the folder). On failure nothing is loaded.
    bool LoadLanguage(const std::string& fileName);
    /// The text of `id`, or "-" when no language is loaded.
    std::string GetText(int32_t id) const;
    /// The flag picture of the loaded language (picture 101), if it has one.
    std::optional<std::filesystem::path> GetFlag() const;

    bool loaded() const { return loaded_; }
    /// The number of the loaded language, -1 when none is.
    int number() const { return number_; }
    /// The language files present in the folder, sorted by name.
    std::vector<std::string> listFiles() const;

    /// Parses the text of a language file; false on a malformed line (the texts read so far are kept).
    static bool parse(std::string_view content, std::unordered_map<int32_t, std::string>& texts,
                      std::string* error = nullptr);

private:
    std::filesystem::path folder_;
    std::unordered_map<int32_t, std::string> texts_;
    std::optional<std::filesystem::path> flag_;
    bool loaded_ = false;
    int number_ = -1;
};

/// Windows-style locale id of the POSIX locale in force (LC_ALL, then LC_MESSAGES, then LANG);
/// 0x409 when none is set or the name is not known.
uint32_t SystemLocaleId();
/// Locale id of a POSIX locale name such as "ja_JP.UTF-8"; 0 when not known.
uint32_t LocaleIdOfPosixName(std::string_view name);
/// The full mapping of a locale id to a language number (1..12, unknown → 1).
int GetOsLang(uint32_t localeId);
int GetOsLang();
/// The short mapping used for a stored language of 99 or below 1: knows only 1..6.
int GetOsLangShort(uint32_t localeId);
int GetOsLangShort();

struct FontRule {
    int iCharSet = 0;
    std::string fontName;
};
/// Character set and font of a language: 128 and "MS PGothic" for language 4, else 0 and "Verdana".
FontRule FontRuleOf(int language);
/// Resolves 99 to the system's language and gives the language in force with its font rule.
struct InitFontResult {
    int iLangLoaded = 1;
    FontRule font;
};
InitFontResult InitFont(int language);

/// What a control's mark asks for.
struct CaptionMark {
    enum class Kind { None, Caption, Tooltip };
    Kind kind = Kind::None;
    int32_t id = 0;
};
/// Reads a mark "key:id" (key in any case). "CAPTION" sets caption and tooltip, "TOOLTIP" the tooltip.
CaptionMark ParseCaptionMark(std::string_view tag);

}  // namespace kv::base
