#include <gtest/gtest.h>
#include <kelp/util/thread_context.h>

#include <string>
#include <thread>

namespace {

NS_UTIL::ThreadContextMgr& contexts() {
    return *NS_UTIL::ThreadContextMgr::Instance();
}

NS_UTIL::ThreadContextInfo context(int id, const std::string& name) {
    NS_UTIL::ThreadContextInfo info;
    info.SetThreadID(id);
    info.SetInterfaceName(name);
    info.SetOperUUID("uuid of " + name);
    return info;
}

TEST(ThreadContext, RecordIsEmptyBeforeTheFirstSet) {
    const NS_UTIL::ThreadContextInfo info = contexts().GetThreadContext();
    EXPECT_EQ(info.GetThreadID(), 0);
    EXPECT_EQ(info.GetInterfaceName(), "");
    EXPECT_EQ(info.GetOperUUID(), "");
}

TEST(ThreadContext, SetReplacesTheWholeRecord) {
    contexts().SetThreadContext(context(7, "getEmsSession"));
    NS_UTIL::ThreadContextInfo second;
    second.SetInterfaceName("getManager");
    contexts().SetThreadContext(second);
    const NS_UTIL::ThreadContextInfo info = contexts().GetThreadContext();
    EXPECT_EQ(info.GetThreadID(), 0);
    EXPECT_EQ(info.GetInterfaceName(), "getManager");
    EXPECT_EQ(info.GetOperUUID(), "");
}

TEST(ThreadContext, EachThreadHasItsOwnRecord) {
    contexts().SetThreadContext(context(1, "ping"));
    std::string seenByOther = "nothing";
    std::thread([&] {
        seenByOther = contexts().GetThreadContext().GetInterfaceName();
        contexts().SetThreadContext(context(2, "endSession"));
    }).join();
    EXPECT_EQ(seenByOther, "");
    EXPECT_EQ(contexts().GetThreadContext().GetInterfaceName(), "ping");
}

TEST(ThreadContext, ClearForgetsTheRecord) {
    contexts().SetThreadContext(context(1, "ping"));
    contexts().ClearThreadContext();
    EXPECT_EQ(contexts().GetThreadContext().GetThreadID(), 0);
    EXPECT_EQ(contexts().GetThreadContext().GetInterfaceName(), "");
}

TEST(ThreadContext, RecordIsEmptyOnceTheThreadHasDestroyedIt) {
    static std::string seenAtTheEnd;
    seenAtTheEnd = "nothing";
    struct AsksLate {
        AsksLate() = default;
        ~AsksLate() {
            contexts().SetThreadContext(context(3, "too late"));
            seenAtTheEnd = contexts().GetThreadContext().GetInterfaceName();
        }
    };
    std::thread([] {
        thread_local const AsksLate asksLate;
        (void)asksLate;
        contexts().SetThreadContext(context(2, "ping"));
    }).join();
    EXPECT_EQ(seenAtTheEnd, "");
}

}  // namespace
