// NMS that open iterators endlessly.

#include <gmock/gmock.h>

#include <future>

#include "iterators_fixture.h"

namespace kelp::test {
namespace {

constexpr int kElements = 300;
constexpr int kThreads = 8;
constexpr const char* kRefusal = "EXCPT_TOO_MANY_OPEN_ITERATORS";
constexpr int kSlowestCallMs = 5000;

class Limits : public IteratorsFixture {
  protected:
    /// Start a host at which alice opens iterators endlessly and bob reads.
    void start(int soft, int hard) {
        limit(soft, hard);
        startWithElements(kElements);
        alice_.emplace(host_);
        alice_->logIn(0, "alice");
        greedy_.emplace(*alice_, 0);
        bob_.emplace(host_);
        bob_->logIn(0, "bob");
        reader_.emplace(*bob_, 0);
    }
    /// Return the reason for which an iterator is refused, or "" if it is opened.
    static std::string refusal(NmsLists& lists) {
        try {
            lists.ask(1);
            return {};
        } catch (const std::runtime_error& refused) {
            return refused.what();
        }
    }

    std::optional<NmsProcess> alice_, bob_;
    std::optional<NmsLists> greedy_, reader_;
};

TEST_F(Limits, AboveTheSoftLimitTheOldestIteratorIsClosed) {
    start(2, 10);
    const NmsLists::Answer oldest = reader_->ask(1);
    EXPECT_EQ(reader_->next(oldest.iterator, 1).entries, 1);
    const NmsLists::Openings openings = greedy_->openMany(1, 20);
    EXPECT_EQ(openings.opened, 20);
    const NmsLists::Probe probe = greedy_->probe();
    EXPECT_EQ(probe.open, 3) << "the soft limit and one";
    EXPECT_EQ(probe.firstOpen, 17);
    EXPECT_EQ(greedy_->outcomes(16), "closed closed closed");
    EXPECT_EQ(reader_->outcomes(oldest.iterator), "closed closed closed") << "whosever it is";
    EXPECT_TRUE(bob_->hasSession(0));
}

TEST_F(Limits, AtMostOneMoreThanTheSoftLimitIsOpenUnderManyThreads) {
    constexpr int kSoft = 30, kEach = 100;
    start(kSoft, 1000);
    bob_->startChatter(0);
    const NmsLists::Openings openings = greedy_->openMany(kThreads, kEach, true);
    EXPECT_EQ(openings.opened, kThreads * kEach);
    EXPECT_GT(openings.openAtOnce, 0);
    EXPECT_LE(openings.openAtOnce, kSoft + 1);
    EXPECT_EQ(greedy_->probe().open, kSoft + 1);
    EXPECT_EQ(bob_->stopChatter(0).failures, 0);
    EXPECT_EQ(host_.stop(), 0);
}

struct HardAtOrBelowSoft {
    int soft;
    int hard;
};

void PrintTo(const HardAtOrBelowSoft& limits, std::ostream* out) {
    *out << "soft " << limits.soft << ", hard " << limits.hard;
}

class HardLimits : public Limits, public testing::WithParamInterface<HardAtOrBelowSoft> {};

TEST_P(HardLimits, RefuseFurtherIteratorsWhileAllElseGoesOn) {
    const int hard = GetParam().hard;
    start(GetParam().soft, hard);
    const NmsLists::Answer list = reader_->ask(1);
    bob_->startChatter(0);
    std::future<NmsLists::Openings> opening =
        std::async(std::launch::async, [this] { return greedy_->openMany(kThreads, 60); });
    int read = list.first;
    NmsLists::Batch batch{true, 0};
    for (; batch.isMore && read < kElements; read += batch.entries)
        batch = reader_->next(list.iterator, read == list.first ? 1 : 2);
    EXPECT_EQ(read, kElements);
    const NmsLists::Openings openings = opening.get();
    EXPECT_GE(openings.opened, hard - 1);
    EXPECT_LE(openings.opened, hard) << "one more when the reader had come to the end";
    EXPECT_EQ(openings.refused, kThreads * 60 - openings.opened);
    EXPECT_EQ(openings.failed, 0);
    EXPECT_EQ(greedy_->probe().open, openings.opened) << "those that are open stay open";

    // the reader's iterator is uncounted a moment after its last batch
    EXPECT_TRUE(eventually([&] {
        greedy_->openMany(1, 1);
        return greedy_->probe().open == hard;
    }));
    EXPECT_THAT(refusal(*reader_), testing::HasSubstr(kRefusal));
    EXPECT_EQ(reader_->ask(kElements).first, kElements) << "no iterator is needed";
    EXPECT_EQ(bob_->emsLabel(0), "EMS");
    const ChatterResult calls = bob_->stopChatter(0);
    EXPECT_GT(calls.calls, 0);
    EXPECT_EQ(calls.failures, 0);
    EXPECT_LT(calls.slowestMs, kSlowestCallMs);

    greedy_->destroy(0);
    EXPECT_TRUE(eventually([this] { return refusal(*reader_).empty(); }))
        << "one place is free again";
    EXPECT_THAT(refusal(*reader_), testing::HasSubstr(kRefusal));
    alice_->end(0);
    EXPECT_TRUE(eventually([this] { return refusal(*reader_).empty(); }));
    EXPECT_TRUE(eventually([this] { return greedy_->probe().open == 0; }));
    EXPECT_EQ(host_.stop(), 0);
}

INSTANTIATE_TEST_SUITE_P(Iterators, HardLimits,
                         testing::Values(HardAtOrBelowSoft{20, 20}, HardAtOrBelowSoft{50, 20}),
                         [](const auto& tried) {
                             return "Soft" + std::to_string(tried.param.soft) + "Hard" +
                                    std::to_string(tried.param.hard);
                         });

}  // namespace
}  // namespace kelp::test
