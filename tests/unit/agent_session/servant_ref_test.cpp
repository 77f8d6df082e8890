#include "util/servant_ref.h"

#include <gtest/gtest.h>

#include <utility>

namespace {

using NS_KELPCORBA::ServantRef;

struct Counted {
    int references = 1;
    void _add_ref() { ++references; }
    void _remove_ref() { --references; }
};

TEST(ServantRef, DropsWhatItTookOver) {
    Counted servant;
    {
        const auto reference = ServantRef<Counted>::take(&servant);
        EXPECT_EQ(servant.references, 1);
    }
    EXPECT_EQ(servant.references, 0);
}

TEST(ServantRef, DropsWhatItPinned) {
    Counted servant;
    {
        const auto reference = ServantRef<Counted>::pin(&servant);
        EXPECT_EQ(servant.references, 2);
        EXPECT_EQ(reference.get(), &servant);
        EXPECT_TRUE(reference);
    }
    EXPECT_EQ(servant.references, 1);
}

TEST(ServantRef, MovesItsReference) {
    Counted servant;
    auto first = ServantRef<Counted>::pin(&servant);
    const auto second = std::move(first);
    EXPECT_EQ(servant.references, 2);
    EXPECT_FALSE(first);
    EXPECT_TRUE(second);
}

TEST(ServantRef, DropsTheOldOneWhenItIsGivenAnother) {
    Counted before;
    Counted after;
    auto reference = ServantRef<Counted>::pin(&before);
    reference = ServantRef<Counted>::pin(&after);
    EXPECT_EQ(before.references, 1);
    EXPECT_EQ(after.references, 2);
    reference.reset();
    reference.reset();
    EXPECT_EQ(after.references, 1);
}

TEST(ServantRef, GivesItsReferenceAway) {
    Counted servant;
    {
        auto reference = ServantRef<Counted>::pin(&servant);
        EXPECT_EQ(reference.release(), &servant);
        EXPECT_FALSE(reference);
    }
    EXPECT_EQ(servant.references, 2);
}

TEST(ServantRef, HoldsNothingForANullServant) {
    const auto none = ServantRef<Counted>::pin(nullptr);
    EXPECT_FALSE(none);
    const auto alsoNone = ServantRef<Counted>::take(nullptr);
    EXPECT_EQ(alsoNone.get(), nullptr);
}

}  // namespace
