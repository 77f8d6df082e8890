// kelpnms is interrupted while it reads a large network: its messages, the file it keeps, and how
// it continues.

#include <gtest/gtest.h>
#include <signal.h>

#include "network_fixture.h"

namespace kelp::test {
namespace {

class KelpnmsCutShort : public KelpnmsNetworkTest {
  protected:
    /// The network is so large that reading a list in batches of 1 takes much longer than the
    /// test's actions meanwhile.
    void startHostWithLargeNetwork() { startHostWithGenerated(30, 3000); }

    std::filesystem::path file() const { return scratch_ / "network.jsonl"; }
    std::filesystem::path partial() const { return scratch_ / "network.jsonl.partial"; }

    /// Start a dump to the file and return in the middle of the elements.
    ChildProcess dumpUnderWay(const std::vector<std::string>& more = {}) {
        std::vector<std::string> arguments = {"dump", file().string(), "--batch", "1"};
        arguments.insert(arguments.begin(), more.begin(), more.end());
        ChildProcess nms(launch(arguments));
        EXPECT_TRUE(hasLines(partial(), 200)) << output();
        return nms;
    }
    /// Continue from the partial file, and compare the result with an uninterrupted dump.
    void expectToGoOnWith(const std::string& element) {
        ASSERT_NE(element, "") << output();
        EXPECT_EQ(run({"dump", file().string(), "--from", element}), 0) << output();
        EXPECT_FALSE(std::filesystem::exists(partial()));
        EXPECT_TRUE(contentOf(file()) == listed({"dump"})) << "something is lost or came twice";
    }
};

TEST_F(KelpnmsCutShort, KilledEmsLeavesWhatWasReadAndTheElementToContinueWith) {
    startHostWithLargeNetwork();
    ChildProcess nms = dumpUnderWay();
    LogFile told = log_;
    host_.process().kill();
    EXPECT_EQ(nms.waitExit(), 5) << told.text();
    EXPECT_TRUE(told.contains("getAll")) << told.text();
    log_ = told;
    const std::string element = toGoOnWith();
    EXPECT_FALSE(std::filesystem::exists(file()));
    host_.start();
    ASSERT_TRUE(eventually([this] { return run({"find"}, false) == 0; })) << output();
    expectToGoOnWith(element);
}

TEST_F(KelpnmsCutShort, PortsOnStandardOutputCanBeContinued) {
    startHostWithLargeNetwork();
    const std::filesystem::path first = scratch_ / "first";
    ChildProcess nms(launchTo(first, {"ports", "--json", "--batch", "1"}));
    ASSERT_TRUE(hasLines(first, 400)) << output();
    nms.signal(SIGINT);
    EXPECT_EQ(nms.waitExit(), 128 + SIGINT) << output();
    const std::string element = toGoOnWith();
    ASSERT_NE(element, "") << output();
    std::vector<std::string> ports = linesOf(contentOf(first));
    EXPECT_TRUE(
        log_.contains("interrupted: cut short after " + std::to_string(ports.size()) + " ports"))
        << output();
    const std::string partWay = "the last ";
    if (const std::size_t at = output().find(partWay); at != std::string::npos)
        ports.resize(ports.size() - std::stoul(output().substr(at + partWay.size())));
    for (const std::string& line : linesOf(listed({"ports", "--json", "--from", element})))
        ports.push_back(line);
    EXPECT_TRUE(ports == linesOf(listed({"ports", "--json"}))) << "something is lost or came twice";
    EXPECT_TRUE(allSessionsGone());
}

TEST_F(KelpnmsCutShort, InterruptedDumpLogsOutAndCanBeContinued) {
    startHostWithLargeNetwork();
    ChildProcess nms = dumpUnderWay({"--verbose"});
    nms.signal(SIGTERM);
    EXPECT_EQ(nms.waitExit(), 128 + SIGTERM) << output();
    EXPECT_TRUE(log_.contains("logged out")) << output();
    EXPECT_TRUE(allSessionsGone());
    expectToGoOnWith(toGoOnWith());
}

TEST_F(KelpnmsCutShort, SecondInterruptEndsAtOnceAndStillSaysHowToContinue) {
    startHostWithLargeNetwork();
    ChildProcess nms = dumpUnderWay({"--timeout", "600"});
    host_.process().freeze();
    // The first signal waits for the call that hangs. When kelpnms receives the signals decides
    // which of them counts as the second.
    ASSERT_TRUE(eventually([&] {
        nms.signal(SIGINT);
        return !nms.isRunning();
    }));
    EXPECT_EQ(nms.waitExit(), 128 + SIGINT) << output();
    host_.process().thaw();
    expectToGoOnWith(toGoOnWith());
}

TEST_F(KelpnmsCutShort, EmsThatHangsIsGivenUpAtTheTimeout) {
    startHostWithLargeNetwork();
    ChildProcess nms = dumpUnderWay({"--timeout", "1"});
    host_.process().freeze();
    EXPECT_EQ(nms.waitExit(), 5) << output();
    EXPECT_TRUE(log_.contains("TIMEOUT")) << output();
    host_.process().thaw();
    expectToGoOnWith(toGoOnWith());
    EXPECT_TRUE(allSessionsGone());
}

TEST_F(KelpnmsCutShort, SessionThatTheEmsEndsIsReported) {
    startHostWithLargeNetwork();
    ChildProcess nms = dumpUnderWay();
    host_.user({"disable", "demo"});
    EXPECT_EQ(nms.waitExit(), 6) << output();
    EXPECT_TRUE(log_.contains("the EMS has ended the session")) << output();
    const std::string element = toGoOnWith();
    EXPECT_TRUE(allSessionsGone());
    host_.user({"enable", "demo"});
    expectToGoOnWith(element);
}

TEST_F(KelpnmsCutShort, KilledDumpMustBeginAgain) {
    startHostWithLargeNetwork();
    ChildProcess nms = dumpUnderWay();
    nms.kill();
    EXPECT_EQ(run({"dump", file().string(), "--from", "NE-01"}), 2);
    EXPECT_TRUE(log_.contains("does not end with a whole element; begin again without --from"))
        << output();
    EXPECT_EQ(run({"dump", file().string()}), 0) << output();
    EXPECT_TRUE(contentOf(file()) == listed({"dump"}));
}

TEST_F(KelpnmsCutShort, OutputThatCannotBeWrittenEndsTheSession) {
    startHostWithLargeNetwork();
    EXPECT_EQ(runToEnd(launchTo("/dev/full", {"ports"})), 9);
    EXPECT_TRUE(log_.contains("standard output cannot be written: No space left on device"))
        << output();
    Launch intoHead = launch({"ports"});
    intoHead.arguments.insert(
        intoHead.arguments.begin(),
        {"-c", "\"$@\" | head -n 3; exit ${PIPESTATUS[0]}", "bash", intoHead.program.string()});
    intoHead.program = "/bin/bash";
    EXPECT_EQ(runToEnd(intoHead), 9) << output();
    EXPECT_TRUE(allSessionsGone());
}

}  // namespace
}  // namespace kelp::test
