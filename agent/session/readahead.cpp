#include <kelp/agent/read_ahead.h>

#include "util/taskmgrtype.h"

#include <kelp/appmgr/task_mgr.h>
#include <kelp/corbabase/base_config.h>

#include <atomic>
#include <utility>

namespace NS_KELPCORBA {
namespace {

std::atomic<int> placesTaken{0};

}  // namespace

ReadAheadPlace ReadAheadPlace::take() {
    ReadAheadPlace place;
    const int places = NS_CORBA::CorbaBaseAgentConfig::Instance()->IteratorReadAhead();
    int taken = placesTaken.load();
    while (taken < places && !place.isTaken_)
        place.isTaken_ = placesTaken.compare_exchange_weak(taken, taken + 1);
    return place;
}

void ReadAheadPlace::giveBack() {
    if (std::exchange(isTaken_, false))
        --placesTaken;
}

int ReadAheadPlace::taken() {
    return placesTaken.load();
}

bool readAheadLater(std::function<void()> work) {
    return KelpAppMgr::Instance()->Post(kModuleTaskMgrType, std::move(work));
}

}  // namespace NS_KELPCORBA
