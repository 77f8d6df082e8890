#include "request_record.h"

#include <gtest/gtest.h>

namespace {

using kelp::orb::currentPeer;
using kelp::orb::currentRequest;
using kelp::orb::RequestRecord;
using kelp::orb::ThreadRequests;

ThreadRequests& requests() {
    return ThreadRequests::ofThisThread();
}

RequestRecord& arrive(const char* operation) {
    RequestRecord& record = requests().arrive();
    record.assign(operation, "giop:tcp:192.0.2.1:4800", {"EMS<1>", {}, {}});
    return record;
}

std::string operationNow() {
    if (currentRequest() == nullptr)
        return "none";
    const CORBA::String_var operation = currentRequest()->operation();
    return operation.in();
}

TEST(ThreadRequests, ShowTheOneThatArrivedAndThenIsServed) {
    EXPECT_EQ(operationNow(), "none");
    const RequestRecord& arrived = arrive("ping");
    EXPECT_EQ(currentRequest(), &arrived);
    {
        const ThreadRequests::Serving serving(requests());
        EXPECT_EQ(currentRequest(), &arrived);
        EXPECT_EQ(&serving.request(), &arrived);
        EXPECT_EQ(operationNow(), "ping");
        EXPECT_EQ(currentPeer().text, "192.0.2.1");
        EXPECT_EQ(currentRequest()->topPoaName(), "EMS<1>");
    }
    EXPECT_EQ(currentRequest(), nullptr);
    EXPECT_EQ(currentPeer().text, "");
}

TEST(RequestRecord, NamesTheConnectionOfTheRequest) {
    RequestRecord record;
    record.assign("ping", "giop:tcp:192.0.2.1:4800", {"EMS<1>", {}, {}});
    record.assign("getEMS", "giop:tcp:192.0.2.1:4801", {"EMS<2>", {}, {}});
    EXPECT_EQ(record.peer().port, 4801);
    record.assign("getEMS", "giop:tcp:192.0.2.2:4801", {"EMS<2>", {}, {}});
    EXPECT_EQ(record.peer().text, "192.0.2.2");
    EXPECT_EQ(record.topPoaName(), "EMS<2>");
    record.assign(nullptr, nullptr, {});
    EXPECT_EQ(record.peer().text, "");
    EXPECT_EQ(record.peer().port, 0);
    EXPECT_EQ(record.topPoaName(), "");
}

/// Reads keys of the form "top/child/id" and counts the calls.
int keysRead = 0;
RequestRecord::Target readKey(std::string_view key) {
    ++keysRead;
    if (key.empty())
        return {};
    const std::size_t first = key.find('/');
    const std::size_t last = key.rfind('/');
    return {key.substr(0, first), key.substr(first + 1, last - first - 1), key.substr(last + 1)};
}

std::string targetOf(const RequestRecord& record) {
    return record.topPoaName() + "|" + record.childPoaName() + "|" + record.objectId();
}

TEST(RequestRecord, ReadsAKeyOnceForTheRequestsOneAfterTheOtherThatHaveIt) {
    RequestRecord record;
    keysRead = 0;
    for (int i = 0; i < 3; ++i) {
        record.assign("ping", "giop:tcp:192.0.2.1:4800", "EMS<1>/session/1", readKey);
        EXPECT_EQ(targetOf(record), "EMS<1>|session|1");
    }
    EXPECT_EQ(keysRead, 1);
    record.assign("ping", "giop:tcp:192.0.2.1:4800", "EMS<2>/session/1", readKey);
    EXPECT_EQ(targetOf(record), "EMS<2>|session|1");
    record.assign("ping", "giop:tcp:192.0.2.1:4800", "EMS<1>/session/1", readKey);
    EXPECT_EQ(targetOf(record), "EMS<1>|session|1");
}

TEST(RequestRecord, DoesNotConfuseTheTargetsOfDifferentKeys) {
    RequestRecord record;
    record.assign("ping", nullptr, "EMS<1>/session/1", readKey);
    record.assign("ping", nullptr, {"EMS<2>", {}, {}});
    record.assign("ping", nullptr, "EMS<1>/session/1", readKey);
    EXPECT_EQ(targetOf(record), "EMS<1>|session|1");
    record.assign("ping", nullptr, "", readKey);
    EXPECT_EQ(targetOf(record), "||");
    record.assign("ping", nullptr, {"EMS<2>", {}, {}});
    record.assign("ping", nullptr, "", readKey);
    EXPECT_EQ(targetOf(record), "||");
}

TEST(RequestRecord, LendsTheOperationsName) {
    RequestRecord record;
    record.assign("getAllEMSAndMEActiveAlarms", nullptr, {});
    EXPECT_EQ(record.operationName(), "getAllEMSAndMEActiveAlarms");
    record.assign(nullptr, nullptr, {});
    EXPECT_EQ(record.operationName(), "");
}

TEST(ThreadRequests, ForgetTheOneThatIsAnsweredWithoutItsServant) {
    arrive("refused");
    EXPECT_TRUE(requests().hasArrived());
    requests().drop();
    EXPECT_FALSE(requests().hasArrived());
    EXPECT_EQ(currentRequest(), nullptr);
    requests().drop();
    EXPECT_EQ(currentRequest(), nullptr);
}

TEST(ThreadRequests, ForgetTheOneThatNeverReachedItsServantWhenTheNextArrives) {
    arrive("lost");
    arrive("next");
    EXPECT_EQ(operationNow(), "next");
    { const ThreadRequests::Serving serving(requests()); }
    EXPECT_EQ(currentRequest(), nullptr);
}

TEST(ThreadRequests, ReturnToTheOuterOneAfterAnInnerOne) {
    arrive("outer");
    const ThreadRequests::Serving outer(requests());
    const auto* before = currentRequest();
    arrive("inner");
    EXPECT_EQ(operationNow(), "inner");
    {
        const ThreadRequests::Serving inner(requests());
        EXPECT_EQ(operationNow(), "inner");
    }
    EXPECT_EQ(currentRequest(), before);
    EXPECT_EQ(operationNow(), "outer");
    arrive("refused");
    requests().drop();
    EXPECT_EQ(currentRequest(), before);
}

TEST(ThreadRequests, HaveNoOperationWhereTheTransportGivesNone) {
    requests().arrive().assign(nullptr, {}, {"", {}, {}});
    EXPECT_EQ(operationNow(), "");
    requests().drop();
}

}  // namespace
