#include <gtest/gtest.h>
#include <kelp/util/threads.h>
#include <pthread.h>
#include <signal.h>

#include <stdexcept>
#include <string>

namespace {

TEST(Threads, StartedThreadHasItsNameAndLeavesSignalsToOthers) {
    char name[16] = "";
    sigset_t blocked;
    sigemptyset(&blocked);
    kelp::util::startThread("a-name-that-is-too-long", [&] {
        pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
    }).join();
    kelp::util::startThread("a-name-that-is-too-long", [&] {
        // The starting thread sets the name, which may happen a moment later.
        while (std::string(name) != "a-name-that-is-")
            pthread_getname_np(pthread_self(), name, sizeof name);
    }).join();
    EXPECT_STREQ(name, "a-name-that-is-");
    EXPECT_EQ(sigismember(&blocked, SIGTERM), 1);
    EXPECT_EQ(sigismember(&blocked, SIGINT), 1);

    sigset_t own;
    pthread_sigmask(SIG_BLOCK, nullptr, &own);
    EXPECT_EQ(sigismember(&own, SIGTERM), 0) << "the starter's own signals stay as they were";
}

template <class Thrown>
std::string textOf(Thrown thrown) {
    try {
        throw thrown;
    } catch (...) {
        return kelp::util::currentExceptionText();
    }
}

struct OwnFailure {};

TEST(Threads, CaughtExceptionIsDescribedAsText) {
    EXPECT_EQ(textOf(std::runtime_error("the disk is full")), "the disk is full");
    EXPECT_NE(textOf(OwnFailure{}).find("OwnFailure"), std::string::npos);
    EXPECT_EQ(textOf(7), "an exception of type int");
    EXPECT_EQ(kelp::util::currentExceptionText(), "no exception");
}

}  // namespace
