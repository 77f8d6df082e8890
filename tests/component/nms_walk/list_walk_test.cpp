#include <gmock/gmock.h>
#include <kelp/nms/list_walk.h>

#include "scripted_iterator.h"
#include "support/orb_fixture.h"

namespace kelp::test {
namespace {

using globaldefs::NamingAttributesIterator_I;
using globaldefs::NamingAttributesList_T;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

using NameIterator =
    ScriptedIterator<NamingAttributesIterator_I, POA_globaldefs::NamingAttributesIterator_I,
                     NamingAttributesList_T, globaldefs::NamingAttributesList_T_out>;
using Walk = nms::ListWalk<NamingAttributesList_T, NamingAttributesIterator_I>;

class ListWalkTest : public testing::Test {
  protected:
    static NamingAttributesList_T names(CORBA::ULong count) {
        NamingAttributesList_T all;
        all.length(count);
        for (CORBA::ULong i = 0; i < count; ++i) {
            all[i].length(1);
            all[i][0].name = "EMS";
            all[i][0].value = std::to_string(i + 1).c_str();
        }
        return all;
    }
    void open(Walk& walk, CORBA::ULong entries) {
        walk.open([&](CORBA::ULong most, auto& list, auto& rest) {
            asked_.push_back(most);
            rest = NameIterator::give(script_, names(entries), most, list.out());
        });
    }
    /// Return the sizes of the batches of a list with this number of entries.
    std::vector<CORBA::ULong> batchesOf(Walk& walk, CORBA::ULong entries) {
        std::vector<CORBA::ULong> sizes;
        CORBA::ULong last = 0;
        open(walk, entries);
        for (; walk.hasBatch(); walk.next()) {
            sizes.push_back(walk.batch().length());
            for (CORBA::ULong i = 0; i < walk.batch().length(); ++i)
                EXPECT_STREQ(walk.batch()[i][0].value.in(), std::to_string(++last).c_str());
        }
        return sizes;
    }

