// Base64: the RFC 4648 vectors both ways, line breaks, and the error for bad input.
#include "base/base64.h"

#include <gtest/gtest.h>

using namespace kv::base;

namespace {
std::string decoded(const std::string& text) {
    const auto d = MyDecode(text);
    return d ? d.value() : "<error>";
}
}  // namespace

TEST(Base64, Rfc4648VectorsAllBytesAndLineBreaks) {
    const std::pair<std::string, std::string> vectors[] = {
        {"", ""}, {"f", "Zg=="}, {"fo", "Zm8="}, {"foo", "Zm9v"},
        {"foob", "Zm9vYg=="}, {"fooba", "Zm9vYmE="}, {"foobar", "Zm9vYmFy"},
    };
    for (const auto& [plain, encoded] : vectors) {
        EXPECT_EQ(MyEncode(plain), encoded);
        EXPECT_EQ(decoded(encoded), plain) << encoded;
    }
    std::string bytes;
    for (int i = 0; i < 256; ++i) bytes.push_back(static_cast<char>(i));
    EXPECT_EQ(decoded(MyEncode(bytes)), bytes);
    EXPECT_EQ(decoded("Zm9v\r\nYmFy\n"), "foobar") << "line breaks are removed first";
}

TEST(Base64, BadInputGivesTheError) {
    EXPECT_EQ(decoded("QQ=="), "A");
    for (const char* bad : {"QQ", "Q", "QQ=", "Zm9v!A==", "=QQQ", "Q=QQ", "QQ==QQ=="}) {
        const auto r = MyDecode(bad);
        ASSERT_FALSE(r) << bad;
        EXPECT_EQ(r.error(), "Input string is not valid Base64.") << bad;
    }
    EXPECT_EQ(kBase64ErrorSource, "MyDecode");
}
