#include "reload.h"

#include <kelp/bundlemgr/light_event.h>
#include <kelp/corbabase/trace.h>
#include <kelp/util/mutex.h>
#include <kelp/util/trace_limit.h>
#include <kelp/util/trace_log.h>

#include <string>

#include "audit_use.h"

namespace kelp::host {

namespace {

using NS_BUNDLEMGR1::ConfigProblem;
using NS_BUNDLEMGR1::ConfigStore;

void applyTraceSettings() {
    const ConfigStore& config = ConfigStore::instance();
    util::TraceLog::instance().setLevel(static_cast<int>(config.integer("trace.level")));
    util::setTraceLinesPerMinute(
        static_cast<unsigned>(config.integer("trace.lines_per_minute_before_login")));
}

}  // namespace

ReloadResult reloadConfiguration() {
    static util::Mutex oneAtATime{util::LockRank::Outermost, "reloadConfiguration::oneAtATime"};
    const util::MutexLock lock(oneAtATime);
    ReloadResult result;
    result.problems = ConfigStore::instance().reload(&result.changes, &result.waiting);
    for (const ConfigProblem& problem : result.problems) {
        NS_CORBA::tracePoint("kelpd", __LINE__);
        NS_CORBA::TaTrace("the configuration is kept as it was: %s", problem.text().c_str());
    }
    noteConfigurationRead(result.changes,
                          result.problems.empty() ? "" : result.problems.front().text());
    if (!result.problems.empty())
        return result;
    applyTraceSettings();
    NS_CORBA::tracePoint("kelpd", __LINE__);
    NS_CORBA::TaTrace("the configuration has been read again");
    NS_BUNDLEMGR1::LightEventMgr::Instance()->Raise(NS_BUNDLEMGR1::kConfigurationReadEvent);
    return result;
}

}  // namespace kelp::host
