#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <kelp/util/repeated_keys.h>

namespace {

using kelp::util::RepeatedKeys;
using testing::ElementsAre;

TEST(RepeatedKeys, FindsAKeyThatAnObjectHasAlready) {
    RepeatedKeys keys;
    keys.beginObject();
    EXPECT_TRUE(keys.add("a"));
    EXPECT_TRUE(keys.add("b"));
    EXPECT_FALSE(keys.add("a"));
    EXPECT_EQ(keys.count(), 2u);
}

TEST(RepeatedKeys, TellsObjectsApart) {
    RepeatedKeys keys;
    keys.beginObject();
    EXPECT_TRUE(keys.add("a"));
    keys.beginObject();
    EXPECT_TRUE(keys.add("a")) << "another object";
    keys.endObject();
    EXPECT_FALSE(keys.add("a")) << "the outer object again";
    keys.endObject();
    EXPECT_EQ(keys.count(), 0u);
}

TEST(RepeatedKeys, ShowThePathToTheKeyAddedLast) {
    RepeatedKeys keys;
    keys.beginObject();
    keys.add("name");
    keys.add("layers");
    keys.beginObject();
    keys.add("LR_1");
    EXPECT_THAT(keys.path(), ElementsAre("layers", "LR_1"));
}

}  // namespace
