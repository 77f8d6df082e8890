// What a process leaves behind if it is killed, or asked to stop, while it writes.

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <thread>

#include "log_fixture.h"

namespace kelp::test {
namespace {

using testing::SizeIs;

class LogStop : public LogTest {
  protected:
    /// Fork a process that writes records until it is killed. Kill it as soon as there are `enough`
    /// records.
    template <class Log, class Make>
    void killAmidWriting(LogKind kind, std::int64_t enough, Make make) {
        const pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            Log log(settings());
            for (int i = 1;; ++i) {
                log.write(make(i));
                std::this_thread::sleep_for(20us);
            }
        }
        const bool wrote = waitUntil([&] { return lastId(kind) >= enough; }, kPatience);
        ::kill(child, SIGKILL);
        ::waitpid(child, nullptr, 0);
        ASSERT_TRUE(wrote);
    }
    std::int64_t lastId(LogKind kind) const {
        try {
            LogQuery query;
            query.newest = 1;
            const std::vector<LogEntry> entries = read(database(), kind, query);
            return entries.empty() ? 0 : entries.back().id;
        } catch (const std::exception&) {
            return 0;
        }
    }
};

TEST_F(LogStop, AKilledProcessLeavesWholeBatchesAndALogThatOpensClean) {
    killAmidWriting<OperationLog>(LogKind::Operations, 5000,
                                  [](int i) { return request(std::to_string(i)); });
    const std::int64_t before = lastId(LogKind::Operations);
    {
        OperationLog log(settings());
        log.write(request("after"));
    }
    const std::vector<LogEntry> entries = read();
    ASSERT_GE(entries.size(), 5001u);
    for (std::size_t i = 0; i + 1 < entries.size(); ++i)
        ASSERT_EQ(entries[i].operation, std::to_string(i + 1));
    EXPECT_EQ(entries.back().operation, "after");
    EXPECT_EQ(entries.back().id, before + 1);
    EXPECT_EQ(OtherConnection(database())
                  .number("SELECT count(*) FROM pragma_integrity_check "
                          "WHERE integrity_check <> 'ok'"),
              0);
    EXPECT_FALSE(trace_.contains("damaged"));
}

TEST_F(LogStop, WhatWasFlushedSurvivesTheKill) {
    int ready[2];
    ASSERT_EQ(::pipe(ready), 0);
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        OperationLog log(settings());
        for (int i = 0; i < 1234; ++i)
            log.write(request("flushed"));
        const char told = log.flush(kPatience) ? 'y' : 'n';
        (void)!::write(ready[1], &told, 1);
        ::pause();
    }
    char told = 0;
    EXPECT_EQ(::read(ready[0], &told, 1), 1);
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    ::close(ready[0]);
    ::close(ready[1]);
    EXPECT_EQ(told, 'y');
    EXPECT_THAT(read(), SizeIs(1234));
}

TEST_F(LogStop, TheChainOfAKilledProcessIsWhole) {
    killAmidWriting<SecurityLog>(LogKind::Security, 500,
                                 [](int i) { return login(std::to_string(i)); });
    SecurityLog(settings()).stop();
    const Verification verification = verify(database());
    EXPECT_GE(verification.records, 500u);
    EXPECT_THAT(verification.problems, SizeIs(0));
}

TEST_F(LogStop, WritesAllAcceptedRecordsWhileManyWrite) {
    OperationLog log(settings());
    std::atomic<std::uint64_t> taken = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&] {
            while (log.write(request("getEMS")))
                ++taken;
        });
    ASSERT_TRUE(waitUntil([&] { return taken > 20000; }, kPatience));
    log.stop();
    for (std::thread& each : threads)
        each.join();
    const LogCounts counts = log.counts();
    EXPECT_EQ(counts.waiting, 0u);
    EXPECT_EQ(counts.aside, 0u);
    OtherConnection other(database());
    EXPECT_EQ(static_cast<std::uint64_t>(
                  other.number("SELECT coalesce(sum(records), 0) FROM block WHERE missing = 0")),
              taken);
    EXPECT_EQ(
        static_cast<std::uint64_t>(other.number("SELECT coalesce(sum(missing), 0) FROM block")),
        counts.missing);
}

}  // namespace
}  // namespace kelp::test
