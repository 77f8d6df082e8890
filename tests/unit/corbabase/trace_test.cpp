#include <gtest/gtest.h>
#include <kelp/corbabase/ref_count.h>
#include <kelp/corbabase/trace.h>
#include <kelp/orb/exception_text.h>
#include <kelp/util/thread_context.h>

#include <thread>

#include "support/trace_capture.h"

using kelp::test::TraceCapture;
using kelp::util::TraceKind;

namespace {

kelp::util::TraceLine onlyLine(const TraceCapture& capture) {
    EXPECT_EQ(capture.records().size(), 1u);
    return capture.records().empty() ? kelp::util::TraceLine{} : capture.records().front();
}

TEST(Trace, FormatsItsArgumentsAndCarriesTheThreadsRecord) {
    const TraceCapture capture;
    NS_CORBA::GetTss()->Set("sessionmgr", "unknown", 42);
    NS_CORBA::TaTrace("NMS-<%s> has %d sessions", "10.0.0.1:5000", 3);
    const kelp::util::TraceLine line = onlyLine(capture);
    EXPECT_EQ(line.kind, TraceKind::Trace);
    EXPECT_EQ(line.text, "NMS-<10.0.0.1:5000> has 3 sessions");
    EXPECT_EQ(line.file, "sessionmgr");
    EXPECT_EQ(line.function, "unknown");
    EXPECT_EQ(line.line, 42);
}

TEST(Trace, PointNamesTheSubjectAndTheCallersLine) {
    const TraceCapture capture;
    NS_CORBA::tracePoint("sessionmgr");
    const int line = __LINE__ - 1;
    NS_CORBA::TaTrace("here");
    const kelp::util::TraceLine traced = onlyLine(capture);
    EXPECT_EQ(traced.file, "sessionmgr");
    EXPECT_EQ(traced.function, "unknown");
    EXPECT_EQ(traced.line, line);
}

TEST(Trace, PointMayNameTheLineOfAnotherPlace) {
    const TraceCapture capture;
    NS_CORBA::tracePoint("sessionmgr", 7);
    NS_CORBA::TaTrace("there");
    EXPECT_EQ(onlyLine(capture).line, 7);
}

TEST(Trace, GrowsWithTheText) {
    const TraceCapture capture;
    const std::string longText(5000, 'x');
    NS_CORBA::TaTrace("<%s>", longText.c_str());
    EXPECT_EQ(onlyLine(capture).text, "<" + longText + ">");
}

TEST(Trace, APeersTextIsNoFormat) {
    const TraceCapture capture;
    NS_CORBA::TaDebug(1, "user %s%n%d logs in");
    NS_CORBA::TaTrace("user %s", "%s%n%d");
    EXPECT_TRUE(capture.contains("user %s%n%d logs in"));
    EXPECT_EQ(capture.count("user %s%n%d"), 2u);
}

TEST(Trace, CarriesTheOperationOfTheCurrentRequest) {
    const TraceCapture capture;
    NS_UTIL::ThreadContextInfo context;
    context.SetInterfaceName("getManager");
    NS_UTIL::ThreadContextMgr::Instance()->SetThreadContext(context);
    NS_CORBA::TaTrace("in a request");
    NS_UTIL::ThreadContextMgr::Instance()->ClearThreadContext();
    EXPECT_EQ(onlyLine(capture).operation, "getManager");
}

TEST(Trace, DiagnosticsAboveTheLevelAreDropped) {
    const TraceCapture capture;
    kelp::util::TraceLog::instance().setLevel(1);
    NS_CORBA::TaDebug(1, "kept");
    NS_CORBA::TaDebug(2, "dropped");
    NS_CORBA::TaDebugWithPara(1, "kept %d", 2);
    NS_CORBA::TaDebugWithPara(2, "dropped %d", 2);
    EXPECT_EQ(capture.count("kept"), 2u);
    EXPECT_FALSE(capture.contains("dropped"));
}

TEST(Trace, AppendsAnExceptionToTheText) {
    const TraceCapture capture;
    const CORBA::TRANSIENT transient(7, CORBA::COMPLETED_NO);
    NS_CORBA::TaException(transient, "[Class::Operation] went wrong!");
    const kelp::util::TraceLine line = onlyLine(capture);
    EXPECT_EQ(line.kind, TraceKind::Exception);
    EXPECT_EQ(line.text, "[Class::Operation] went wrong! " + kelp::orb::exceptionText(transient));
}

TEST(Trace, EachThreadHasItsOwnRecord) {
    NS_CORBA::GetTss()->Set("here", "unknown", 1);
    const NS_CORBA::TraceRecord* other = nullptr;
    std::string fileThere;
    std::thread([&] {
        other = NS_CORBA::GetTss();
        fileThere = other->file;
    }).join();
    EXPECT_NE(other, NS_CORBA::GetTss());
    EXPECT_EQ(fileThere, "");
}

TEST(Trace, SurvivesNullTexts) {
    const TraceCapture capture;
    NS_CORBA::GetTss()->Set(nullptr, nullptr, 0);
    NS_CORBA::TaDebug(0, nullptr);
    NS_CORBA::TaException(CORBA::NO_MEMORY(), nullptr);
    EXPECT_EQ(capture.records().size(), 2u);
}

TEST(FuncGuardTrace, ReportsThatAnOperationWasEnteredAndLeft) {
    const TraceCapture capture;
    { const NS_CORBA::FuncGuardTrace guard("CorbaAgentFacade::Init"); }
    ASSERT_EQ(capture.records().size(), 2u);
    EXPECT_EQ(capture.lines()[0], "[CorbaAgentFacade::Init] entered");
    EXPECT_EQ(capture.lines()[1], "[CorbaAgentFacade::Init] left");
    EXPECT_EQ(capture.records()[0].level, 3);
}

/// Counted like a servant.
class Counted {
  public:
    explicit Counted(int* source) : source_(source) {}
    void _remove_ref() {
        if (--references_ == 0)
            delete this;
    }
    int* source() const { return source_; }

  protected:
    virtual ~Counted() { ++*source_; }

  private:
    int* source_;
    int references_ = 1;
};

TEST(RefCountOneParameter, LivesByItsCountAndTracesItsBeginningAndEnd) {
    const TraceCapture capture;
    int destroyed = 0;
    Counted* servant = new NS_CORBA::RefCount_OneParameter<Counted, int*>(&destroyed);
    EXPECT_TRUE(capture.contains("[ RefCount_OneParameter]  ref_count!"));
    EXPECT_EQ(servant->source(), &destroyed);
    servant->_remove_ref();
    EXPECT_EQ(destroyed, 1);
    EXPECT_TRUE(capture.contains(
        "[ ~RefCount_OneParameter]  Reference count associated object destroyed!"));
}

}  // namespace
