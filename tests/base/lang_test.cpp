// Languages: file format, lookup with and without a language, listing, system mappings, marks.
#include "base/lang.h"

#include <gtest/gtest.h>

#include <set>

#include "tests/base/test_util.h"

using namespace kv::base;
using kv::test::TempDir;
using kv::test::writeFile;

using kv::test::ScopedEnv;

TEST(LanguageFile, ParsesTextsVerbatimWithEscapesAndRejectsMalformedLines) {
    std::unordered_map<int32_t, std::string> t;
    ASSERT_TRUE(Language::parse("# comment\n"
                                "46\tConnecting server \xE2\x80\xA6\n"
                                "700\t  two blanks before and after  \r\n"
                                "701\tline\\nbreak \\\\ tab\\t\n"
                                "\n",
                                t));
    EXPECT_EQ(t[46], "Connecting server \xE2\x80\xA6");
    EXPECT_EQ(t[700], "  two blanks before and after  ");
    EXPECT_EQ(t[701], "line\nbreak \\ tab\t");
    std::string err;
    EXPECT_FALSE(Language::parse("12 no tab\n", t, &err));
    EXPECT_NE(err.find("line 1"), std::string::npos);
    EXPECT_FALSE(Language::parse("x\ttext\n", t));
}

TEST(Language, LoadCutsTheExtensionAndWithoutALanguageEveryTextIsADash) {
    Language none;
    EXPECT_EQ(none.GetText(12), "-");
    EXPECT_FALSE(none.GetFlag());
    TempDir dir;
    writeFile(dir / "Lang_Nex_0001.lng", "12\tLogin\n");
    writeFile(dir / "Lang_Nex_0001.svg", "<svg/>");
    writeFile(dir / "Lang_Nex_0004.lng", "12\tbroken\nnot a line\n");
    Language lang(dir.path());
    EXPECT_FALSE(lang.LoadLanguage("Lang_Nex_0002.lng")) << "missing file";
    EXPECT_EQ(lang.GetText(12), "-");
    ASSERT_TRUE(lang.LoadLanguage("Lang_Nex_0001.dll")) << "any four-character suffix is cut";
    EXPECT_EQ(lang.GetText(12), "Login");
    EXPECT_EQ(lang.GetText(99999), "");
    EXPECT_EQ(lang.number(), 1);
    ASSERT_TRUE(lang.GetFlag());
    EXPECT_EQ(lang.GetFlag()->filename(), "Lang_Nex_0001.svg");
    EXPECT_FALSE(lang.LoadLanguage("Lang_Nex_0004.lng"));
    EXPECT_EQ(lang.GetText(12), "-") << "a failed load leaves no language";
}

TEST(Language, ListsOnlyLanguageFiles) {
    TempDir dir;
    Language lang(dir.path());
    EXPECT_TRUE(lang.listFiles().empty());
    writeFile(dir / "Lang_Nex_0001.lng", "");
    writeFile(dir / "Lang_Nex_0001.svg", "");
    writeFile(dir / "Lang_Nex_00x1.lng", "");
    writeFile(dir / "readme.txt", "");
    EXPECT_EQ(lang.listFiles(), std::vector<std::string>{"Lang_Nex_0001.lng"});
    EXPECT_EQ(LanguageFileName(4), "Lang_Nex_0004.lng");
    EXPECT_EQ(LanguageNumberOf("Lang_Nex_0012.dll"), 12);
    EXPECT_EQ(LanguageNumberOf("short"), -1);
}

TEST(OsLanguage, FullMappingOfLocaleIds) {
    struct Case { uint32_t id; int full; int shortMap; };
    const Case cases[] = {
        {0x409, 1, 1}, {0x404, 2, 2}, {0x804, 3, 3}, {0x411, 4, 4}, {0xc0a, 5, 5}, {0x410, 6, 6},
        {0x816, 7, 1}, {0x405, 8, 1}, {0x407, 9, 1}, {0x41b, 10, 1}, {0x415, 11, 1}, {0x412, 12, 1},
        {0x416, 1, 1},  // Brazilian Portuguese is not in the table
        {0x40c, 1, 1}, {0, 1, 1},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(GetOsLang(c.id), c.full) << std::hex << c.id;
        EXPECT_EQ(GetOsLangShort(c.id), c.shortMap) << std::hex << c.id;
    }
}

