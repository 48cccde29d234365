#include "kxbase/string/kxNameInterface.h"

#include "kxbase/string/kxString.h"

#include <gtest/gtest.h>

TEST(kxNameInterface, HoldsNoEmptyName)
{
    kxNameInterface object{kxString()};
    EXPECT_FALSE(object.hasName());
    EXPECT_TRUE(object.getName().isEmpty());
    object.setName("relay");
    EXPECT_TRUE(object.hasName());
    object.setName(object.getName());
    EXPECT_EQ(object.getName(), "relay");

    kxNameInterface copy(object);
    object.setName("");
    EXPECT_FALSE(object.hasName());
    EXPECT_EQ(copy.getName(), "relay") << "a copy has a name of its own";
    copy = object;
    EXPECT_FALSE(copy.hasName());
}
