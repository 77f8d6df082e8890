#include <gmock/gmock.h>

#include <stdexcept>

#include "decoder_samples.h"

namespace {

using namespace kelp::test;
using kelp::traps::Decoder;
using kelp::traps::Verdict;
using testing::IsEmpty;
using testing::SizeIs;

TEST_F(DecoderTest, ReadsATrap) {
    const Decoder::Result result = decode(linkDown("public"));
    ASSERT_EQ(result.verdict, Verdict::Accepted);
    EXPECT_EQ(result.trap.oid.text(), "1.3.6.1.6.3.1.1.5.3");
    EXPECT_EQ(result.trap.address, "192.0.2.17");
    EXPECT_EQ(result.trap.upTime, 100u);
    ASSERT_THAT(result.trap.varBinds, SizeIs(1));
    EXPECT_EQ(result.trap.varBinds[0].oid.text(), "1.3.6.1.2.1.2.2.1.1.4");
    EXPECT_EQ(result.trap.varBinds[0].value, "4");
    EXPECT_EQ(result.inform, 0u);
    EXPECT_THAT(sent_, IsEmpty());
}

TEST_F(DecoderTest, ReadsTheValuesOfAllTypes) {
    const auto valueOf = [&](const Octets& value) {
        const Decoder::Result result =
            decode(message("public", pdu(kTrapPdu, joined({upTimeBinding(), trapOidBinding(),
                                                           varBind({0x2b, 6, 1}, value)}))));
        EXPECT_EQ(result.verdict, Verdict::Accepted);
        return result.trap.varBinds.empty() ? "none" : result.trap.varBinds[0].value;
    };
    EXPECT_EQ(valueOf(ber(0x02, {0xff})), "-1");
    EXPECT_EQ(valueOf(octetString("port 1")), "port 1");
    EXPECT_EQ(valueOf(ber(0x05, {})), "");
    EXPECT_EQ(valueOf(ber(0x06, {0x2b, 6, 1, 4})), "1.3.6.1.4");
    EXPECT_EQ(valueOf(ber(0x40, {192, 0, 2, 1})), "192.0.2.1");
    EXPECT_EQ(valueOf(ber(0x41, {0x00, 0xff, 0xff, 0xff, 0xff})), "4294967295");
    EXPECT_EQ(valueOf(ber(0x42, {7})), "7");
    EXPECT_EQ(valueOf(ber(0x43, {8})), "8");
    EXPECT_EQ(valueOf(ber(0x46, {1, 0, 0, 0, 0})), "4294967296");
}

TEST_F(DecoderTest, AcknowledgesAnInformWhenItIsTold) {
    const Decoder::Result result = decode(linkDown("public", kInformPdu));
    ASSERT_EQ(result.verdict, Verdict::Accepted);
    EXPECT_TRUE(result.trap.isInform);
    EXPECT_EQ(result.trap.requestId, 77);
    EXPECT_THAT(sent_, IsEmpty());
    decoder_.answer(result.inform);
    ASSERT_THAT(sent_, SizeIs(1));
    EXPECT_EQ(sent_[0].first, "somebody");
    // the same message with the tag of a response
    EXPECT_EQ(sent_[0].second, linkDown("public", 0xa2));
    EXPECT_EQ(decoder_.unanswered(), 0u);
    decoder_.answer(result.inform);
    EXPECT_THAT(sent_, SizeIs(1));
}

TEST_F(DecoderTest, NeverAcknowledgesAForgottenInform) {
    const Decoder::Result result = decode(linkDown("public", kInformPdu));
    decoder_.forget(result.inform);
    decoder_.answer(result.inform);
    EXPECT_THAT(sent_, IsEmpty());
    EXPECT_EQ(decoder_.unanswered(), 0u);
}

TEST_F(DecoderTest, RefusesWhatIsNotATrapOfVersion2cOr3) {
    EXPECT_EQ(verdictOf({}), Verdict::Damaged);
    EXPECT_EQ(verdictOf({0x30}), Verdict::Damaged);
    EXPECT_EQ(verdictOf(message("public", pdu(kTrapPdu, {}), 0)), Verdict::UnsupportedVersion);
    EXPECT_EQ(verdictOf(message("public", pdu(kTrapPdu, {}), 2)), Verdict::UnsupportedVersion);
    EXPECT_EQ(verdictOf(linkDown("public", kGetPdu)), Verdict::NotATrap);
    EXPECT_EQ(verdictOf(message("public", pdu(kTrapPdu, upTimeBinding()))), Verdict::NotATrap);
    EXPECT_THAT(sent_, IsEmpty());
}

TEST_F(DecoderTest, RefusesAWrongCommunity) {
    EXPECT_EQ(verdictOf(linkDown("private")), Verdict::WrongCommunity);
    EXPECT_EQ(verdictOf(linkDown("")), Verdict::WrongCommunity);
    EXPECT_EQ(verdictOf(linkDown("public", kInformPdu)), Verdict::Accepted);
    EXPECT_EQ(verdictOf(linkDown("private", kInformPdu)), Verdict::WrongCommunity);
    EXPECT_EQ(decoder_.unanswered(), 1u);
}

TEST_F(DecoderTest, RefusesTooManyVariableBindings) {
    const auto withBindings = [](std::size_t count) {
        Octets all = joined({upTimeBinding(), trapOidBinding()});
        for (std::size_t at = 0; at < count; ++at)
            all = joined({all, portBinding()});
        return message("public", pdu(kTrapPdu, all));
    };
    EXPECT_EQ(verdictOf(withBindings(kelp::traps::kVarBindsMax)), Verdict::Accepted);
    EXPECT_EQ(verdictOf(withBindings(kelp::traps::kVarBindsMax + 1)), Verdict::TooManyVarBinds);
}

TEST_F(DecoderTest, RefusesAnOidOfMoreThan128Components) {
    EXPECT_EQ(
        verdictOf(message("public", pdu(kTrapPdu, joined({upTimeBinding(), trapOidBinding(),
                                                          varBind(Octets(200, 1), integer(1))})))),
        Verdict::Damaged);
}

TEST_F(DecoderTest, TellsItsEngineToWhoAsks) {
    constexpr std::uint8_t kReportable = 4;
    EXPECT_EQ(verdictOf(version3("", "", kReportable, pdu(kGetPdu, {}))), Verdict::Discovery);
    ASSERT_THAT(sent_, SizeIs(1));
    const std::string report(sent_[0].second.begin(), sent_[0].second.end());
    EXPECT_NE(report.find(kOurEngine), std::string::npos);
}

TEST_F(DecoderTest, RefusesUsersThatItDoesNotKnow) {
    EXPECT_EQ(verdictOf(version3(kOurEngine, "ne18", 0, pdu(kTrapPdu, trapOidBinding()))),
              Verdict::UnknownUser);
    EXPECT_THAT(sent_, IsEmpty());
}

TEST_F(DecoderTest, RefusesEnginesThatAreNotTheUsers) {
    const kelp::traps::EngineId other("\x80\x00\x1f\x88\x05other", 10);
    const Decoder::Result result =
        decode(version3(other, "ne17", 0, pdu(kTrapPdu, trapOidBinding())));
    EXPECT_EQ(result.verdict, Verdict::UnknownEngine);
    EXPECT_EQ(result.engine, other);
}

TEST_F(DecoderTest, RefusesAUsersMessageThatIsNotAuthenticated) {
    const Octets content = pdu(kTrapPdu, joined({upTimeBinding(), trapOidBinding()}));
    EXPECT_EQ(verdictOf(version3(kTheirEngine, "ne17", 0, content)), Verdict::WrongSecurity);
    EXPECT_EQ(verdictOf(version3(kOurEngine, "ne17", 0, content)), Verdict::WrongSecurity);
}

TEST_F(DecoderTest, IsTheOnlyOneInTheProcess) {
    EXPECT_THROW(Decoder({kOurEngine, 1}, {}, {}, nullptr), std::logic_error);
}

}  // namespace
