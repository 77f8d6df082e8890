#include "log_fixture.h"

namespace kelp::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;

class Chain : public LogTest {
  protected:
    /// Write a log of log-ins of "user1", "user2" and so on, and close it.
    void makeLog(int records) const {
        SecurityLog log(settings());
        for (int i = 1; i <= records; ++i)
            log.write(login("user" + std::to_string(i)));
    }
    void tamper(const std::string& statement) const { OtherConnection(database()).exec(statement); }
    std::vector<std::string> problems(const std::vector<ChainHead>& known = {}) const {
        return verify(database(), known).problems;
    }
};

TEST_F(Chain, OfAnUntouchedLogIsWhole) {
    makeLog(10);
    const Verification verification = verify(database());
    EXPECT_EQ(verification.records, 10u);
    EXPECT_EQ(verification.firstId, 1);
    EXPECT_EQ(verification.head.id, 10);
    EXPECT_THAT(verification.head.hash, SizeIs(64));
    EXPECT_THAT(verification.problems, SizeIs(0));
}

TEST_F(Chain, OfAnEmptyLogIsWhole) {
    makeLog(0);
    EXPECT_THAT(problems(), SizeIs(0));
}

TEST_F(Chain, ContinuesAcrossStartsAndProcesses) {
    makeLog(3);
    SecurityLog log(settings());
    log.write(login("running"));
    ASSERT_TRUE(log.flush(kPatience));
    SecurityRecord administration;
    administration.event = SecurityEvent::UserAdministration;
    administration.object = "nms2";
    appendSecurityRecord(settings(), administration);
    log.write(login("later"));
    log.stop();
    const Verification verification = verify(database());
    EXPECT_EQ(verification.records, 6u);
    EXPECT_THAT(verification.problems, SizeIs(0));
    EXPECT_THAT(operationsOf(read(database(), LogKind::Security)),
                ElementsAre("login", "login", "login", "login", "user", "login"));
}

class ChangedColumn : public Chain, public testing::WithParamInterface<const char*> {};

TEST_P(ChangedColumn, IsFound) {
    makeLog(5);
    tamper("UPDATE record SET " + std::string(GetParam()) + " WHERE id = 3");
    EXPECT_THAT(problems(), testing::Contains(HasSubstr("record 3 is not what was written there")));
}

INSTANTIATE_TEST_SUITE_P(Each, ChangedColumn,
                         testing::Values("time_ms = time_ms + 1", "user = 'somebody'",
                                         "nms = '1.2.3.4:5'", "peer = '1.2.3.4:5'",
                                         "operation = 'logout'", "object_kind = 'x'",
                                         "object = 'x'", "outcome = 'wrong-password'",
                                         "detail = 'x'", "duration_us = 1", "missing = 1",
                                         "until_ms = until_ms + 1", "hash = 'x'"));

TEST_F(Chain, ATextMovedFromOneFieldToTheNextIsFound) {
    makeLog(2);
    tamper("UPDATE record SET nms = 'user1', user = '' WHERE id = 1");
    EXPECT_THAT(problems(), ElementsAre(HasSubstr("record 1 is not what was written there")));
}

TEST_F(Chain, ARemovedRecordIsFound) {
    makeLog(5);
    tamper("DELETE FROM record WHERE id = 3");
    EXPECT_THAT(problems(), ElementsAre(HasSubstr("record 3 is missing")));
}

TEST_F(Chain, RemovedFirstRecordsAreFound) {
    makeLog(5);
    tamper("DELETE FROM record WHERE id <= 2");
    EXPECT_THAT(problems(), ElementsAre(HasSubstr("records 1 to 2 are missing")));
}

TEST_F(Chain, RemovedLastRecordsAreFound) {
    makeLog(5);
    tamper("DELETE FROM record WHERE id >= 4");
    EXPECT_THAT(problems(), ElementsAre("records 4 to 5 are missing at the end"));
}

TEST_F(Chain, RemovingAllIsFound) {
    makeLog(5);
    tamper("DELETE FROM record");
    EXPECT_THAT(problems(), ElementsAre("records 1 to 5 are missing at the end"));
}

TEST_F(Chain, ARemovedRecordWhosePlaceIsClosedIsFound) {
    makeLog(5);
    tamper(
        "DELETE FROM record WHERE id = 3; UPDATE record SET id = id - 1 WHERE id > 3;"
        "UPDATE head SET id = 4");
    EXPECT_THAT(problems(), testing::Contains(HasSubstr("record 3 is not what was written there")));
}

TEST_F(Chain, SwappedRecordsAreFound) {
    makeLog(5);
    tamper(
        "UPDATE record SET id = 100 WHERE id = 2; UPDATE record SET id = 2 WHERE id = 3;"
        "UPDATE record SET id = 3 WHERE id = 100");
    EXPECT_THAT(problems(),
                testing::IsSupersetOf({HasSubstr("record 2 "), HasSubstr("record 3 ")}));
}