TEST(OsLanguage, PosixLocaleNamesAndVariablePrecedence) {
    EXPECT_EQ(LocaleIdOfPosixName("ja_JP.UTF-8"), 0x411u);
    EXPECT_EQ(LocaleIdOfPosixName("de_DE@euro"), 0x407u);
    EXPECT_EQ(LocaleIdOfPosixName("pt_BR.UTF-8"), 0x416u);
    EXPECT_EQ(LocaleIdOfPosixName("de_LU.UTF-8"), 0x407u) << "unlisted territory takes its language";
    EXPECT_EQ(LocaleIdOfPosixName("C.UTF-8"), 0x409u);
    EXPECT_EQ(LocaleIdOfPosixName("xx_YY"), 0u);
    ScopedEnv all("LC_ALL", nullptr), msg("LC_MESSAGES", "ja_JP.UTF-8"), lang("LANG", "de_DE.UTF-8");
    EXPECT_EQ(GetOsLang(), 4);
    {
        ScopedEnv all2("LC_ALL", "ko_KR.UTF-8");
        EXPECT_EQ(GetOsLang(), 12);
        EXPECT_EQ(GetOsLangShort(), 1);
    }
    ScopedEnv msg2("LC_MESSAGES", nullptr);
    EXPECT_EQ(GetOsLang(), 9);
    ScopedEnv lang2("LANG", "xx_YY.UTF-8");
    EXPECT_EQ(GetOsLang(), 1) << "unknown locale is English";
}

TEST(OsLanguage, InitFontResolves99AndJapaneseCharSet) {
    ScopedEnv all("LC_ALL", "ja_JP.UTF-8");
    const InitFontResult r = InitFont(99);
    EXPECT_EQ(r.iLangLoaded, 4);
    EXPECT_EQ(r.font.iCharSet, 128);
    EXPECT_EQ(r.font.fontName, "MS PGothic");
    EXPECT_EQ(InitFont(1).font.iCharSet, 0);
    EXPECT_EQ(InitFont(1).font.fontName, "Verdana");
}

TEST(CaptionMarks, KeyIsUpperCasedAndOthersIgnored) {
    struct Case { const char* tag; CaptionMark::Kind kind; int32_t id; };
    const Case cases[] = {
        {"CAPTION:12", CaptionMark::Kind::Caption, 12},
        {"caption:12", CaptionMark::Kind::Caption, 12},   // the key is upper-cased
        {"Tooltip:45", CaptionMark::Kind::Tooltip, 45},
        {"CAPTION:8:x", CaptionMark::Kind::Caption, 8},   // split at the first colon only
        {"CAPTION: 9abc", CaptionMark::Kind::Caption, 9}, // the number's leading part
        {"CAPTIONS:12", CaptionMark::Kind::None, 0},
        {"12", CaptionMark::Kind::None, 0},
        {"", CaptionMark::Kind::None, 0},
    };
    for (const auto& c : cases) {
        const CaptionMark m = ParseCaptionMark(c.tag);
        EXPECT_EQ(m.kind, c.kind) << c.tag;
        EXPECT_EQ(m.id, c.id) << c.tag;
    }
}

TEST(Language, EveryShippedLanguageHasEveryEnglishId) {
    const std::filesystem::path folder = std::filesystem::path(KV_SOURCE_SHARE) / "Lang";
    auto idsOf = [&](const std::string& file) {
        std::unordered_map<int32_t, std::string> texts;
        EXPECT_TRUE(Language::parse(kv::test::readFile(folder / file), texts)) << file;
        std::set<int32_t> ids;
        for (const auto& [id, text] : texts) {
            ids.insert(id);
            EXPECT_FALSE(text.empty()) << file << " id " << id;
        }
        return ids;
    };
    const std::set<int32_t> english = idsOf(LanguageFileName(1));
    Language lang(folder);
    ASSERT_TRUE(lang.LoadLanguage(LanguageFileName(1)));
    // Other suites compare with these texts by id, so an id without a text would pass them unseen.
    for (int32_t id : {509, 510, 512, 513, 514, 515, 516, 531, 568, 569, 570, 669, 672})
        EXPECT_FALSE(lang.GetText(id).empty()) << "id " << id << " needs a text";
    const std::vector<std::string> files = Language(folder).listFiles();
    EXPECT_GE(files.size(), 2u);
    for (const std::string& file : files) {
        EXPECT_EQ(idsOf(file), english) << file;
        EXPECT_TRUE(std::filesystem::exists(folder / (file.substr(0, 13) + std::string(kFlagExtension)))) << file;
    }
}
