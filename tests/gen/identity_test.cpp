// Hashes and minted identities: they are written into descriptions, so they must never come out differently.
#include <gtest/gtest.h>

#include "gen/sha1.h"

namespace kzgen {

TEST(IdentityTest, ANameAlwaysGivesTheSameOne) {
    EXPECT_EQ(mintGuid("Mesh"), "D99C0191-91F7-59AB-841F-F930E7602A68");
    EXPECT_EQ(mintGuid("Command"), "8D58D940-BA2F-559A-BB5C-9CE434C586E1");
}

}  // namespace kzgen
