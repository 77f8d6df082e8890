// The limit for calls from an address without a log-in, and the records and trace lines of its
// requests.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <kelp/corbabase/operation_record.h>
#include <kelp/corbabase/trace.h>

#include "base_orb.h"
#include "open_logs.h"
#include "scripted_interceptor.h"
#include "support/trace_capture.h"

namespace {

using namespace kelp::test;
using kelp::oplog::LogEntry;
using NS_CORBA::AgentServer;
using testing::Each;
using testing::Field;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

constexpr const char* kAccess = "[access]\nallowed_oss = [\"127.0.0.0/8\"]\n";

class RequestRate : public testing::Test {
  protected:
    explicit RequestRate(
        const std::string& limits =
            "requests_per_second_before_login = 1\nrequests_burst_before_login = 5\n")
        : orb_(toml(limits)) {
        EXPECT_EQ(AgentServer::Activate(), 0);
        base().SetReqInterceptorImpl(&interceptor_);
    }
    ~RequestRate() override { base().SetReqInterceptorImpl(nullptr); }

    std::string toml(const std::string& limits) const {
        return kFreePort + OpenLogs::toml(folder_) + "records_per_minute_before_login = 3\n" +
               kAccess + limits;
    }
    struct Outcome {
        int served = 0;
        int refused = 0;
    };
    Outcome ping(int count) {
        Outcome outcome;
        for (int i = 0; i < count; ++i) {
            try {
                session_.ping();
                ++outcome.served;
            } catch (const CORBA::TRANSIENT& refusal) {
                EXPECT_EQ(refusal.minor(), CORBA::OMGVMCID | 1);
                EXPECT_EQ(refusal.completed(), CORBA::COMPLETED_NO);
                ++outcome.refused;
            }
        }
        return outcome;
    }

    TemporaryDirectory folder_;
    BaseOrb orb_;
    OpenLogs logs_{folder_};
    ScriptedInterceptor interceptor_{
        [](const kelp::orb::RequestInfo* ri) { NS_CORBA::TaWriteOperLog(ri, 0); }};
    WireSession session_;
};

TEST_F(RequestRate, RefusesRequestsBeyondTheBurstBeforeAnyOtherCheck) {
    const Outcome outcome = ping(100);
    EXPECT_GE(outcome.served, 5);
    EXPECT_GT(outcome.refused, 50);
    EXPECT_EQ(interceptor_.requests, outcome.served);
    EXPECT_EQ(session_.servant().pings, outcome.served);
    const std::vector<LogEntry> told = logs_.security();
    ASSERT_THAT(told, SizeIs(21)) << "twenty by themselves and a summary";
    EXPECT_THAT(told, Each(Field(&LogEntry::operation, "too-many-requests")));
    EXPECT_THAT(told, Each(Field(&LogEntry::outcome, "TRANSIENT")));
    EXPECT_THAT(told.back().detail,
                StartsWith(std::to_string(outcome.refused - 20) + " more until "));
}

TEST_F(RequestRate, FollowsTheConfiguration) {
    EXPECT_GT(ping(20).refused, 0);
    configure(toml("requests_per_second_before_login = 0\n"));
    EXPECT_EQ(ping(100).refused, 0) << "0: no limit";
    configure(toml("requests_per_second_before_login = 1\nrequests_burst_before_login = 1\n"));
    EXPECT_GT(ping(20).refused, 10);
}

TEST_F(RequestRate, CallsInsideTheProcessAreNotLimited) {
    const nmsSession::NmsSession_I_var own =
        nmsSession::NmsSession_I::_unchecked_narrow(session_.own());
    for (int i = 0; i < 100; ++i)
        EXPECT_NO_THROW(own->ping());
}

class RequestsBeforeLogIn : public RequestRate {
  protected:
    RequestsBeforeLogIn() : RequestRate("requests_per_second_before_login = 0\n") {}
};

TEST_F(RequestsBeforeLogIn, AreLoggedInTheirOwnPartUpToALimitAMinuteAndSummarisedBeyondIt) {
    EXPECT_EQ(ping(50).served, 50);
    const std::vector<LogEntry> records = logs_.operations();
    ASSERT_THAT(records, SizeIs(4));
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(records[i].operation, "ping");
        EXPECT_THAT(records[i].detail, IsEmpty());
    }
    EXPECT_EQ(records[3].peer, "127.0.0.1");
    EXPECT_EQ(records[3].outcome, "ok");
    EXPECT_THAT(records[3].detail, StartsWith("47 more until "));
    EXPECT_TRUE(std::filesystem::exists(folder_ / "oplog-before-login.db"));
}

TEST_F(RequestsBeforeLogIn, RefusedRequestsHaveTheirOwnSummary) {
    const std::string address = wireAddress(session_.own());
    const CORBA::ORB_var orb = base().GetOrb();
    const CORBA::Object_var nobody =
        kelp::orb::toReference(orb.in(), address.substr(0, address.rfind('/')) + "/Nobody");
    const auto remote = nmsSession::NmsSession_I::_unchecked_narrow(nobody.in());
    const nmsSession::NmsSession_I_var held = remote;
    for (int i = 0; i < 10; ++i)
        EXPECT_THROW(held->ping(), CORBA::OBJECT_NOT_EXIST);
    EXPECT_EQ(ping(10).served, 10);
    int summaries = 0;
    for (const LogEntry& each : logs_.operations()) {
        if (each.detail.empty())
            continue;
        ++summaries;
        EXPECT_THAT(each.detail, StartsWith("7 more until ")) << each.outcome;
    }
    EXPECT_EQ(summaries, 2);
}

TEST_F(RequestsBeforeLogIn, TraceOnlySomeOfTheLinesThatTheyCause) {
    ScriptedInterceptor talkative([](const kelp::orb::RequestInfo*) {
        NS_CORBA::tracePoint("test");
        NS_CORBA::TaTrace("somebody calls");
    });
    base().SetReqInterceptorImpl(&talkative);
    const TraceCapture trace;
    EXPECT_EQ(ping(100).served, 100);
    EXPECT_EQ(trace.count("somebody calls"), 20u);
    base().SetReqInterceptorImpl(&interceptor_);
}

}  // namespace
