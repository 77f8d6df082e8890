#include <kelp/bundlemgr/config_store.h>
#include <kelp/util/trace_log.h>

#include <utility>

namespace NS_BUNDLEMGR1 {

namespace {

void traceUnreadable(const ConfigProblem& problem) {
    if (!problem.what.empty())
        kelp::util::traceFrom("configitems", problem.text());
}

}  // namespace

CorbaConfigItems* CorbaConfigItems::Instance() {
    static CorbaConfigItems instance;
    return &instance;
}

bool CorbaConfigItems::GetIntItemInfo(const std::string& key, int& value) const {
    ConfigProblem problem;
    const std::optional<std::int64_t> read = ConfigStore::instance().agentInteger(key, &problem);
    traceUnreadable(problem);
    if (read)
        value = static_cast<int>(*read);
    return read.has_value();
}

bool CorbaConfigItems::GetStrItemInfo(const std::string& key, std::string& value) const {
    ConfigProblem problem;
    std::optional<std::string> read = ConfigStore::instance().agentText(key, &problem);
    traceUnreadable(problem);
    if (read)
        value = std::move(*read);
    return read.has_value();
}

}  // namespace NS_BUNDLEMGR1
