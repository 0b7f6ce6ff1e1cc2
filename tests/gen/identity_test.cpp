// Hashes and minted identities: they are written into descriptions, so they must never come out differently.
#include <gtest/gtest.h>

#include "gen/sha1.h"

namespace kzgen {

TEST(Identity, HashesAreThePublishedOnes) {
    EXPECT_EQ(toHex(sha1("")), "da39a3ee5e6b4b0d3255bfef95601890afd80709");
    EXPECT_EQ(toHex(sha1("abc")), "a9993e364706816aba3e25717850c26c9cd0d89d");
    EXPECT_EQ(toHex(sha1("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq")),
              "84983e441c3bd26ebaae4aa1f95129e5e54670f1");
    EXPECT_EQ(toHex(sha1(std::string(1000000, 'a'))), "34aa973cd4c4daa4f61eeb2bdbad27316534016f");
}

TEST(Identity, ANameAlwaysGivesTheSameOne) {
    EXPECT_EQ(mintGuid("Mesh"), "D99C0191-91F7-59AB-841F-F930E7602A68");
    EXPECT_EQ(mintGuid("Command"), "8D58D940-BA2F-559A-BB5C-9CE434C586E1");
}

}  // namespace kzgen
