#include "omniorb/requests/object_key.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using kelp::orb::ObjectKey;
using namespace std::string_literals;

std::string pathOf(const ObjectKey& key) {
    std::string path;
    for (std::string_view rest = key.poaPath; !rest.empty();)
        path += "/" + std::string(ObjectKey::takeName(rest));
    return path;
}

TEST(ObjectKey, OfATransientPoaHasAMarkWithEightOctets) {
    const std::string text = "\xfftop\xff<child>\xfe"s + "\xff\0\xfe+1234"s + "\0id\0\xff"s;
    const ObjectKey key = ObjectKey::of(text);
    EXPECT_EQ(pathOf(key), "/top/<child>");
    EXPECT_TRUE(key.hasTransientMark);
    EXPECT_TRUE(key.hasObjectId);
    EXPECT_EQ(key.objectId, "id\0\xff"s);
}

TEST(ObjectKey, OfAPersistentPoaHasNone) {
    const std::string text = "\xffV4800\0EMSSessionFactory"s;
    const ObjectKey key = ObjectKey::of(text);
    EXPECT_EQ(pathOf(key), "/V4800");
    EXPECT_FALSE(key.hasTransientMark);
    EXPECT_EQ(key.objectId, "EMSSessionFactory");
}

TEST(ObjectKey, OfTheRootPoaHasNoPath) {
    const std::string text =
        "\xfe"
        "12345678\0id"s;
    const ObjectKey key = ObjectKey::of(text);
    EXPECT_EQ(pathOf(key), "");
    EXPECT_TRUE(key.hasTransientMark);
}

TEST(ObjectKey, ThatEndsEarlyHasNoObjectId) {
    for (const std::string& text :
         {"\xfftop\xfe"s, "\xfftop\xfe"s + "1234567", "\xfftop\xfe"s + "12345678"}) {
        const ObjectKey key = ObjectKey::of(text);
        EXPECT_EQ(pathOf(key), "/top");
        EXPECT_FALSE(key.hasObjectId);
        EXPECT_EQ(key.objectId, "");
    }
}

TEST(ObjectKey, OfAnotherFormHasNoPath) {
    for (const std::string& text : {""s, "NameService"s, "\xff"s, "\xfftop"s, "\xff\xff\xff"s})
        EXPECT_EQ(pathOf(ObjectKey::of(text)), "") << text;
}

TEST(ObjectKey, MayHaveEmptyNames) {
    const std::string text = "\xff\xff\0x"s;
    std::string_view path = ObjectKey::of(text).poaPath;
    EXPECT_EQ(path.size(), 2u);
    EXPECT_EQ(ObjectKey::takeName(path), "");
    EXPECT_EQ(ObjectKey::takeName(path), "");
    EXPECT_TRUE(path.empty());
}

}  // namespace
