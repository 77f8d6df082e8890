#include <gtest/gtest.h>
#include <kelp/util/thread_context.h>
#include <kelp/util/trace_log.h>

#include <atomic>
#include <future>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "support/trace_capture.h"
#include "support/wait_until.h"

namespace {

using kelp::util::TraceKind;
using kelp::util::TraceLine;
using kelp::util::TraceLog;

TraceLine debugLine(int level, const std::string& text) {
    TraceLine line;
    line.kind = TraceKind::Debug;
    line.level = level;
    line.text = text;
    return line;
}

TEST(TraceListener, GetsLinesInOrderWithAllThatWasRecorded) {
    const kelp::test::TraceCapture capture;
    TraceLine line;
    line.kind = TraceKind::Exception;
    line.file = "sessionmgr";
    line.function = "unknown";
    line.line = 42;
    line.operation = "getManager";
    line.text = "first";
    TraceLog::instance().write(line);
    kelp::util::traceFrom("corbaagent", "second");

    ASSERT_EQ(capture.lines(), (std::vector<std::string>{"first", "second"}));
    const TraceLine kept = capture.records().front();
    EXPECT_EQ(kept.kind, TraceKind::Exception);
    EXPECT_EQ(kept.file, "sessionmgr");
    EXPECT_EQ(kept.line, 42);
    EXPECT_EQ(kept.operation, "getManager");
}

TEST(TraceListener, DiagnosticsAboveTheLevelAreNotKept) {
    const kelp::test::TraceCapture capture;
    TraceLog::instance().setLevel(1);
    TraceLog::instance().write(debugLine(0, "failure"));
    TraceLog::instance().write(debugLine(1, "refusal"));
    TraceLog::instance().write(debugLine(2, "configuration"));
    EXPECT_EQ(capture.lines(), (std::vector<std::string>{"failure", "refusal"}));
    kelp::util::traceFrom("corbaagent", "lifecycle");
    EXPECT_TRUE(capture.contains("lifecycle")) << "lines that are no diagnostics are always kept";
}

TEST(TraceListener, LevelIsClamped) {
    TraceLog::instance().setLevel(17);
    EXPECT_EQ(TraceLog::instance().level(), 3);
    TraceLog::instance().setLevel(-5);
    EXPECT_EQ(TraceLog::instance().level(), 0);
}

TEST(TraceListener, ControlCharactersAreEscapedInEveryText) {
    const kelp::test::TraceCapture capture;
    TraceLine line;
    line.operation = "ping\nforged";
    line.text = "bad\nuser";
    TraceLog::instance().write(line);
    EXPECT_EQ(capture.records().at(0).text, "bad\\nuser");
    EXPECT_EQ(capture.records().at(0).operation, "ping\\nforged");
    EXPECT_TRUE(capture.contains("bad\nuser"))
        << "the capture compares texts as the log keeps them";
}

TEST(TraceListener, LongTextIsCut) {
    const kelp::test::TraceCapture capture;
    kelp::util::traceFrom("sessionmgr", std::string(1u << 20, 'x'));
    EXPECT_EQ(capture.lines().at(0).size(), 8192u);
}

TEST(TraceListener, OperationComesFromTheThreadsRecordWhenTheLineHasNone) {
    const kelp::test::TraceCapture capture;
    NS_UTIL::ThreadContextInfo info;
    info.SetInterfaceName("getEmsSession");
    NS_UTIL::ThreadContextMgr::Instance()->SetThreadContext(info);
    kelp::util::traceFrom("sessionmgr", "inside a request");
    NS_UTIL::ThreadContextMgr::Instance()->ClearThreadContext();
    kelp::util::traceFrom("sessionmgr", "outside of one");
    EXPECT_EQ(capture.records().at(0).operation, "getEmsSession");
    EXPECT_EQ(capture.records().at(1).operation, "");
}

TEST(TraceListener, RemovedListenerIsNotCalledAnyMore) {
    int calls = 0;
    const int handle = TraceLog::instance().addListener([&](const TraceLine&) { ++calls; });
    kelp::util::traceFrom("sessionmgr", "heard");
    TraceLog::instance().removeListener(handle);
    kelp::util::traceFrom("sessionmgr", "unheard");
    EXPECT_EQ(calls, 1);
    TraceLog::instance().removeListener(handle);
}

TEST(TraceListener, RemovalWaitsForARunningCall) {
    std::promise<void> entered;
    std::promise<void> mayLeave;
    std::atomic<bool> left{false};
    const int handle = TraceLog::instance().addListener([&](const TraceLine&) {
        entered.set_value();
        mayLeave.get_future().wait();
        left = true;
    });
    std::thread writer([] { kelp::util::traceFrom("sessionmgr", "slow to hear"); });
    entered.get_future().wait();

    std::atomic<bool> removed{false};
    bool leftFirst = false;
    std::thread remover([&] {
        TraceLog::instance().removeListener(handle);
        leftFirst = left;
        removed = true;
    });
    EXPECT_FALSE(
        kelp::test::waitUntil([&] { return removed.load(); }, std::chrono::milliseconds(50)));
    mayLeave.set_value();
    writer.join();
    remover.join();
    EXPECT_TRUE(leftFirst);
}

TEST(TraceListener, ListenerMayRemoveItself) {
    int calls = 0;
    int handle = 0;
    handle = TraceLog::instance().addListener([&](const TraceLine&) {
        ++calls;
        TraceLog::instance().removeListener(handle);
    });
    kelp::util::traceFrom("sessionmgr", "once");
    kelp::util::traceFrom("sessionmgr", "twice");
    EXPECT_EQ(calls, 1);
}

TEST(TraceListener, WhatAListenerTracesReachesNoListener) {
    int calls = 0;
    const int handle = TraceLog::instance().addListener([&](const TraceLine&) {
        ++calls;
        kelp::util::traceFrom("listener", "about a line");
    });
    kelp::util::traceFrom("sessionmgr", "a line");
    TraceLog::instance().removeListener(handle);
    EXPECT_EQ(calls, 1);
}

TEST(TraceListener, ThrowingListenerHarmsNobody) {
    const int handle = TraceLog::instance().addListener(
        [](const TraceLine&) { throw std::runtime_error("listener is broken"); });
    const kelp::test::TraceCapture capture;
    testing::internal::CaptureStderr();
    kelp::util::traceFrom("sessionmgr", "a line");
    const std::string shown = testing::internal::GetCapturedStderr();
    TraceLog::instance().removeListener(handle);
    EXPECT_TRUE(capture.contains("a line"));
    EXPECT_NE(shown.find("listener is broken"), std::string::npos);
}

TEST(TraceCapture, CountsAndWaits) {
    const kelp::test::TraceCapture capture;
    std::thread writer([] {
        kelp::util::traceFrom("sessionmgr", "one ping");
        kelp::util::traceFrom("sessionmgr", "two pings");
    });
    EXPECT_TRUE(capture.waitFor("two pings"));
    writer.join();
    EXPECT_EQ(capture.count("ping"), 2u);
    EXPECT_FALSE(capture.waitFor("three pings", std::chrono::milliseconds(20)));
}

}  // namespace
