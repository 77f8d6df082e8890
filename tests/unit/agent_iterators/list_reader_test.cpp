// Reading the next batch of a list ahead of its request.

#include <gmock/gmock.h>
#include <kelp/agent/list_reader.h>
#include <kelp/bundlemgr/config_store.h>

#include "queued_work.h"
#include "support/numbered_names.h"
#include "support/trace_capture.h"
#include "unit/corbabase/config_text.h"

namespace kelp::test {
namespace {

using Names = globaldefs::NamingAttributesList_T;
using Reader = NS_KELPCORBA::ListReader<Names>;
using NS_KELPCORBA::ReadAheadPlace;

constexpr int kOver = -1;  ///< returned for a list that is over
constexpr int kFailed = -2;

class ListReaderTest : public testing::Test {
  protected:
    ListReaderTest() {
        auto work = std::make_unique<QueuedWork>();
        work_ = work.get();
        KelpAppMgr::Instance()->TMDynInsertTaskMgr(work.release());
    }
    ~ListReaderTest() override {
        KelpAppMgr::Instance()->Exit();
        NS_BUNDLEMGR1::ConfigStore::instance().reset();
    }

    std::shared_ptr<Reader> list(CORBA::ULong count) {
        auto source = std::make_unique<NumberedNames>(count);
        source_ = source.get();
        source_->held = held_;
        using Read = NS_KELPCORBA::ListBatches<Names>;
        return std::make_shared<Reader>(std::make_unique<Read>(std::move(source), Read::Limits()));
    }
    static std::vector<int> next(const std::shared_ptr<Reader>& reader, CORBA::ULong howMany) {
        const auto batch = reader->next(howMany);
        if (!batch)
            return {kOver};
        return batch->entries ? numbersOf(*batch->entries) : std::vector<int>{kFailed};
    }
    bool isListGone() const { return held_.use_count() == 1; }

