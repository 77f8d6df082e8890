#include <gtest/gtest.h>
#include <iterator_table.h>

#include <set>

namespace kelp::naming {
namespace {

using namespace std::chrono_literals;

std::vector<NameEntry> entries(int count) {
    std::vector<NameEntry> made;
    for (int i = 0; i < count; ++i)
        made.push_back({{"entry" + std::to_string(i), ""}, false});
    return made;
}

class IteratorTableTest : public testing::Test {
  protected:
    std::string open(const std::string& owner = "192.0.2.1", int count = 3) {
        return table_.open(entries(count), owner, limits_, now_);
    }
    bool isOpen(const std::string& id) { return table_.isOpen(id, limits_, now_); }

    IteratorTable table_;
    NamingLimits limits_{1000, 2, 3, 60s};
    IteratorTable::Time now_{};
};

TEST_F(IteratorTableTest, GivesEveryEntryOnceInOrder) {
    const std::string id = open();
    EXPECT_EQ(table_.next(id, 2, limits_, now_), entries(2));
    EXPECT_EQ(table_.next(id, 2, limits_, now_), (std::vector<NameEntry>{entries(3).back()}));
    EXPECT_EQ(table_.next(id, 2, limits_, now_), std::vector<NameEntry>());
    EXPECT_EQ(table_.next(id, 2, limits_, now_), std::vector<NameEntry>());
}

TEST_F(IteratorTableTest, IdsCannotBeGuessed) {
    limits_.iteratorsPerAddress = limits_.iteratorsMax = 1000;
    std::set<std::string> ids;
    for (int i = 0; i < 100; ++i)
        ids.insert(open());
    EXPECT_EQ(ids.size(), 100u);
    for (const std::string& id : ids)
        EXPECT_EQ(id.size(), 32u) << "128 bits as hexadecimal digits";
}

TEST_F(IteratorTableTest, UnknownIdHasNoIterator) {
    open();
    EXPECT_FALSE(table_.next("", 1, limits_, now_));
    EXPECT_FALSE(table_.next("0123", 1, limits_, now_));
    EXPECT_FALSE(table_.close("0123", limits_, now_));
}

TEST_F(IteratorTableTest, ClosedIteratorIsGone) {
    const std::string id = open();
    EXPECT_TRUE(table_.close(id, limits_, now_));
    EXPECT_FALSE(isOpen(id));
    EXPECT_FALSE(table_.close(id, limits_, now_));
    EXPECT_EQ(table_.size(), 0u);
}

TEST_F(IteratorTableTest, IteratorAboveTheLimitOfAnAddressClosesItsOldestOnly) {
    const std::string others = open("192.0.2.2");
    const std::string first = open();
    const std::string second = open();
    limits_.iteratorsMax = 10;
    const std::string third = open();
    EXPECT_FALSE(isOpen(first));
    EXPECT_TRUE(isOpen(second));
    EXPECT_TRUE(isOpen(third));
    EXPECT_TRUE(isOpen(others));
}

TEST_F(IteratorTableTest, IteratorAboveTheTotalLimitClosesTheOldest) {
    const std::string first = open("192.0.2.1");
    const std::string second = open("192.0.2.2");
    open("192.0.2.3");
    EXPECT_TRUE(isOpen(first));
    open("192.0.2.4");
    EXPECT_FALSE(isOpen(first));
    EXPECT_TRUE(isOpen(second));
    EXPECT_EQ(table_.size(), 3u);
}

TEST_F(IteratorTableTest, EndsWhenItWasNotUsedForATime) {
    const std::string used = open();
    const std::string idle = open();
    now_ += 59s;
    EXPECT_TRUE(table_.next(used, 1, limits_, now_));
    now_ += 1s;
    EXPECT_FALSE(table_.next(idle, 1, limits_, now_));
    EXPECT_TRUE(isOpen(used));
    now_ += 59s;
    open("192.0.2.9");
    EXPECT_EQ(table_.size(), 1u) << "what is over makes room when another is opened";
}

TEST_F(IteratorTableTest, NewLimitsHoldForExistingIterators) {
    const std::string id = open();
    now_ += 10s;
    limits_.iteratorIdle = 10s;
    EXPECT_FALSE(isOpen(id));
}

}  // namespace
}  // namespace kelp::naming
