#include <gtest/gtest.h>
#include <kelp/bundlemgr/config_store.h>
#include <kelp/corbabase/trace.h>
#include <kelp/util/trace_log.h>

#include "config_text.h"
#include "support/temporary_directory.h"

using kelp::test::configure;
using kelp::test::TemporaryDirectory;
using kelp::util::TraceLog;
using NS_CORBA::CorbaLogMgr;

namespace {

TEST(CorbaLogMgr, OpensTheConfiguredFileAndClosesItWithItsLastUser) {
    const TemporaryDirectory folder;
    configure("[trace]\nsinks = [\"file\"]\nfile = \"" + (folder.path() / "kelp.log").string() +
              "\"\n");
    ASSERT_TRUE(CorbaLogMgr::Instance()->Init());
    ASSERT_TRUE(CorbaLogMgr::Instance()->Init());
    NS_CORBA::TaTrace("first");
    CorbaLogMgr::Destroy();
    EXPECT_TRUE(TraceLog::instance().isOpen());
    NS_CORBA::TaTrace("second");
    CorbaLogMgr::Destroy();
    EXPECT_FALSE(TraceLog::instance().isOpen());
    const std::string written = kelp::test::contentOf(folder.path() / "kelp.log");
    EXPECT_NE(written.find("first"), std::string::npos);
    EXPECT_NE(written.find("second"), std::string::npos);
}

TEST(CorbaLogMgr, LeavesTheHostsTraceOpen) {
    const TemporaryDirectory folder;
    kelp::util::TraceSettings settings;
    settings.console = false;
    settings.file = (folder.path() / "host.log").string();
    std::string whyNot;
    ASSERT_TRUE(TraceLog::instance().open(settings, whyNot)) << whyNot;
    ASSERT_TRUE(CorbaLogMgr::Instance()->Init());
    CorbaLogMgr::Destroy();
    NS_CORBA::TaTrace("after the module");
    EXPECT_TRUE(TraceLog::instance().isOpen());
    TraceLog::instance().close();
    EXPECT_NE(kelp::test::contentOf(folder.path() / "host.log").find("after the module"),
              std::string::npos);
}

TEST(CorbaLogMgr, FailsWhenASinkCannotBeOpened) {
    const TemporaryDirectory folder;
    configure("[trace]\nsinks = [\"file\"]\nfile = \"" + folder.path().string() + "\"\n");
    testing::internal::CaptureStderr();
    EXPECT_FALSE(CorbaLogMgr::Instance()->Init());
    EXPECT_NE(testing::internal::GetCapturedStderr().find("[CorbaLogMgr::Init]"),
              std::string::npos);
}

TEST(CorbaLogMgr, DestroyWithoutInitIsHarmless) {
    CorbaLogMgr::Destroy();
    CorbaLogMgr::Destroy();
    configure("");
    EXPECT_TRUE(CorbaLogMgr::Instance()->Init());
    EXPECT_TRUE(TraceLog::instance().isOpen());
    CorbaLogMgr::Destroy();
}

}  // namespace
