#include "iterator/iterator_list.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "support/test_iterator.h"

namespace {

using namespace kelp::test;
using namespace NS_KELPCORBA;
using Iterator = ServantRef<PortableServer::ServantBase>;
using Reservation = IteratorList::Reservation;
using Removal = IteratorList::Removal;

constexpr int kMany = 1000;

class IteratorListTest : public testing::Test {
  protected:
    ~IteratorListTest() override {
        limits_ = {-1, kMany, kMany};
        while (list_.count() > 0) {
            reserve();
            list_.giveBack("");
        }
    }

    PortableServer::ServantBase* make() {
        made_.push_back(Iterator::take(new TestIterator(PortableServer::POA::_nil(), alive_)));
        return made_.back().get();
    }
    Reservation reserve(const std::string& session = {}) {
        return list_.reserve(session, limits_, evicted_);
    }
    bool add(PortableServer::ServantBase* iterator, const std::string& session = {}) {
        return list_.add(iterator, session, limits_, evicted_);
    }
    /// Reserve a place and list a new iterator in it.
    PortableServer::ServantBase* open(const std::string& session = {}) {
        EXPECT_EQ(reserve(session), Reservation::Reserved);
        PortableServer::ServantBase* const iterator = make();
        EXPECT_TRUE(add(iterator, session));
        return iterator;
    }
    std::vector<PortableServer::ServantBase*> evicted() const {
        std::vector<PortableServer::ServantBase*> all;
        for (const Iterator& each : evicted_)
            all.push_back(each.get());
        return all;
    }

