#include <kelp/bundlemgr/config_store.h>
#include <kelp/corbabase/trace.h>
#include <kelp/util/threads.h>
#include <kelp/util/trace_limit.h>
#include <kelp/util/trace_log.h>

#include <algorithm>
#include <cstdio>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace NS_CORBA {

namespace {

struct Users {
    std::mutex mutex;
    unsigned count = 0;  // these two are guarded by mutex
    bool weOpened = false;
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
    const std::lock_guard guard(users().mutex);
    if (!kelp::util::TraceLog::instance().isOpen()) {
        if (!openTrace())
            return false;
        users().weOpened = true;
    }
    ++users().count;
    return true;
}

void CorbaLogMgr::Destroy() {
    const std::lock_guard guard(users().mutex);
    if (users().count == 0 || --users().count > 0)
        return;
    if (std::exchange(users().weOpened, false))
        kelp::util::TraceLog::instance().close();
}

}  // namespace NS_CORBA
