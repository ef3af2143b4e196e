// Base64: the RFC 4648 vectors both ways, line breaks, and the error for bad input.
#include "base/base64.h"

#include <gtest/gtest.h>

using namespace kv::base;

TEST(Base64, Rfc4648Vectors) {
    const std::pair<const char*, const char*> vectors[] = {
        {"", ""}, {"f", "Zg=="}, {"fo", "Zm8="}, {"foo", "Zm9v"},
        {"foob", "Zm9vYg=="}, {"fooba", "Zm9vYmE="}, {"foobar", "Zm9vYmFy"},
    };
    for (const auto& [plain, encoded] : vectors) {
        EXPECT_EQ(MyEncode(plain), encoded);
        const auto d = MyDecode(encoded);
        ASSERT_TRUE(d) << encoded;
        EXPECT_EQ(*d, plain);
    }
}

TEST(Base64, AllByteValuesRoundTrip) {
    std::string bytes;
    for (int i = 0; i < 256; ++i) bytes.push_back(static_cast<char>(i));
    const auto d = MyDecode(MyEncode(bytes));
    ASSERT_TRUE(d);
    EXPECT_EQ(*d, bytes);
}

TEST(Base64, LineBreaksAreRemovedFirst) {
    const auto d = MyDecode("Zm9v\r\nYmFy\n");
    ASSERT_TRUE(d);
    EXPECT_EQ(*d, "foobar");
}

TEST(Base64, BadInputGivesTheError) {
    const auto one = MyDecode("QQ==");
    ASSERT_TRUE(one);
    EXPECT_EQ(one->size(), 1u);
    for (const char* bad : {"QQ", "Q", "QQ=", "Zm9v!A==", "=QQQ", "Q=QQ", "QQ==QQ=="}) {
        const auto r = MyDecode(bad);
        EXPECT_FALSE(r) << bad;
        EXPECT_EQ(r.error(), "Input string is not valid Base64.") << bad;
    }
    EXPECT_EQ(kBase64ErrorSource, "MyDecode");
}
