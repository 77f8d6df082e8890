#include "gate/connection_table.h"

#include <gtest/gtest.h>

#include <list>
#include <string>

namespace {

using namespace kelp::orb;
using gate::ConnectionTable;
using gate::Seat;
using kelp::util::PeerAddress;
using std::chrono::seconds;
using Verdict = ConnectionTable::Verdict;

class TestSeat final : public Seat {
  public:
    TestSeat(const std::string& address, Use use, Time since) : use_(use), since_(since) {
        peer_.text = address;
    }
    const PeerAddress& peer() const override { return peer_; }
    Use use() const override { return use_; }
    Time since() const override { return since_; }
    void close() override { isClosed = true; }
    bool isClosed = false;

  private:
    PeerAddress peer_;
    Use use_;
    Time since_;
};

class ConnectionTableTest : public testing::Test {
  protected:
    /// Admit a connection of this age. Return null if it is refused.
    TestSeat* connect(ConnectionTable& table, const std::string& address, Seat::Use use, int age) {
        PeerAddress peer;
        peer.text = address;
        verdict_ = table.admit(peer, now_);
        if (verdict_ != Verdict::Admitted)
            return nullptr;
        TestSeat& seat = seats_.emplace_back(address, use, now_ - seconds(age));
        table.enter(seat);
        return &seat;
    }

    std::list<TestSeat> seats_;
    Seat::Time now_{seconds(1000)};
    Verdict verdict_ = Verdict::Admitted;
    ConnectionTable::IsLoggedIn nms_ = [](const PeerAddress& peer) { return peer.text == "nms"; };
};

TEST_F(ConnectionTableTest, CountsByAddressAndInAll) {
    ConnectionTable table({4, 2, 0}, nms_);
    TestSeat* const first = connect(table, "a", Seat::Use::Busy, 0);
    EXPECT_TRUE(connect(table, "a", Seat::Use::Busy, 0));
    EXPECT_FALSE(connect(table, "a", Seat::Use::Busy, 0));
    EXPECT_EQ(verdict_, Verdict::TooManyOfAddress);
    EXPECT_TRUE(connect(table, "b", Seat::Use::Busy, 0));
    EXPECT_TRUE(connect(table, "c", Seat::Use::Busy, 0));
    EXPECT_FALSE(connect(table, "d", Seat::Use::Busy, 0));
    EXPECT_EQ(verdict_, Verdict::TooMany);
    table.leave(*first);
    EXPECT_TRUE(connect(table, "d", Seat::Use::Busy, 0));
    EXPECT_EQ(table.count(), 4U);
}

TEST_F(ConnectionTableTest, ClosesNewOnesBeforeIdleOnesAndOlderOnesFirst) {
    ConnectionTable table({4, 4, 0}, nms_);
    TestSeat* const idle = connect(table, "a", Seat::Use::Idle, 100);
    TestSeat* const young = connect(table, "a", Seat::Use::New, 1);
    TestSeat* const old = connect(table, "b", Seat::Use::New, 5);
    TestSeat* const busy = connect(table, "b", Seat::Use::Busy, 500);
    EXPECT_TRUE(connect(table, "c", Seat::Use::Busy, 0));
    EXPECT_TRUE(old->isClosed);
    EXPECT_TRUE(connect(table, "c", Seat::Use::Busy, 0));
    EXPECT_TRUE(young->isClosed);
    EXPECT_FALSE(idle->isClosed);
    EXPECT_TRUE(connect(table, "c", Seat::Use::Busy, 0));
    EXPECT_TRUE(idle->isClosed);
    EXPECT_FALSE(connect(table, "c", Seat::Use::Busy, 0));
    EXPECT_FALSE(busy->isClosed);
    EXPECT_EQ(table.count(), 4U);
    // connections that the table closed leave without releasing a second place
    table.leave(*old);
    table.leave(*young);
    EXPECT_EQ(table.count(), 4U);
}

TEST_F(ConnectionTableTest, ClosesIdleOnesOfAnNmsForNobodyElse) {
    ConnectionTable table({3, 2, 0}, nms_);
    TestSeat* const longer = connect(table, "nms", Seat::Use::Idle, 900);
    TestSeat* const shorter = connect(table, "nms", Seat::Use::Idle, 100);
    EXPECT_TRUE(connect(table, "a", Seat::Use::Busy, 0));
    EXPECT_FALSE(connect(table, "b", Seat::Use::Busy, 0));
    EXPECT_TRUE(connect(table, "nms", Seat::Use::Busy, 0));
    EXPECT_TRUE(longer->isClosed);
    EXPECT_FALSE(shorter->isClosed);
}

TEST_F(ConnectionTableTest, KeepsPlacesForAddressesWithALogin) {
    ConnectionTable table({3, 3, 2}, nms_);
    EXPECT_TRUE(connect(table, "a", Seat::Use::Busy, 0));
    EXPECT_FALSE(connect(table, "a", Seat::Use::Busy, 0));
    EXPECT_TRUE(connect(table, "nms", Seat::Use::Busy, 0));
    EXPECT_TRUE(connect(table, "nms", Seat::Use::Busy, 0));
}

TEST_F(ConnectionTableTest, ClosesNoConnectionThatWasUsedAMomentAgo) {
    ConnectionTable table({1, 1, 0}, nms_);
    EXPECT_TRUE(connect(table, "a", Seat::Use::Idle, 0));
    EXPECT_FALSE(connect(table, "a", Seat::Use::Busy, 0));
}

}  // namespace