    RunningOrb orb_;
    IteratorScript script_;
    std::vector<CORBA::ULong> asked_;
};

TEST_F(ListWalkTest, ListThatFitsHasNoIterator) {
    Walk walk("list", 5);
    EXPECT_THAT(batchesOf(walk, 5), ElementsAre(5));
    EXPECT_EQ(walk.entries(), 5u);
    EXPECT_EQ(walk.total(), 5u);
    EXPECT_THAT(walk.remarks(), IsEmpty());
    EXPECT_EQ(script_.opened, 0);
}

TEST_F(ListWalkTest, EmptyListIsOneEmptyBatch) {
    Walk walk("list", 5);
    EXPECT_THAT(batchesOf(walk, 0), ElementsAre(0));
    EXPECT_EQ(walk.total(), 0u);
}

TEST_F(ListWalkTest, IteratorIsReadToItsEndAndThenNeverTouched) {
    {
        Walk walk("list", 3);
        script_.onNext = [this](CORBA::ULong howMany) { asked_.push_back(howMany); };
        EXPECT_THAT(batchesOf(walk, 8), ElementsAre(3, 3, 2));
        EXPECT_THAT(asked_, ElementsAre(3, 3, 3)) << "the first call's how_many and each next_n's";
        EXPECT_EQ(walk.entries(), 8u);
        EXPECT_EQ(walk.total(), 8u);
        EXPECT_FALSE(walk.isDoubtful());
        walk.next();
        EXPECT_FALSE(walk.hasBatch());
    }
    EXPECT_EQ(script_.lengths, 1);
    EXPECT_EQ(script_.nexts, 2);
    EXPECT_EQ(script_.destroyed, 0);
}

TEST_F(ListWalkTest, TotalIsKnownFromTheFirstBatchOn) {
    Walk walk("list", 3);
    open(walk, 8);
    EXPECT_EQ(walk.total(), 8u);
    EXPECT_EQ(walk.entries(), 3u);
}

TEST_F(ListWalkTest, IteratorIsDestroyedWhenTheWalkStopsEarly) {
    {
        Walk walk("list", 3);
        open(walk, 8);
        walk.next();
        EXPECT_EQ(script_.destroyed, 0);
    }
    EXPECT_EQ(script_.destroyed, 1);
}

TEST_F(ListWalkTest, FewerEntriesThanRequestedAreNotTheEnd) {
    script_.mostAtOnce = 2;
    Walk walk("list", 100);
    EXPECT_THAT(batchesOf(walk, 5), ElementsAre(2, 2, 1));
    EXPECT_THAT(walk.remarks(), IsEmpty());
}

TEST_F(ListWalkTest, EmptyBatchInBetweenIsNoEnd) {
    Walk walk("list", 2);
    script_.mostAtOnce = 0;
    script_.onNext = [this](CORBA::ULong) { script_.mostAtOnce = script_.nexts < 4 ? 0 : 2; };
    EXPECT_THAT(batchesOf(walk, 3), ElementsAre(0, 0, 0, 0, 2, 1));
}

TEST_F(ListWalkTest, IteratorThatOnlyReturnsEmptyBatchesIsGivenUp) {
    {
        Walk walk("list", 2);
        script_.mostAtOnce = 0;
        EXPECT_THROW(batchesOf(walk, 3), nms::NmsError);
    }
    EXPECT_EQ(script_.destroyed, 1);
}

TEST_F(ListWalkTest, FewerEntriesThanGetLengthSaidAreReported) {
    Walk walk("list", 3);
    script_.lengthTooMuch = 2;
    batchesOf(walk, 8);
    EXPECT_TRUE(walk.isDoubtful());
    EXPECT_THAT(walk.remarks(), ElementsAre("list: the EMS said there are 10 entries, but 8 came"));
}

TEST_F(ListWalkTest, MoreEntriesThanGetLengthSaidAreReported) {
    Walk walk("list", 3);
    script_.lengthTooMuch = -1;
    batchesOf(walk, 8);
    EXPECT_TRUE(walk.isDoubtful());
    EXPECT_THAT(walk.remarks(), ElementsAre(HasSubstr("7 entries, but 8 came")));
}

TEST_F(ListWalkTest, UnknownLengthIsNotAnError) {
    Walk walk("list", 3);
    script_.noLength = globaldefs::EXCPT_CAPACITY_EXCEEDED;
    EXPECT_THAT(batchesOf(walk, 8), ElementsAre(3, 3, 2));
    EXPECT_FALSE(walk.total());
    EXPECT_THAT(walk.remarks(), IsEmpty());
}

TEST_F(ListWalkTest, RefusedLengthIsReportedAndTheWalkContinues) {
    Walk walk("list", 3);
    script_.noLength = globaldefs::EXCPT_NOT_IMPLEMENTED;
    EXPECT_THAT(batchesOf(walk, 8), ElementsAre(3, 3, 2));
    EXPECT_THAT(walk.remarks(), ElementsAre(HasSubstr("EXCPT_NOT_IMPLEMENTED")));
    EXPECT_FALSE(walk.isDoubtful());
}

TEST_F(ListWalkTest, MoreEntriesThanAskedForAreUsedAndReportedOnce) {
    Walk walk("list", 2);
    script_.unasked = 1;
    EXPECT_THAT(batchesOf(walk, 8), ElementsAre(2, 3, 3));
    EXPECT_THAT(walk.remarks(), ElementsAre(HasSubstr("gave 3 entries when 2 at most")));
}

TEST_F(ListWalkTest, RefusedBatchIsReportedAndTheIteratorDestroyed) {
    {
        Walk walk("list", 3);
        open(walk, 8);
        script_.onNext = [](CORBA::ULong) { throw refusal(globaldefs::EXCPT_INTERNAL_ERROR); };
        try {
            walk.next();
            FAIL() << "the failure is hidden";
        } catch (const nms::ProcessingFailure& failure) {
            EXPECT_THAT(failure.what(), HasSubstr("list, next_n: EXCPT_INTERNAL_ERROR"));
        }
        EXPECT_FALSE(walk.hasBatch());
    }
    EXPECT_EQ(script_.destroyed, 1);
}

TEST_F(ListWalkTest, IteratorThatIsGoneIsNotCalledAgain) {
    {
        Walk walk("list", 3);
        open(walk, 8);
        script_.onNext = [](CORBA::ULong) { throw CORBA::OBJECT_NOT_EXIST(); };
        try {
            walk.next();
            FAIL() << "the failure is hidden";
        } catch (const nms::CallFailed& failure) {
            EXPECT_TRUE(failure.isOfUnknownObject());
        }
    }
    EXPECT_EQ(script_.destroyed, 0);
}

TEST_F(ListWalkTest, EmsThatHangsIsNotWaitedForTwice) {
    {
        Walk walk("list", 3);
        open(walk, 8);
        script_.onNext = [](CORBA::ULong) { throw CORBA::TIMEOUT(); };
        EXPECT_THROW(walk.next(), nms::CallFailed);
    }
    EXPECT_EQ(script_.destroyed, 0);
}

TEST_F(ListWalkTest, RefusedListIsReported) {
    Walk walk("list", 3);
    EXPECT_THROW(walk.open([](CORBA::ULong, auto&, auto&) {
        throw refusal(globaldefs::EXCPT_TOO_MANY_OPEN_ITERATORS);
    }),
                 nms::ProcessingFailure);
    EXPECT_FALSE(walk.hasBatch());
}

}  // namespace
}  // namespace kelp::test
