// Frame parser and field encoding: every prefix, faulty headers, split input, limits.
#include "link/frame.h"

#include <gtest/gtest.h>

namespace kv::link {
namespace {

using R = FrameParser::Result;

R feed(FrameParser& parser, const std::string& bytes) {
    auto [result, next] = parser.parse(bytes.data(), bytes.data() + bytes.size());
    return result;
}

TEST(FrameParser, everyTruncatedPrefixIsIndeterminateAndTheWholeIsGood) {
    const std::string frame = encodeFrame(FrameType::kCommand, 0x01020304, "<CMD ID=\"4100\" />");
    for (std::size_t n = 0; n < frame.size(); ++n) {
        FrameParser parser;
        EXPECT_EQ(feed(parser, frame.substr(0, n)), R::indeterminate) << "prefix of " << n << " bytes";
    }
    FrameParser parser;
    ASSERT_EQ(feed(parser, frame), R::good);
    Frame f = parser.take();
    EXPECT_EQ(f.type, FrameType::kCommand);
    EXPECT_EQ(f.requestId, 0x01020304u);
    EXPECT_EQ(f.body, "<CMD ID=\"4100\" />");
}

TEST(FrameParser, byteByByteAndSplitReadsGiveTheSameFrames) {
    const std::string stream = encodeFrame(FrameType::kNotify, 0, "<NOTIFY><Reboot>1</Reboot></NOTIFY>") +
                               encodeFrame(FrameType::kLogout, 7, "") +
                               encodeFrame(FrameType::kResponse, 9, std::string(1000, 'x'));
    for (std::size_t chunk : {std::size_t{1}, std::size_t{5}, std::size_t{13}, stream.size()}) {
        FrameParser parser;
        std::vector<Frame> frames;
        for (std::size_t pos = 0; pos < stream.size(); pos += chunk) {
            std::string piece = stream.substr(pos, chunk);
            const char* p = piece.data();
            const char* end = p + piece.size();
            while (p != end) {
                auto [result, next] = parser.parse(p, end);
                ASSERT_NE(result, R::bad);
                if (result == R::good) frames.push_back(parser.take());
                p = next;
            }
        }
        ASSERT_EQ(frames.size(), 3u) << "chunk " << chunk;
        EXPECT_EQ(frames[0].type, FrameType::kNotify);
        EXPECT_EQ(frames[1].type, FrameType::kLogout);  // an empty body completes with its header
        EXPECT_EQ(frames[1].requestId, 7u);
        EXPECT_EQ(frames[2].body.size(), 1000u);
    }
}

TEST(FrameParser, faultyHeadersAreBadAsSoonAsTheyCanBeSeen) {
    struct Case {
        std::string bytes;
        const char* why;
    };
    std::string huge = encodeFrame(FrameType::kCommand, 1, "").substr(0, 8) + std::string("\x01\x00\x00\x01", 4);
    std::string bigHello = encodeFrame(FrameType::kHello, 0, "").substr(0, 8) + std::string("\x00\x00\x10\x01", 4);
    const Case cases[] = {
        {"G", "wrong first magic byte, refused at once"},
        {"KX", "wrong second magic byte"},
        {"GET / HTTP/1.1\r\n", "text protocol sent to the link"},
        {std::string("KV\x00\x09", 4), "type 9 is not assigned"},
        {std::string("KV\xff\xff", 4), "type 65535"},
        {huge, "body over 16 MiB"},
        {bigHello, "control frame over 4 KiB"},
    };
    for (const auto& c : cases) {
        FrameParser parser;
        EXPECT_EQ(feed(parser, c.bytes), R::bad) << c.why;
        EXPECT_FALSE(parser.error().empty()) << c.why;
        EXPECT_EQ(feed(parser, encodeFrame(FrameType::kPing, 0, "")), R::bad) << "stays refused: " << c.why;
    }
}

TEST(FrameParser, limitsAreInclusiveAndConfigurable) {
    FrameParser parser(FrameLimits{100, 10});
    EXPECT_EQ(feed(parser, encodeFrame(FrameType::kCommand, 1, std::string(100, 'a'))), R::good);
    parser.take();
    EXPECT_EQ(feed(parser, encodeFrame(FrameType::kProof, 1, std::string(10, 'a'))), R::good);
    parser.take();
    EXPECT_EQ(feed(parser, encodeFrame(FrameType::kProof, 1, std::string(11, 'a'))), R::bad);
    parser.reset();
    EXPECT_EQ(feed(parser, encodeFrame(FrameType::kCommand, 1, std::string(101, 'a'))), R::bad);
}

TEST(Fields, roundTripAndShortBodiesFail) {
    std::string body = FieldWriter().putInt(-12).putText("user").putText("").putInt(INT32_MAX).take();
    FieldReader reader(body);
    int32_t a = 0, d = 0;
    std::string b, c;
    ASSERT_TRUE(reader.getInt(a) && reader.getText(b) && reader.getText(c) && reader.getInt(d));
    EXPECT_EQ(a, -12);
    EXPECT_EQ(b, "user");
    EXPECT_EQ(c, "");
    EXPECT_EQ(d, INT32_MAX);
    EXPECT_FALSE(reader.getInt(a)) << "nothing left";

    // A text whose length runs past the body, and every truncation of a valid body.
    std::string lying = FieldWriter().putInt(1000).take() + "abc";
    std::string text;
    EXPECT_FALSE(FieldReader(lying).getText(text));
    std::string good = FieldWriter().putText("hello").putInt(5).take();
    for (std::size_t n = 0; n < good.size(); ++n) {
        FieldReader r(std::string_view(good).substr(0, n));
        int32_t v = 0;
        EXPECT_FALSE(r.getText(text) && r.getInt(v)) << "prefix " << n;
    }
}

}  // namespace
}  // namespace kv::link
