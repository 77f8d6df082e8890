#include "session/log_in_pace.h"

#include <kelp/bundlemgr/config_store.h>
#include <kelp/corbabase/trace.h>
#include <kelp/orb/request.h>

#include <thread>

#include "util/agent_state.h"

namespace NS_KELPCORBA {
namespace {

constexpr double kPerSecond = 1;
constexpr std::chrono::seconds kWait{1};
/// Interval of the checks for the stop, which waits for log-ins in progress.
constexpr std::chrono::milliseconds kSlice{50};

void pause() {
    const auto end = std::chrono::steady_clock::now() + kWait;
    while (!AgentState::instance().exitRequested && std::chrono::steady_clock::now() < end)
        std::this_thread::sleep_for(kSlice);
}

}  // namespace

void LogInPace::await(const std::string& hostInfo, const std::string& user) {
    const auto most = NS_BUNDLEMGR1::ConfigStore::instance().integer("session.log_ins_at_once");
    if (most == 0 || kelp::orb::currentPeer().text.empty())
        return;
    const kelp::util::TokenBuckets::Limits limits{kPerSecond, static_cast<double>(most)};
    const std::string nms = user + "@" + hostInfo;
    if (buckets_.take(nms, std::chrono::steady_clock::now(), limits))
        return;
    NS_CORBA::tracePoint("emssessionfactoryimpl");
    NS_CORBA::TaDebugWithPara(
        1, "[EmsSessionFactory_IImpl::getEmsSession] NMS-<%s> logs in without a pause and waits!",
        hostInfo.c_str());
    pause();
    buckets_.take(nms, std::chrono::steady_clock::now(), limits);
}

}  // namespace NS_KELPCORBA
