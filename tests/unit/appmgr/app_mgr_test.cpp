#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <kelp/appmgr/task_mgr.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/trace_capture.h"

namespace {

using testing::ElementsAre;

/// Reports when it is ended and when it is deleted.
class WatchedTaskMgr : public KelpTaskMgr {
  public:
    WatchedTaskMgr(int type, std::string name, std::vector<std::string>& calls)
        : type_(type), name_(std::move(name)), calls_(calls) {}
    ~WatchedTaskMgr() override { calls_.push_back(name_ + " deleted"); }
    int InitEnv() override { return 0; }
    bool Post(Work) override {
        calls_.push_back(name_ + " work");
        return name_ != "full";
    }
    void Exit() override {
        calls_.push_back(name_ + " exit");
        if (name_ == "broken")
            throw std::runtime_error("cannot end");
    }
    int Type() const override { return type_; }

  private:
    const int type_;
    const std::string name_;
    std::vector<std::string>& calls_;
};

class AppMgr : public testing::Test {
  protected:
    ~AppMgr() override { application.Exit(); }
    KelpTaskMgr* insert(int type, const std::string& name) {
        KelpTaskMgr* const made = std::make_unique<WatchedTaskMgr>(type, name, calls).release();
        application.TMDynInsertTaskMgr(made);
        return made;
    }

    std::vector<std::string> calls;
    KelpAppMgr& application = *KelpAppMgr::Instance();
};

TEST_F(AppMgr, FindsTaskManagersByType) {
    EXPECT_EQ(application.Find(21), nullptr);
    KelpTaskMgr* const first = insert(21, "first");
    KelpTaskMgr* const second = insert(22, "second");
    EXPECT_EQ(application.Find(21), first);
    EXPECT_EQ(application.Find(22), second);
    EXPECT_EQ(application.Find(23), nullptr);
}

TEST_F(AppMgr, PostsWorkToTheTaskManagerOfAType) {
    EXPECT_FALSE(application.Post(21, [] {}));
    insert(21, "first");
    insert(22, "full");
    EXPECT_TRUE(application.Post(21, [] {}));
    EXPECT_FALSE(application.Post(22, [] {}));
    EXPECT_THAT(calls, ElementsAre("first work", "full work"));
    application.Exit();
    EXPECT_FALSE(application.Post(21, [] {}));
}

TEST_F(AppMgr, ExitEndsAndDeletesNewestFirst) {
    insert(21, "first");
    insert(22, "second");
    application.Exit();
    EXPECT_THAT(calls, ElementsAre("second exit", "second deleted", "first exit", "first deleted"));
    EXPECT_EQ(application.Find(21), nullptr);
    application.Exit();
    EXPECT_EQ(calls.size(), 4u);
}

TEST_F(AppMgr, SecondOfATypeEndsAndReplacesTheFirst) {
    insert(21, "first");
    KelpTaskMgr* const second = insert(21, "second");
    EXPECT_THAT(calls, ElementsAre("first exit", "first deleted"));
    EXPECT_EQ(application.Find(21), second);
}

TEST_F(AppMgr, SameTaskManagerTwiceStaysOnce) {
    KelpTaskMgr* const first = insert(21, "first");
    application.TMDynInsertTaskMgr(first);
    EXPECT_TRUE(calls.empty());
    application.Exit();
    EXPECT_THAT(calls, ElementsAre("first exit", "first deleted"));
}

TEST_F(AppMgr, NoTaskManagerIsTracedAndIgnored) {
    const kelp::test::TraceCapture trace;
    application.TMDynInsertTaskMgr(nullptr);
    EXPECT_TRUE(trace.contains("no task manager was handed over"));
}

TEST_F(AppMgr, TaskManagerThatFailsToEndIsTracedAndDeleted) {
    const kelp::test::TraceCapture trace;
    insert(21, "first");
    insert(22, "broken");
    application.Exit();
    EXPECT_THAT(calls, ElementsAre("broken exit", "broken deleted", "first exit", "first deleted"));
    EXPECT_TRUE(trace.contains("task manager 22 threw at its end: cannot end"));
}

TEST_F(AppMgr, TaskManagersMayBeHandedOverAgainAfterExit) {
    insert(21, "first");
    application.Exit();
    KelpTaskMgr* const second = insert(21, "second");
    EXPECT_EQ(application.Find(21), second);
}

}  // namespace
