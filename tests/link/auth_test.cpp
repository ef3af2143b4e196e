// Login proofs: a known HMAC-SHA256 vector, the layout of both proofs, and what must not verify.
#include "link/auth.h"

#include <gtest/gtest.h>

namespace kv::link {
namespace {

std::string hex(const std::string& bytes) {
    static const char* digits = "0123456789abcdef";
    std::string out;
    for (unsigned char c : bytes) {
        out.push_back(digits[c >> 4]);
        out.push_back(digits[c & 15]);
    }
    return out;
}

TEST(Auth, hmacSha256MatchesThePublishedTestCase) {
    // The published HMAC-SHA256 vector with key "Jefe".
    EXPECT_EQ(hex(hmacSha256("Jefe", "what do ya want for nothing?")),
              "5bdcc146bf60754e6a042426089575c75a003f089d2739839dec58b964ec3843");
    EXPECT_EQ(hmacSha256("", "x").size(), kProofSize) << "an empty password still gives a proof";
}

TEST(Auth, proofsCoverLabelNoncesAndUser) {
    const std::string cn(kNonceSize, '\x01'), sn(kNonceSize, '\x02');
    EXPECT_EQ(clientProof("pw", cn, sn, "admin"), hmacSha256("pw", "kv-login-client" + cn + sn + "admin"));
    EXPECT_EQ(serverProof("pw", cn, sn, "admin"), hmacSha256("pw", "kv-login-server" + cn + sn + "admin"));

    const std::string base = clientProof("pw", cn, sn, "admin");
    EXPECT_NE(base, serverProof("pw", cn, sn, "admin")) << "a client proof cannot be replayed as the service's";
    EXPECT_NE(base, clientProof("pW", cn, sn, "admin"));
    EXPECT_NE(base, clientProof("pw", sn, cn, "admin")) << "nonces are not interchangeable";
    EXPECT_NE(base, clientProof("pw", cn, sn, "admim"));
}

TEST(Auth, sameProofRefusesShortEmptyAndDifferent) {
    const std::string p = clientProof("pw", "a", "b", "u");
    EXPECT_TRUE(sameProof(p, p));
    EXPECT_FALSE(sameProof(p, p.substr(0, 31)));
    EXPECT_FALSE(sameProof("", ""));
    std::string flipped = p;
    flipped[31] = static_cast<char>(flipped[31] ^ 1);
    EXPECT_FALSE(sameProof(p, flipped));
}

}  // namespace
}  // namespace kv::link
