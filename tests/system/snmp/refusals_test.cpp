#include <arpa/inet.h>
#include <kelp/util/descriptor.h>
#include <kelp/util/trace_log.h>
#include <netinet/in.h>

#include <random>

#include "receiver_fixture.h"
#include "unit/traps/datagrams.h"

namespace {

using namespace kelp::test;
using testing::IsEmpty;
using testing::SizeIs;

/// Sends datagrams that no tool sends.
class RawSender {
  public:
    explicit RawSender(std::uint16_t port)
        : socket_(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
        to_.sin_family = AF_INET;
        to_.sin_port = htons(port);
        to_.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    }

    void send(const Octets& octets) const {
        const ssize_t sent = ::sendto(socket_.get(), octets.data(), octets.size(), 0,
                                      reinterpret_cast<const sockaddr*>(&to_), sizeof to_);
        EXPECT_EQ(sent, static_cast<ssize_t>(octets.size()));
    }

  private:
    kelp::util::Descriptor socket_;
    sockaddr_in to_{};
};

class Refusals : public SnmpTest {
  protected:
    /// Send an inform that is accepted, so that everything sent before has been judged.
    void expectGoodInform() {
        EXPECT_EQ(runToEnd(tool(SNMPINFORM, version2c(), SnmpTest::linkDown())), 0);
    }
};

TEST_F(Refusals, OfAWrongCommunityAreNotAnswered) {
    start();
    EXPECT_EQ(runToEnd(tool(SNMPINFORM, version2c("private"), SnmpTest::linkDown())), 1);
    EXPECT_EQ(countOf("wrongCommunity"), 1u);
    EXPECT_THAT(store_.stored(), IsEmpty());
}

TEST_F(Refusals, OfWrongCredentialsOfVersion3) {
    start();
    const auto inform = [&](const std::vector<std::string>& arguments) {
        return runToEnd(tool(SNMPINFORM, arguments, SnmpTest::linkDown()));
    };
    EXPECT_NE(inform(version3("ne18")), 0);
    EXPECT_GE(countOf("unknownUser"), 1u);
    EXPECT_NE(inform(version3("ne17", "wrong password")), 0);
    EXPECT_GE(countOf("wrongDigest"), 1u);
    EXPECT_NE(inform(version3("ne17", "authentication", "wrong password")), 0);
    EXPECT_GE(countOf("notDecrypted") + countOf("damaged"), 1u);
    std::vector<std::string> clear = version3();
    clear[3] = "authNoPriv";
    EXPECT_NE(inform(clear), 0);
    EXPECT_GE(countOf("wrongSecurity"), 1u);
    EXPECT_THAT(store_.stored(), IsEmpty());
    EXPECT_EQ(inform(version3()), 0);
}

TEST_F(Refusals, OfASourceThatIsNotAllowed) {
    settings_.sources = {"127.0.0.1"};
    start();
    std::vector<std::string> arguments = version2c();
    arguments.insert(arguments.end(), {"--clientaddr=127.0.0.2"});
    EXPECT_EQ(runToEnd(tool(SNMPINFORM, arguments, SnmpTest::linkDown())), 1);
    EXPECT_EQ(countOf("wrongSource"), 1u);
    EXPECT_EQ(countOf("accepted"), 0u);
    expectGoodInform();
}

TEST_F(Refusals, OfVersion1) {
    start();
    EXPECT_EQ(runToEnd(tool(SNMPTRAP, {"-v", "1", "-c", "public"},
                            {"127.0.0.1", "2", "0", "1", "1.3.6.1.2.1.2.2.1.1.4", "i", "4"})),
              0);
    EXPECT_TRUE(waitForCount("unsupportedVersion", 1));
}

TEST_F(Refusals, OfDamagedDatagramsLeaveTheReceiverAtWork) {
    settings_.perSource = {100000, 100000};
    start();
    const RawSender raw(port());
    std::mt19937 random(17);
    const Octets good = kelp::test::linkDown("public");
    for (std::size_t size = 0; size < good.size(); ++size)
        raw.send(Octets(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(size)));
    for (int round = 0; round < 500; ++round) {
        Octets octets(1 + random() % 400);
        for (std::uint8_t& each : octets)
            each = static_cast<std::uint8_t>(random());
        raw.send(octets);
    }
    raw.send(Octets(65507, 0x30));
    EXPECT_TRUE(waitForCount("damaged", good.size()));
    expectGoodInform();
    EXPECT_THAT(store_.stored(), SizeIs(1));
}

TEST_F(Refusals, OfAStormLeaveOtherSourcesUntouched) {
    constexpr std::uint64_t kStorm = 20000;
    settings_.perSource = {1, 300};
    settings_.queueMax = 1000;
    start();
    const RawSender raw(port());
    for (std::uint64_t count = 0; count < kStorm; ++count)
        raw.send(kelp::test::linkDown("public"));
    std::vector<std::string> other = version2c();
    other.insert(other.end(), {"--clientaddr=127.0.0.2"});
    other[5] = "5";
    other[7] = "3";
    EXPECT_EQ(runToEnd(tool(SNMPINFORM, other, SnmpTest::linkDown())), 0);
    EXPECT_GE(countOf("accepted"), 300u);
    EXPECT_LT(countOf("accepted"), 500u);
    EXPECT_GT(countOf("tooMany"), 0u);
}

TEST_F(Refusals, OfAFullQueueAreCounted) {
    settings_.perSource = {100000, 100000};
    settings_.queueMax = 10;
    start();
    store_.hold();
    const RawSender raw(port());
    // the submitter has at most what was in the queue
    for (int count = 0; count < 100; ++count)
        raw.send(kelp::test::linkDown("public"));
    EXPECT_TRUE(waitForCount("queueFull", 80));
    store_.release();
    expectGoodInform();
}

TEST_F(Refusals, NeverTraceACommunityOrAPassword) {
    start();
    std::mutex mutex;
    std::string traced;
    auto& log = kelp::util::TraceLog::instance();
    const int listener = log.addListener([&](const kelp::util::TraceLine& line) {
        const std::lock_guard lock(mutex);
        traced += line.text + "\n";
    });
    EXPECT_EQ(runToEnd(tool(SNMPINFORM, version2c("not-the-community"), SnmpTest::linkDown())), 1);
    EXPECT_NE(
        runToEnd(tool(SNMPINFORM, version3("ne17", "not the password"), SnmpTest::linkDown())), 0);
    log.removeListener(listener);
    EXPECT_THAT(traced, testing::HasSubstr("Refused a message from 127.0.0.1: wrongCommunity"));
    EXPECT_THAT(traced, testing::HasSubstr("wrongDigest"));
    EXPECT_THAT(traced, testing::Not(testing::HasSubstr("not-the-community")));
    EXPECT_THAT(traced, testing::Not(testing::HasSubstr("password")));
}

}  // namespace
