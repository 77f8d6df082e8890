#include <gtest/gtest.h>
#include <kelp/bundlemgr/exceptions.h>
#include <kelp/bundlemgr/service_object.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace NS_BUNDLEMGR1;

TEST(InterfaceRegistry, EntriesAreFoundByTheirKey) {
    NULLServiceInterface one;
    NULLServiceInterface two;
    SetIFBuf("one", &one);
    SetIFBuf("two", &two);
    EXPECT_EQ(CheckIFBuf("one"), &one);
    EXPECT_EQ(CheckIFBuf("two"), &two);
    EXPECT_EQ(CheckIFBuf("One"), nullptr);
    EXPECT_EQ(CheckIFBuf(""), nullptr);
}

TEST(InterfaceRegistry, SecondEntryReplacesTheFirst) {
    NULLServiceInterface one;
    NULLServiceInterface two;
    SetIFBuf("key", &one);
    SetIFBuf("key", &two);
    EXPECT_EQ(CheckIFBuf("key"), &two);
}

TEST(InterfaceRegistry, RemovalTakesEveryEntryOfAnInterfaceAndNoOther) {
    NULLServiceInterface one;
    NULLServiceInterface two;
    SetIFBuf("a", &one);
    SetIFBuf("b", &two);
    SetIFBuf("c", &one);
    RemoveIFBuf(&one);
    EXPECT_EQ(CheckIFBuf("a"), nullptr);
    EXPECT_EQ(CheckIFBuf("b"), &two);
    EXPECT_EQ(CheckIFBuf("c"), nullptr);
    RemoveIFBuf(&one);
}

TEST(InterfaceRegistry, RequiredInterfaceThatIsMissingIsAnException) {
    NULLServiceInterface one;
    SetIFBuf("key", &one);
    EXPECT_EQ(RequireIF("key"), &one);
    RemoveIFBuf(&one);
    EXPECT_THROW(RequireIF("key"), InterfaceNotExistException);
}

TEST(InterfaceRegistry, MayBeUsedFromManyThreads) {
    NULLServiceInterface shared;
    SetIFBuf("shared", &shared);
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            NULLServiceInterface own;
            const std::string key = "own " + std::to_string(t);
            for (int i = 0; i < 500; ++i) {
                SetIFBuf(key, &own);
                wrong += CheckIFBuf(key) == &own && CheckIFBuf("shared") == &shared ? 0 : 1;
                RemoveIFBuf(&own);
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
}

}  // namespace