    std::atomic<int> alive_{0};
    std::vector<Iterator> made_;
    IteratorLimits limits_{kMany, kMany, kMany};
    IteratorList::Evicted evicted_;
    IteratorList list_;
};

TEST_F(IteratorListTest, OwnsOneReferenceOnEachIterator) {
    PortableServer::ServantBase* const iterator = open();
    EXPECT_EQ(iterator->_refcount_value(), 2u);
    EXPECT_EQ(list_.count(), 1u);
    EXPECT_EQ(list_.remove(iterator), Removal::Removed);
    EXPECT_EQ(iterator->_refcount_value(), 1u);
    EXPECT_EQ(list_.remove(iterator), Removal::NotListed);
    EXPECT_EQ(iterator->_refcount_value(), 1u);
    EXPECT_EQ(list_.count(), 0u);
}

TEST_F(IteratorListTest, EvictsTheOldestForEachNewOneAboveTheSoftLimit) {
    limits_.soft = 1;
    PortableServer::ServantBase* const first = open();
    PortableServer::ServantBase* const second = open();
    EXPECT_TRUE(evicted().empty()) << "as many as the limit and one more";
    PortableServer::ServantBase* const third = open();
    EXPECT_EQ(evicted(), std::vector{first});
    EXPECT_EQ(first->_refcount_value(), 2u) << "the list's reference is the caller's now";
    EXPECT_EQ(list_.remove(first), Removal::NotListed);
    list_.remove(second);
    open();
    EXPECT_EQ(evicted(), std::vector{first}) << "there is room again";
    open();
    EXPECT_EQ(evicted(), (std::vector{first, third}));
}

TEST_F(IteratorListTest, RefusesAPlaceAboveTheHardLimit) {
    limits_.hard = 2;
    PortableServer::ServantBase* const first = open();
    open();
    EXPECT_EQ(reserve(), Reservation::HardLimitReached);
    EXPECT_EQ(list_.count(), 2u);
    list_.remove(first);
    EXPECT_EQ(reserve(), Reservation::Reserved);
    EXPECT_EQ(reserve(), Reservation::HardLimitReached) << "a reserved place counts";
    list_.giveBack("");
    EXPECT_EQ(reserve(), Reservation::Reserved);
    list_.giveBack("");
}

TEST_F(IteratorListTest, EvictsAlsoWhenNoPlaceIsFree) {
    PortableServer::ServantBase* const first = open();
    ASSERT_EQ(reserve(), Reservation::Reserved);
    limits_.soft = 0;
    limits_.hard = 1;
    EXPECT_EQ(reserve(), Reservation::HardLimitReached);
    EXPECT_EQ(evicted(), std::vector{first});
    list_.giveBack("");
}

TEST_F(IteratorListTest, RefusesEveryIteratorWithANegativeHardLimit) {
    limits_.hard = -1;
    EXPECT_EQ(reserve(), Reservation::HardLimitReached);
}

TEST_F(IteratorListTest, EvictsTheOldestOfASessionAboveItsOwnLimit) {
    limits_.perSession = 2;
    open("other");
    PortableServer::ServantBase* const first = open("session");
    open("session");
    open("other");
    EXPECT_TRUE(evicted().empty());
    open("session");
    EXPECT_EQ(evicted(), std::vector{first});
    EXPECT_EQ(list_.count(), 4u);
}

TEST_F(IteratorListTest, DoesNotLimitIteratorsWithoutASession) {
    limits_.perSession = 1;
    open();
    open();
    open();
    EXPECT_TRUE(evicted().empty());
    EXPECT_EQ(list_.count(), 3u);
}

TEST_F(IteratorListTest, EvictsOfASessionWhenAllOfItWereBeingActivated) {
    limits_.perSession = 1;
    ASSERT_EQ(reserve("session"), Reservation::Reserved);
    ASSERT_EQ(reserve("session"), Reservation::Reserved);
    EXPECT_TRUE(evicted().empty()) << "none is listed";
    PortableServer::ServantBase* const first = make();
    PortableServer::ServantBase* const second = make();
    EXPECT_TRUE(add(first, "session"));
    EXPECT_TRUE(evicted().empty()) << "an iterator does not evict itself";
    EXPECT_TRUE(add(second, "session"));
    EXPECT_EQ(evicted(), std::vector{first});
    EXPECT_EQ(list_.count(), 1u);
}

TEST_F(IteratorListTest, EvictsLaterWhenNoneCouldBeEvictedForAPlace) {
    limits_.soft = 0;
    ASSERT_EQ(reserve(), Reservation::Reserved);
    ASSERT_EQ(reserve(), Reservation::Reserved);
    PortableServer::ServantBase* const first = make();
    PortableServer::ServantBase* const second = make();
    EXPECT_TRUE(add(first));
    EXPECT_TRUE(evicted().empty());
    EXPECT_TRUE(add(second));
    EXPECT_EQ(evicted(), std::vector{first});
    EXPECT_EQ(list_.count(), 1u);
}

TEST_F(IteratorListTest, ForgetsOwedEvictionsWithTheLastReservedPlace) {
    limits_.soft = 0;
    ASSERT_EQ(reserve(), Reservation::Reserved);
    ASSERT_EQ(reserve(), Reservation::Reserved);
    list_.giveBack("");
    EXPECT_TRUE(add(make()));
    limits_.soft = kMany;
    ASSERT_EQ(reserve(), Reservation::Reserved);
    limits_.soft = 0;
    EXPECT_TRUE(add(make()));
    EXPECT_TRUE(evicted().empty());
}

TEST_F(IteratorListTest, ReleasesNoIteratorThatItEvicts) {
    limits_.soft = 0;
    PortableServer::ServantBase* const first = open();
    made_.clear();
    open();
    EXPECT_EQ(alive_, 2) << "the caller closes it first";
    EXPECT_EQ(evicted(), std::vector{first});
    evicted_.clear();
    EXPECT_EQ(alive_, 1);
}

TEST_F(IteratorListTest, NeverExceedsItsHardLimit) {
    limits_ = {3, 5, kMany};
    std::atomic<std::size_t> most{0};
    {
        std::vector<std::jthread> threads;
        for (int t = 0; t < 4; ++t) {
            threads.emplace_back([&, session = std::to_string(t % 2)] {
                for (int i = 0; i < 300; ++i) {
                    IteratorList::Evicted evicted;
                    if (list_.reserve(session, limits_, evicted) != Reservation::Reserved)
                        continue;
                    const Iterator iterator =
                        Iterator::take(new TestIterator(PortableServer::POA::_nil(), alive_));
                    ASSERT_TRUE(list_.add(iterator.get(), session, limits_, evicted));
                    const std::size_t count = list_.count();
                    std::size_t seen = most;
                    while (count > seen && !most.compare_exchange_weak(seen, count)) {
                    }
                    if (i % 3 == 0)
                        list_.remove(iterator.get());
                }
            });
        }
    }
    EXPECT_GT(most, 0u);
    EXPECT_LE(most, 5u);
    EXPECT_EQ(static_cast<std::size_t>(alive_), list_.count());
}

}  // namespace
