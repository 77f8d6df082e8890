#include <kelp/agent/read_ahead.h>
#include <kelp/appmgr/task_mgr.h>
#include <kelp/corbabase/base_config.h>
#include <kelp/orb/request.h>

#include <algorithm>
#include <map>
#include <mutex>
#include <vector>

#include "util/never_destroyed.h"
#include "util/task_mgr_type.h"

namespace NS_KELPCORBA {
namespace {

struct Places {
    std::mutex mutex;
    int taken = 0;
    std::map<std::string, int> ofOwner;
};

// never destroyed: a reader may outlive main
Places& places() {
    static NeverDestroyed<Places> instance;
    return instance.value;
}

struct Holders {
    std::mutex mutex;
    std::map<const ReadAheadHolder*, std::weak_ptr<ReadAheadHolder>> all;
};

Holders& holders() {
    static NeverDestroyed<Holders> instance;
    return instance.value;
}

}  // namespace

std::string readAheadOwner() {
    return kelp::orb::networkOf(kelp::orb::currentPeer());
}

ReadAheadPlace ReadAheadPlace::take(const std::string& owner) {
    const int most = NS_CORBA::CorbaBaseAgentConfig::Instance()->IteratorReadAhead();
    const int mostOfOwner = std::max((most + 1) / 2, 1);
    ReadAheadPlace place;
    place.owner_ = owner;
    const std::lock_guard guard(places().mutex);
    if (places().taken >= most)
        return place;
    if (!owner.empty()) {
        int& own = places().ofOwner[owner];
        if (own >= mostOfOwner)
            return place;
        ++own;
    }
    ++places().taken;
    place.isTaken_ = true;
    return place;
}

void ReadAheadPlace::giveBack() {
    if (!std::exchange(isTaken_, false))
        return;
    const std::lock_guard guard(places().mutex);
    --places().taken;
    const auto own = places().ofOwner.find(owner_);
    if (own != places().ofOwner.end() && --own->second == 0)
        places().ofOwner.erase(own);
}

int ReadAheadPlace::taken() {
    const std::lock_guard guard(places().mutex);
    return places().taken;
}

void ReadAheadHolders::enter(const std::shared_ptr<ReadAheadHolder>& holder) {
    const std::lock_guard guard(holders().mutex);
    holders().all.emplace(holder.get(), holder);
}

void ReadAheadHolders::leave(const ReadAheadHolder& holder) {
    const std::lock_guard guard(holders().mutex);
    holders().all.erase(&holder);
}

void ReadAheadHolders::dropStale(ReadAheadHolder::Time now) {
    std::vector<std::shared_ptr<ReadAheadHolder>> living;
    {
        const std::lock_guard guard(holders().mutex);
        // reserve first, so that nothing below throws: the last reference to a holder must not be
        // dropped under the lock, because the holder's destructor takes it
        living.reserve(holders().all.size());
        for (const auto& [address, holder] : holders().all)
            living.push_back(holder.lock());
    }
    for (const std::shared_ptr<ReadAheadHolder>& each : living) {
        if (each)
            each->dropAheadOlderThan(now - kReadAheadKept);
    }
}

bool readAheadLater(std::function<void()> work) {
    return KelpAppMgr::Instance()->Post(kModuleTaskMgrType, std::move(work));
}

}  // namespace NS_KELPCORBA
