#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <kelp/bundlemgr/bundle_mgr.h>

#include <string>
#include <vector>

#include "call_recorder.h"
#include "support/temporary_directory.h"
#include "support/trace_capture.h"

namespace {

using NS_BUNDLEMGR1::BundleMgr;
using testing::ElementsAre;
using testing::HasSubstr;

class BundleMgrTest : public testing::Test {
  protected:
    ~BundleMgrTest() override { BundleMgr::Instance()->Stop(); }

    bool start(const std::vector<std::string>& services) {
        return BundleMgr::Instance()->Start(TEST_BUNDLES_DIR, services, whyNot);
    }
    static bool isLoaded(const std::string& service) {
        void* const handle =
            ::dlopen((std::string(TEST_BUNDLES_DIR) + "/lib" + service + ".so").c_str(),
                     RTLD_NOW | RTLD_NOLOAD);
        if (handle != nullptr)
            ::dlclose(handle);
        return handle != nullptr;
    }

    CallRecorder recorder;
    const kelp::test::TraceCapture trace;
    std::string whyNot;
};

TEST_F(BundleMgrTest, BundlesStartInOrderAndStopInReverse) {
    ASSERT_TRUE(start({"kelptest_first", "kelptest_second"})) << whyNot;
    EXPECT_THAT(recorder.calls, ElementsAre("kelptest_first init", "kelptest_second init"));
    recorder.calls.clear();
    BundleMgr::Instance()->Stop();
    EXPECT_THAT(recorder.calls, ElementsAre("kelptest_second Shutdown", "kelptest_second fini",
                                            "kelptest_second deleter", "kelptest_second destroyed",
                                            "kelptest_first Shutdown", "kelptest_first fini",
                                            "kelptest_first deleter", "kelptest_first destroyed"));
}

TEST_F(BundleMgrTest, StoppedBundlesAreUnloadedAndStartAgain) {
    ASSERT_TRUE(start({"kelptest_first"})) << whyNot;
    EXPECT_TRUE(isLoaded("kelptest_first"));
    BundleMgr::Instance()->Stop();
    EXPECT_FALSE(isLoaded("kelptest_first"));
    ASSERT_TRUE(start({"kelptest_first"})) << whyNot;
}

TEST_F(BundleMgrTest, BundleThatLeavesAThreadBehindStaysLoadedThatTime) {
    ASSERT_TRUE(start({"kelptest_without_deleter", "kelptest_second"})) << whyNot;
    BundleMgr::Instance()->KeepLoaded("kelptest_without_deleter");
    BundleMgr::Instance()->Stop();
    EXPECT_TRUE(isLoaded("kelptest_without_deleter"));
    EXPECT_FALSE(isLoaded("kelptest_second"));
    EXPECT_TRUE(trace.contains("bundle kelptest_without_deleter stays loaded"));
    EXPECT_THAT(recorder.calls, testing::Contains("kelptest_without_deleter destroyed"));
    ASSERT_TRUE(start({"kelptest_without_deleter"})) << whyNot;
    BundleMgr::Instance()->Stop();
}

TEST_F(BundleMgrTest, StartedServiceObjectsAreFoundByName) {
    EXPECT_EQ(BundleMgr::Instance()->Find("kelptest_first"), nullptr);
    ASSERT_TRUE(start({"kelptest_first", "kelptest_second"})) << whyNot;
    NS_BUNDLEMGR1::ServiceObjectBase* const found = BundleMgr::Instance()->Find("kelptest_second");
    ASSERT_NE(found, nullptr);
    EXPECT_STREQ(found->GetName(), "kelptest_second");
    EXPECT_EQ(found->BundleName(), "test_bundle");
    EXPECT_EQ(BundleMgr::Instance()->Find("kelptest_third"), nullptr);
    BundleMgr::Instance()->Stop();
    EXPECT_EQ(BundleMgr::Instance()->Find("kelptest_second"), nullptr);
}

TEST_F(BundleMgrTest, InitThatFailsStopsTheStartedOnesWithoutAShutdownOfItsOwn) {
    recorder.behaviours["kelptest_second"] = "init fails";
    EXPECT_FALSE(start({"kelptest_first", "kelptest_second"}));
    EXPECT_EQ(whyNot, "bundle kelptest_second did not start: init returned 7");
    EXPECT_THAT(recorder.calls,
                ElementsAre("kelptest_first init", "kelptest_second init", "kelptest_second fini",
                            "kelptest_second deleter", "kelptest_second destroyed",
                            "kelptest_first Shutdown", "kelptest_first fini",
                            "kelptest_first deleter", "kelptest_first destroyed"));
    EXPECT_TRUE(trace.contains(whyNot));
    EXPECT_FALSE(isLoaded("kelptest_first"));
    EXPECT_FALSE(isLoaded("kelptest_second"));
}

TEST_F(BundleMgrTest, BundlesAfterAFailedOneAreNotLoaded) {
    recorder.behaviours["kelptest_first"] = "init fails";
    EXPECT_FALSE(start({"kelptest_first", "kelptest_second"}));
    EXPECT_FALSE(isLoaded("kelptest_second"));
    EXPECT_THAT(recorder.calls, testing::Each(HasSubstr("kelptest_first")));
}

TEST_F(BundleMgrTest, InitThatThrowsIsAFailureWithItsReason) {
    recorder.behaviours["kelptest_first"] = "init throws";
    EXPECT_FALSE(start({"kelptest_first"}));
    EXPECT_EQ(whyNot, "init of bundle kelptest_first threw: the port is taken");
    EXPECT_EQ(trace.count(whyNot), 1u);
    EXPECT_THAT(recorder.calls, ElementsAre("kelptest_first init", "kelptest_first fini",
                                            "kelptest_first deleter", "kelptest_first destroyed"));
}

TEST_F(BundleMgrTest, BundleThatFailsAtTheStopDelaysNoOther) {
    recorder.behaviours["kelptest_second"] = "Shutdown throws";
    recorder.behaviours["kelptest_first"] = "fini fails";
    ASSERT_TRUE(start({"kelptest_first", "kelptest_second"})) << whyNot;
    BundleMgr::Instance()->Stop();
    EXPECT_THAT(recorder.calls, testing::Contains("kelptest_second fini"));
    EXPECT_THAT(recorder.calls, testing::Contains("kelptest_first destroyed"));
    EXPECT_TRUE(trace.contains("Shutdown of bundle kelptest_second threw: cannot stop"));
    EXPECT_TRUE(trace.contains("fini of bundle kelptest_first returned -1"));
}

TEST_F(BundleMgrTest, MissingFileIsNamed) {
    EXPECT_FALSE(start({"kelptest_missing"}));
    EXPECT_EQ(whyNot, "bundle kelptest_missing cannot be loaded: there is no file " TEST_BUNDLES_DIR
                      "/libkelptest_missing.so");
}

TEST_F(BundleMgrTest, MissingFactoryFunctionIsNamed) {
    EXPECT_FALSE(start({"kelptest_without_factory"}));
    EXPECT_THAT(whyNot, HasSubstr("bundle kelptest_without_factory has no factory function "
                                  "_make_kelptest_without_factory: "));
    EXPECT_THAT(whyNot, HasSubstr("undefined symbol"));
    EXPECT_FALSE(isLoaded("kelptest_without_factory"));
}

TEST_F(BundleMgrTest, UnresolvedSymbolIsFoundAtTheStart) {
    EXPECT_FALSE(start({"kelptest_unresolved"}));
    EXPECT_THAT(whyNot, HasSubstr("bundle kelptest_unresolved cannot be loaded: "));
    EXPECT_THAT(whyNot, HasSubstr("kelptest_function_that_nobody_has"));
}

TEST_F(BundleMgrTest, FileThatIsNoSharedObjectIsRefused) {
    const kelp::test::TemporaryDirectory directory;
    directory.write("libkelptest_text.so", "this is no program");
    EXPECT_FALSE(BundleMgr::Instance()->Start(directory.path(), {"kelptest_text"}, whyNot));
    EXPECT_THAT(whyNot, HasSubstr("bundle kelptest_text cannot be loaded: "));
    EXPECT_THAT(whyNot, HasSubstr("file too short"));
}

TEST_F(BundleMgrTest, FactoryThatMakesNothingOrSomethingElseIsRefused) {
    recorder.behaviours["kelptest_first"] = "nothing is made";
    EXPECT_FALSE(start({"kelptest_first"}));
    EXPECT_THAT(whyNot, HasSubstr("made no service object"));
    EXPECT_FALSE(start({"kelptest_foreign"}));
    EXPECT_THAT(whyNot, HasSubstr("made no NS_BUNDLEMGR1::ServiceObjectBase"));
}

TEST_F(BundleMgrTest, ObjectWithoutADeleterIsStillDeleted) {
    ASSERT_TRUE(start({"kelptest_without_deleter"})) << whyNot;
    BundleMgr::Instance()->Stop();
    EXPECT_THAT(recorder.calls,
                ElementsAre("kelptest_without_deleter init", "kelptest_without_deleter Shutdown",
                            "kelptest_without_deleter fini", "kelptest_without_deleter destroyed"));
}

TEST_F(BundleMgrTest, StartWhileRunningIsRefused) {
    ASSERT_TRUE(start({"kelptest_first"})) << whyNot;
    EXPECT_FALSE(start({"kelptest_second"}));
    EXPECT_EQ(whyNot, "bundles are already running");
    EXPECT_NE(BundleMgr::Instance()->Find("kelptest_first"), nullptr);
}

TEST_F(BundleMgrTest, StopWithoutAStartIsHarmless) {
    BundleMgr::Instance()->Stop();
    EXPECT_TRUE(recorder.calls.empty());
}

}  // namespace
