#include <kelp/bundlemgr/config_store.h>
#include <kelp/corbabase/trace.h>
#include <kelp/util/mutex.h>
#include <kelp/util/threads.h>
#include <kelp/util/trace_limit.h>
#include <kelp/util/trace_log.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

namespace NS_CORBA {

namespace {

using kelp::util::MutexLock;

struct Users {
    kelp::util::Mutex mutex{kelp::util::LockRank::ServiceControl, "CorbaLogMgr::Users::mutex"};
    unsigned count KELP_GUARDED_BY(mutex) = 0;
    bool weOpened KELP_GUARDED_BY(mutex) = false;
};

Users& users() {
    static Users theUsers;
    return theUsers;
}

kelp::util::TraceSettings configuredTrace() {
    const NS_BUNDLEMGR1::ConfigStore& config = NS_BUNDLEMGR1::ConfigStore::instance();
    const std::vector<std::string> sinks = config.texts("trace.sinks");
    const auto has = [&](const char* sink) {
        return std::find(sinks.begin(), sinks.end(), sink) != sinks.end();
    };
    kelp::util::TraceSettings settings;
    settings.console = has("console");
    settings.journal = has("journal");
    if (has("file"))
        settings.file = config.text("trace.file");
    settings.level = static_cast<int>(config.integer("trace.level"));
    return settings;
}

bool openTrace() {
    kelp::util::setTraceLinesPerMinute(static_cast<unsigned>(
        NS_BUNDLEMGR1::ConfigStore::instance().integer("trace.lines_per_minute_before_login")));
    std::string whyNot;
    try {
        if (kelp::util::TraceLog::instance().open(configuredTrace(), whyNot))
            return true;
    } catch (...) {
        whyNot = kelp::util::currentExceptionText();
    }
    std::fputs(("[CorbaLogMgr::Init] " + whyNot + "\n").c_str(), stderr);
    return false;
}

}  // namespace

CorbaLogMgr* CorbaLogMgr::Instance() {
    static CorbaLogMgr manager;
    return &manager;
}

bool CorbaLogMgr::Init() {
    Users& mine = users();
    const MutexLock guard(mine.mutex);
    if (!kelp::util::TraceLog::instance().isOpen()) {
        if (!openTrace())
            return false;
        mine.weOpened = true;
    }
    ++mine.count;
    return true;
}

void CorbaLogMgr::Destroy() {
    Users& mine = users();
    const MutexLock guard(mine.mutex);
    if (mine.count == 0 || --mine.count > 0)
        return;
    if (std::exchange(mine.weOpened, false))
        kelp::util::TraceLog::instance().close();
}

}  // namespace NS_CORBA
