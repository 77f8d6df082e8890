// Lists longer than the caller requests, and the iterators that return the rest.

#include "naming_fixture.h"

namespace kelp::test {
namespace {

using testing::ElementsAre;
using testing::SizeIs;

class NamingIterators : public NamingFixture {
  protected:
    NamingIterators() {
        bind();
        useLimits({});
    }

    /// Set the limits and make twenty entries at the root.
    void useLimits(const naming::NamingLimits& limits) {
        std::vector<util::NamingPath> aliases;
        for (int i = 10; i < 29; ++i)
            aliases.push_back({{"alias" + std::to_string(i), ""}});
        service_->change(aliases, limits);
    }
    CosNaming::BindingIterator_ptr open() {
        const CosNaming::NamingContextExt_var root = outside();
        CosNaming::BindingList_var list;
        CosNaming::BindingIterator_var handedOut;
        root->list(0, list.out(), handedOut.out());
        return iteratorOverTheWire(handedOut.in());
    }
    static bool isOpen(CosNaming::BindingIterator_ptr iterator) {
        return !iterator->_non_existent();
    }
};

TEST_F(NamingIterators, WholeListArrivesWhateverTheBatch) {
    const CosNaming::NamingContextExt_var root = outside();
    const std::vector<std::string> all = entriesOf(root.in(), 100);
    EXPECT_THAT(all, SizeIs(20));
    for (const CORBA::ULong howMany : {0u, 1u, 7u, 19u, 20u, 21u, 0xffffffffu})
        EXPECT_EQ(entriesOf(root.in(), howMany), all) << howMany;
}

TEST_F(NamingIterators, ShortListNeedsNoIterator) {
    const CosNaming::NamingContextExt_var root = outside();
    CosNaming::BindingList_var list;
    CosNaming::BindingIterator_var iterator;
    root->list(20, list.out(), iterator.out());
    EXPECT_EQ(list->length(), 20u);
    EXPECT_TRUE(CORBA::is_nil(iterator.in()));
}

TEST_F(NamingIterators, OneReplyIsLimited) {
    useLimits({3, 10, 10, std::chrono::seconds(60)});
    const CosNaming::NamingContextExt_var root = outside();
    CosNaming::BindingList_var list;
    CosNaming::BindingIterator_var handedOut;
    root->list(0xffffffff, list.out(), handedOut.out());
    EXPECT_EQ(list->length(), 3u);
    const CosNaming::BindingIterator_var iterator = iteratorOverTheWire(handedOut.in());
    EXPECT_TRUE(iterator->next_n(0xffffffff, list.out()));
    EXPECT_EQ(list->length(), 3u);
    EXPECT_THAT(entriesOf(root.in(), 100), SizeIs(20));
}

TEST_F(NamingIterators, GivesOneEntryAfterTheOther) {
    const CosNaming::BindingIterator_var iterator = open();
    CosNaming::Binding_var binding;
    for (int i = 0; i < 20; ++i)
        EXPECT_TRUE(iterator->next_one(binding.out())) << i;
    EXPECT_FALSE(iterator->next_one(binding.out()));
    CosNaming::BindingList_var list;
    EXPECT_FALSE(iterator->next_n(1, list.out()));
    EXPECT_THROW(iterator->next_n(0, list.out()), CORBA::BAD_PARAM);
}

TEST_F(NamingIterators, EndsWhenItsCallerDestroysIt) {
    const CosNaming::BindingIterator_var iterator = open();
    EXPECT_TRUE(isOpen(iterator.in()));
    iterator->destroy();
    CosNaming::Binding_var binding;
    EXPECT_THROW(iterator->next_one(binding.out()), CORBA::OBJECT_NOT_EXIST);
    EXPECT_THROW(iterator->destroy(), CORBA::OBJECT_NOT_EXIST);
    EXPECT_THAT(refused(), testing::IsEmpty()) << "its own iterator is the caller's to end";
}

TEST_F(NamingIterators, IteratorAboveTheLimitOfAnAddressClosesItsOldest) {
    useLimits({100, 2, 10, std::chrono::seconds(60)});
    const CosNaming::BindingIterator_var first = open();
    const CosNaming::BindingIterator_var second = open();
    const CosNaming::BindingIterator_var third = open();
    EXPECT_FALSE(isOpen(first.in()));
    EXPECT_TRUE(isOpen(second.in()));
    EXPECT_TRUE(isOpen(third.in()));
}

TEST_F(NamingIterators, IteratorAboveTheTotalLimitClosesTheOldest) {
    useLimits({100, 100, 2, std::chrono::seconds(60)});
    const CosNaming::BindingIterator_var first = open();
    const CosNaming::BindingIterator_var second = open();
    const CosNaming::BindingIterator_var third = open();
    EXPECT_FALSE(isOpen(first.in()));
    EXPECT_TRUE(isOpen(second.in()));
}

TEST_F(NamingIterators, EndsWhenNobodyUsesIt) {
    const CosNaming::BindingIterator_var iterator = open();
    useLimits({100, 10, 10, std::chrono::seconds(0)});
    CosNaming::Binding_var binding;
    EXPECT_THROW(iterator->next_one(binding.out()), CORBA::OBJECT_NOT_EXIST);
}

}  // namespace
}  // namespace kelp::test