    QueuedWork* work_ = nullptr;       ///< owned by the application manager
    NumberedNames* source_ = nullptr;  ///< owned by the reader
    std::shared_ptr<const int> held_ = std::make_shared<const int>(0);
};

TEST_F(ListReaderTest, ReadsTheNextBatchAheadAndGivesIt) {
    const auto reader = list(10);
    EXPECT_EQ(next(reader, 3), numbers(1, 3));
    ASSERT_EQ(work_->size(), 1u);
    EXPECT_EQ(ReadAheadPlace::taken(), 1);
    work_->doOne();
    EXPECT_EQ(source_->left(), 4u) << "read before it is asked for";
    EXPECT_EQ(next(reader, 3), numbers(4, 6));
    EXPECT_EQ(source_->left(), 4u) << "it is the one that was read";
    work_->doOne();
    EXPECT_EQ(next(reader, 3), numbers(7, 9));
    work_->doOne();
    const auto last = reader->next(3);
    EXPECT_EQ(numbersOf(*last->entries), numbers(10, 10));
    EXPECT_FALSE(last->isMore);
    EXPECT_EQ(work_->size(), 0u);
    EXPECT_EQ(ReadAheadPlace::taken(), 0);
    EXPECT_TRUE(isListGone());
    EXPECT_EQ(next(reader, 3), std::vector<int>{kOver});
}

TEST_F(ListReaderTest, DoesNotWaitForAReadThatHasNotBegun) {
    const auto reader = list(10);
    next(reader, 3);
    EXPECT_EQ(next(reader, 3), numbers(4, 6));
    ASSERT_EQ(work_->size(), 2u);
    work_->doOne();
    EXPECT_EQ(source_->left(), 4u) << "it has come too late";
    work_->doOne();
    EXPECT_EQ(source_->left(), 1u);
    EXPECT_EQ(next(reader, 3), numbers(7, 9));
}

TEST_F(ListReaderTest, GivesFewerThanWereReadWhenFewerAreAskedFor) {
    const auto reader = list(20);
    next(reader, 5);
    work_->doOne();
    EXPECT_EQ(next(reader, 2), numbers(6, 7));
    EXPECT_EQ(next(reader, 0), numbers(1, 0));
    work_->doOne();
    EXPECT_EQ(next(reader, 1), numbers(8, 8));
    EXPECT_EQ(next(reader, 9), numbers(9, 17));
    EXPECT_EQ(next(reader, 9), numbers(18, 20));
}

TEST_F(ListReaderTest, GivesWhatWasReadWhenMoreAreAskedFor) {
    const auto reader = list(20);
    next(reader, 5);
    work_->doOne();
    EXPECT_EQ(next(reader, 8), numbers(6, 10));
    work_->doOne();
    EXPECT_EQ(next(reader, 8), numbers(11, 18));
}

TEST_F(ListReaderTest, KeepsTheBatchWhenNoEntriesAreRequestedMeanwhile) {
    const auto reader = list(4);
    next(reader, 2);
    work_->doOne();
    const auto none = reader->next(0);
    EXPECT_EQ(none->entries->length(), 0u);
    EXPECT_TRUE(none->isMore) << "the last entries have been read, not given";
    EXPECT_EQ(work_->size(), 0u) << "nothing to read ahead";
    EXPECT_EQ(next(reader, 2), numbers(3, 4));
}

TEST_F(ListReaderTest, ReportsAFailedReadWhenTheBatchIsRequested) {
    const TraceCapture trace;
    const auto reader = list(10);
    source_->failsAt = 5;
    EXPECT_EQ(next(reader, 3), numbers(1, 3));
    work_->doOne();
    EXPECT_EQ(trace.count("the database is gone"), 1u);
    EXPECT_EQ(next(reader, 3), std::vector<int>{kFailed});
    EXPECT_EQ(next(reader, 3), std::vector<int>{kOver});
    EXPECT_EQ(ReadAheadPlace::taken(), 0);
    EXPECT_TRUE(isListGone());
}

TEST_F(ListReaderTest, ReleasesEverythingWhenItIsClosed) {
    const auto reader = list(10);
    next(reader, 3);
    work_->doOne();
    EXPECT_TRUE(reader->close());
    EXPECT_EQ(ReadAheadPlace::taken(), 0);
    EXPECT_TRUE(isListGone());
    EXPECT_FALSE(reader->close());
    const auto other = list(10);
    next(other, 3);
    EXPECT_TRUE(other->close());
    work_->doOne();
    EXPECT_TRUE(isListGone());
}

TEST_F(ListReaderTest, ReadsNothingOnceItIsAbandoned) {
    auto reader = list(10);
    next(reader, 3);
    reader->abandon();
    reader.reset();
    EXPECT_FALSE(isListGone()) << "the queued work holds it";
    bool isRead = false;
    source_->failsAt = 4;
    source_->fail = [&] { isRead = true; };
    work_->doOne();
    EXPECT_FALSE(isRead);
    EXPECT_TRUE(isListGone());
    EXPECT_EQ(ReadAheadPlace::taken(), 0);
}

TEST_F(ListReaderTest, GivesItsPlaceBackWhenTheWorkIsDroppedAtTheStop) {
    auto reader = list(10);
    next(reader, 3);
    reader.reset();
    KelpAppMgr::Instance()->Exit();
    EXPECT_TRUE(isListGone());
    EXPECT_EQ(ReadAheadPlace::taken(), 0);
}

TEST_F(ListReaderTest, ReadsInTheCallWhenNoWorkerCan) {
    const auto reader = list(10);
    work_->isFull = true;
    EXPECT_EQ(next(reader, 3), numbers(1, 3));
    EXPECT_EQ(ReadAheadPlace::taken(), 0);
    KelpAppMgr::Instance()->Exit();
    EXPECT_EQ(next(reader, 3), numbers(4, 6));
    EXPECT_EQ(ReadAheadPlace::taken(), 0);
    EXPECT_EQ(next(reader, 7), numbers(7, 10));
}

TEST_F(ListReaderTest, LosesNothingWhenTheWorkCannotBeQueued) {
    const TraceCapture trace;
    const auto reader = list(10);
    work_->isOutOfMemory = true;
    EXPECT_EQ(next(reader, 3), numbers(1, 3));
    EXPECT_EQ(trace.count("[TypedIterator] The next batch cannot be read ahead: "), 1u);
    EXPECT_EQ(ReadAheadPlace::taken(), 0);
    EXPECT_EQ(next(reader, 3), numbers(4, 6));
}

TEST_F(ListReaderTest, ReadsAheadForNoMoreListsThanConfigured) {
    configure("[iterator]\nread_ahead = 2\n");
    const auto first = list(10);
    const auto second = list(10);
    const auto third = list(10);
    for (const auto& each : {first, second, third})
        EXPECT_EQ(next(each, 3), numbers(1, 3));
    EXPECT_EQ(work_->size(), 2u);
    EXPECT_EQ(next(third, 3), numbers(4, 6)) << "it reads itself";
    EXPECT_TRUE(first->close());
    EXPECT_EQ(next(third, 3), numbers(7, 9));
    EXPECT_EQ(work_->size(), 3u) << "there was a place for it";
}

TEST_F(ListReaderTest, ReadsNothingAheadWhenReadingAheadIsOff) {
    configure("[iterator]\nread_ahead = 0\n");
    const auto reader = list(10);
    EXPECT_EQ(next(reader, 3), numbers(1, 3));
    EXPECT_EQ(work_->size(), 0u);
    EXPECT_EQ(next(reader, 3), numbers(4, 6));
}

// -- batches that nobody fetches

/// Drop stale batches as if this time had passed.
void passes(std::chrono::seconds time) {
    NS_KELPCORBA::ReadAheadHolders::dropStale(std::chrono::steady_clock::now() + time);
}

TEST_F(ListReaderTest, GivesUpABatchThatIsNotFetchedForAMinute) {
    const auto reader = list(10);
    next(reader, 3);
    work_->doOne();
    passes(std::chrono::seconds(59));
    EXPECT_EQ(ReadAheadPlace::taken(), 1);
    EXPECT_EQ(source_->left(), 4u);
    passes(std::chrono::seconds(61));
    EXPECT_EQ(ReadAheadPlace::taken(), 0);
    EXPECT_EQ(source_->left(), 7u) << "it is to be read again";
    EXPECT_EQ(next(reader, 3), numbers(4, 6)) << "nothing is lost";
    work_->doOne();
    EXPECT_EQ(next(reader, 9), numbers(7, 9));
    EXPECT_EQ(next(reader, 9), numbers(10, 10));
}

TEST_F(ListReaderTest, GivesUpAReadThatHasNotBegunInAMinute) {
    const auto reader = list(10);
    next(reader, 3);
    passes(std::chrono::seconds(61));
    EXPECT_EQ(ReadAheadPlace::taken(), 0);
    work_->doOne();
    EXPECT_EQ(source_->left(), 7u) << "it has lost its place";
    EXPECT_EQ(next(reader, 3), numbers(4, 6));
}

TEST_F(ListReaderTest, GivesUpABatchWithEntriesThatWereHeldBefore) {
    const auto reader = list(20);
    next(reader, 5);
    work_->doOne();
    EXPECT_EQ(next(reader, 3), numbers(6, 8));
    // 9 and 10 have been read but not returned, 11 is read from the source
    work_->doOne();
    EXPECT_EQ(source_->left(), 9u);
    passes(std::chrono::seconds(61));
    EXPECT_EQ(ReadAheadPlace::taken(), 0);
    EXPECT_EQ(source_->left(), 10u);
    EXPECT_EQ(next(reader, 20), numbers(9, 20));
}

TEST_F(ListReaderTest, KeepsABatchThatCannotBeReadAgain) {
    const auto reader = list(10);
    source_->canGoBack = false;
    next(reader, 3);
    work_->doOne();
    passes(std::chrono::seconds(61));
    EXPECT_EQ(ReadAheadPlace::taken(), 1);
    EXPECT_EQ(next(reader, 3), numbers(4, 6));
}

TEST_F(ListReaderTest, KeepsWhatFailedAheadWithoutAPlace) {
    const auto reader = list(10);
    source_->failsAt = 5;
    next(reader, 3);
    work_->doOne();
    passes(std::chrono::seconds(61));
    EXPECT_EQ(ReadAheadPlace::taken(), 0);
    EXPECT_EQ(next(reader, 3), std::vector<int>{kFailed});
}

TEST_F(ListReaderTest, ForgetsReadersThatHaveGone) {
    auto reader = list(10);
    next(reader, 3);
    work_->doOne();
    reader.reset();
    passes(std::chrono::seconds(61));
    EXPECT_EQ(ReadAheadPlace::taken(), 0);
}

TEST(ReadAheadPlaces, AreLimitedToHalfForOneOwner) {
    configure("[iterator]\nread_ahead = 5\n");
    std::vector<ReadAheadPlace> taken;
    for (int i = 0; i < 3; ++i) {
        taken.push_back(ReadAheadPlace::take("192.0.2.1"));
        EXPECT_TRUE(taken.back()) << i;
    }
    EXPECT_FALSE(ReadAheadPlace::take("192.0.2.1"));
    for (int i = 0; i < 2; ++i) {
        taken.push_back(ReadAheadPlace::take("192.0.2.2"));
        EXPECT_TRUE(taken.back()) << i;
    }
    EXPECT_FALSE(ReadAheadPlace::take("192.0.2.3")) << "all are taken";
    taken.erase(taken.begin());
    EXPECT_TRUE(ReadAheadPlace::take("192.0.2.1")) << "it has given one back";
    taken.clear();
    EXPECT_EQ(ReadAheadPlace::taken(), 0);
}

TEST(ReadAheadPlaces, MayGoToAnyOwnerIfThereIsOnlyOne) {
    configure("[iterator]\nread_ahead = 1\n");
    const ReadAheadPlace only = ReadAheadPlace::take("192.0.2.1");
    EXPECT_TRUE(only);
    EXPECT_FALSE(ReadAheadPlace::take("192.0.2.2"));
}

TEST(ReadAheadPlaces, AreAllForCallersInsideTheProcess) {
    configure("[iterator]\nread_ahead = 4\n");
    std::vector<ReadAheadPlace> taken;
    for (int i = 0; i < 4; ++i) {
        taken.push_back(ReadAheadPlace::take());
        EXPECT_TRUE(taken.back());
    }
    EXPECT_FALSE(ReadAheadPlace::take());
}

}  // namespace
}  // namespace kelp::test
