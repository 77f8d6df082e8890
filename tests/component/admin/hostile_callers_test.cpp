// Callers of the operator's interface that are slow, silent, too big, or do not speak HTTP.

#include <gmock/gmock.h>

#include <deque>
#include <thread>

#include "admin_fixture.h"

namespace kelp::host::test {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

class HostileCallers : public AdminServerTest {
  protected:
    /// Return the answer to these bytes.
    std::string answerTo(const std::string& request) const {
        const RawCaller caller(folder_ / "admin.sock");
        EXPECT_TRUE(caller.send(request));
        return caller.readToEnd().value_or("nothing, and the connection stays open");
    }
    std::string answerToPost(const std::string& headers, const std::string& body = "") const {
        return answerTo("POST /echo HTTP/1.1\r\n" + headers + "\r\n" + body);
    }
};

TEST_F(HostileCallers, BodyUpToTheLimitIsAcceptedAndALongerOneIsRefused) {
    AdminLimits limits;
    limits.bodyBytesMax = 100000;
    start(limits);
    httplib::Client caller = client();
    EXPECT_EQ(echoedBytes(caller, '"' + std::string(99998, 'x') + '"'), 100000u);
    const httplib::Result result =
        caller.Post("/echo", '"' + std::string(99999, 'x') + '"', "application/json");
    ASSERT_TRUE(result);
    EXPECT_EQ(result->status, 413);
    EXPECT_EQ(result->body, "{\"error\":\"the body is longer than 100000 bytes\"}\n");
    EXPECT_TRUE(answers());
}

TEST_F(HostileCallers, InvalidLengthIsRefused) {
    start();
    for (const std::string length : {"-1", "x", "99999999999999999999999", "1 2"})
        EXPECT_THAT(
            answerToPost("Content-Type: application/json\r\nContent-Length: " + length + "\r\n",
                         "[]"),
            StartsWith("HTTP/1.1 413 "))
            << length;
}

TEST_F(HostileCallers, BodyOfUnknownLengthIsRefused) {
    start();
    EXPECT_THAT(answerToPost("Content-Type: application/json\r\nTransfer-Encoding: chunked\r\n",
                             "3\r\n[1]\r\n0\r\n\r\n"),
                StartsWith("HTTP/1.1 411 "));
}

TEST_F(HostileCallers, CompressedBodyAndOtherContentTypesAreRefused) {
    start();
    EXPECT_THAT(
        answerToPost("Content-Type: application/json\r\nContent-Encoding: gzip\r\nContent-Length: "
                     "3\r\n",
                     "[1]"),
        StartsWith("HTTP/1.1 415 "));
    for (const std::string type :
         {"", "Content-Type: text/plain\r\n", "Content-Type: application/jsonx\r\n",
          "Content-Type: multipart/form-data; boundary=x\r\n"})
        EXPECT_THAT(answerToPost(type + "Content-Length: 3\r\n", "[1]"),
                    StartsWith("HTTP/1.1 415 "))
            << type;
    EXPECT_THAT(
        answerToPost("Content-Type: application/json; charset=utf-8\r\nContent-Length: 3\r\n",
                     "[1]"),
        StartsWith("HTTP/1.1 200 "));
}

TEST_F(HostileCallers, OtherProtocolsThanHttpAreRefusedInJson) {
    start();
    const std::string answer = answerTo("BREW /pot HTCPCP/1.0\r\n\r\n");
    EXPECT_THAT(answer, StartsWith("HTTP/1.1 400 "));
    EXPECT_THAT(answer, HasSubstr("{\"error\":\"the request cannot be read as HTTP\"}"));
    EXPECT_TRUE(answers());
}

TEST_F(HostileCallers, LongPathIsRefused) {
    start();
    EXPECT_THAT(answerTo("GET /" + std::string(7000, 'a') + " HTTP/1.1\r\n\r\n"),
                StartsWith("HTTP/1.1 414 "));
    EXPECT_THAT(answerTo("GET /a%0Ab HTTP/1.1\r\n\r\n"), StartsWith("HTTP/1.1 404 "));
    EXPECT_TRUE(answers());
}

TEST_F(HostileCallers, EndlessHeaderIsCutOff) {
    AdminLimits limits;
    limits.headBytesMax = 10000;
    limits.bodyBytesMax = 10000;
    limits.readTime = kFarAway;
    start(limits);
    const RawCaller caller(folder_ / "admin.sock");
    ASSERT_TRUE(caller.send("GET /echo HTTP/1.1\r\n"));
    EXPECT_TRUE(kelp::test::waitUntil(
        [&] { return !caller.send("X: " + std::string(1000, 'x') + "\r\n"); }));
    EXPECT_TRUE(answers());
}

TEST_F(HostileCallers, SilentCallerIsCutOffAtItsDeadline) {
    AdminLimits limits;
    limits.readTime = std::chrono::milliseconds(50);
    start(limits);
    const RawCaller silent(folder_ / "admin.sock");
    EXPECT_EQ(silent.readToEnd(), "");
}

TEST_F(HostileCallers, SlowCallerIsCutOffAtItsDeadline) {
    AdminLimits limits;
    limits.readTime = std::chrono::milliseconds(200);
    start(limits);
    const RawCaller dripping(folder_ / "admin.sock");
    ASSERT_TRUE(dripping.send("GET /echo HTTP/1.1\r\nX: "));
    EXPECT_TRUE(kelp::test::waitUntil([&] { return !dripping.send("x"); }));
}

TEST_F(HostileCallers, SilentCallersDelayNobody) {
    AdminLimits limits;
    limits.threads = 3;
    limits.readTime = kFarAway;
    limits.patience = std::chrono::milliseconds(50);
    start(limits);
    std::deque<RawCaller> silent;
    for (int i = 0; i < 10; ++i) {
        silent.emplace_back(folder_ / "admin.sock");
        ASSERT_TRUE(silent.back().send(i % 2 == 0 ? "POST /e" : ""));
    }
    EXPECT_TRUE(answers());
}

TEST_F(HostileCallers, SilentCallerMayStayWhileNobodyWaits) {
    AdminLimits limits;
    limits.threads = 2;
    limits.readTime = kFarAway;
    limits.patience = std::chrono::milliseconds(0);
    start(limits);
    const RawCaller slow(folder_ / "admin.sock");
    ASSERT_TRUE(slow.send(
        "POST /echo HTTP/1.1\r\nContent-Type: application/json\r\nContent-Length: 3\r\n"));
    EXPECT_TRUE(answers());
    ASSERT_TRUE(slow.send("\r\n[7]"));
    EXPECT_THAT(slow.readToEnd().value_or(""), HasSubstr("[7]"));
}

TEST_F(HostileCallers, ConnectionsAboveTheLimitAreClosed) {
    AdminLimits limits;
    limits.threads = 1;
    limits.connectionsMax = 3;
    limits.readTime = kFarAway;
    limits.patience = kFarAway;
    start(limits);
    std::deque<RawCaller> silent;
    for (int i = 0; i < 3; ++i)
        silent.emplace_back(folder_ / "admin.sock");
    const RawCaller oneTooMany(folder_ / "admin.sock");
    EXPECT_EQ(oneTooMany.readToEnd(), "");
}

}  // namespace
}  // namespace kelp::host::test