TEST_F(Chain, ARecordPutInAtTheEndIsFound) {
    makeLog(5);
    tamper(
        "INSERT INTO record SELECT 6, time_ms, user, nms, peer, operation, object_kind, object, "
        "outcome, "
        "detail, "
        "duration_us, missing, until_ms, hash FROM record WHERE id = 5");
    EXPECT_THAT(problems(), ElementsAre(HasSubstr("record 6 is not what was written there"),
                                        HasSubstr("record 6 is behind the noted head")));
}

TEST_F(Chain, AMissingHeadIsFoundAlsoAfterTheLogHasGoneOn) {
    makeLog(5);
    tamper("DELETE FROM head");
    EXPECT_THAT(problems(), ElementsAre(HasSubstr("the noted head of the chain is missing")));
    makeLog(1);
    EXPECT_THAT(problems(), SizeIs(0));
    EXPECT_THAT(operationsOf(read(database(), LogKind::Security)), testing::Contains("tampering"));
}

TEST_F(Chain, AWrongHeadIsFound) {
    makeLog(5);
    tamper("UPDATE head SET hash = 'x'");
    EXPECT_THAT(problems(), ElementsAre(HasSubstr("record 5 is not the noted head")));
}

TEST_F(Chain, RemovedLastRecordsAreFoundAfterTheLogHasGoneOn) {
    makeLog(5);
    tamper("DELETE FROM record WHERE id >= 4");
    makeLog(2);
    EXPECT_THAT(problems(), ElementsAre(HasSubstr("records 4 to 5 are missing")));
}

TEST_F(Chain, AShortenedChainWithAHeadToMatchIsFoundByAKnownHead) {
    makeLog(5);
    const ChainHead known = verify(database()).head;
    tamper(
        "DELETE FROM record WHERE id >= 4; UPDATE head SET id = 3, hash = (SELECT hash FROM record "
        "WHERE id "
        "= 3)");
    // the log alone cannot detect this
    EXPECT_THAT(problems(), SizeIs(0));
    EXPECT_THAT(problems({known}), ElementsAre(HasSubstr("is not in the chain")));
}

TEST_F(Chain, AShortenedChainWithAHeadToMatchIsFoundByTheRunningLog) {
    SecurityLog log(settings());
    for (int i = 0; i < 5; ++i)
        log.write(login("user"));
    ASSERT_TRUE(log.flush(kPatience));
    tamper(
        "DELETE FROM record WHERE id >= 4; UPDATE head SET id = 3, hash = (SELECT hash FROM record "
        "WHERE id "
        "= 3)");
    log.write(login("later"));
    ASSERT_TRUE(log.flush(kPatience));
    EXPECT_THAT(operationsOf(read(database(), LogKind::Security)),
                ElementsAre("login", "login", "login", "tampering", "login"));
    EXPECT_TRUE(trace_.contains("tampering 5:"));
}

TEST_F(Chain, AKnownHeadStaysInTheChain) {
    makeLog(5);
    const ChainHead known = verify(database()).head;
    makeLog(5);
    EXPECT_THAT(problems({known}), SizeIs(0));
    EXPECT_THAT(problems({{known.id, std::string(64, '0')}}), SizeIs(1));
}

TEST_F(Chain, AForgedBeginningByRetentionIsFoundUnlessTheChainIsForgedToo) {
    makeLog(5);
    tamper(
        "DELETE FROM record WHERE id <= 2;"
        "UPDATE record SET operation = 'retention', object = '2', detail = hash WHERE id = 4");
    EXPECT_THAT(problems(), testing::Contains(HasSubstr("record 4 is not what was written there")));
}

TEST_F(Chain, ProblemsAreCountedAndTheFirstOnesReported) {
    makeLog(100);
    tamper("UPDATE record SET user = 'x' WHERE id <= 50");
    const Verification verification = verify(database());
    EXPECT_EQ(verification.problemCount, 50u);
    EXPECT_THAT(verification.problems, SizeIs(20));
}

TEST_F(Chain, CannotBeVerifiedInAFileThatIsNoSecurityLog) {
    EXPECT_THROW(verify(folder_ / "none.db"), std::runtime_error);
    OperationLog(settings()).stop();
    EXPECT_THROW(verify(database()), std::runtime_error);
    EXPECT_THROW(verify(folder_.write("garbage.db", std::string(5000, 'g'))), std::runtime_error);
}

TEST(ChainHeadText, IsReadBack) {
    const ChainHead head{17, std::string(64, 'a')};
    const std::optional<ChainHead> read = ChainHead::of(head.text());
    ASSERT_TRUE(read);
    EXPECT_EQ(read->id, 17);
    EXPECT_EQ(read->hash, head.hash);
    for (const std::string& text :
         {std::string(""), std::string("17"), std::string("x:y"), ":" + head.hash,
          "-1:" + head.hash, "17:" + head.hash + "0", std::string(30, '9') + ":" + head.hash})
        EXPECT_FALSE(ChainHead::of(text)) << text;
}

}  // namespace
}  // namespace kelp::test
