#include <kelp/agent/read_ahead.h>
#include <kelp/appmgr/task_mgr.h>
#include <kelp/corbabase/base_config.h>
#include <kelp/corbabase/never_destroyed.h>
#include <kelp/orb/request.h>
#include <kelp/util/mutex.h>

#include <algorithm>
#include <map>
#include <vector>

#include "util/task_mgr_type.h"

namespace NS_KELPCORBA {
namespace {

using kelp::util::LockRank;
using kelp::util::Mutex;
using kelp::util::MutexLock;

struct Places {
    Mutex mutex{LockRank::Leaf, "ReadAheadPlace::mutex"};
    int taken KELP_GUARDED_BY(mutex) = 0;
    std::map<std::string, int> ofOwner KELP_GUARDED_BY(mutex);
};

// never destroyed: a reader may outlive main
Places& places() {
    static NS_CORBA::NeverDestroyed<Places> instance;
    return instance.value;
}

struct Holders {
    Mutex mutex{LockRank::Leaf, "ReadAheadHolders::mutex"};
    std::map<const ReadAheadHolder*, std::weak_ptr<ReadAheadHolder>> all KELP_GUARDED_BY(mutex);
};

Holders& holders() {
    static NS_CORBA::NeverDestroyed<Holders> instance;
    return instance.value;
}

}  // namespace

std::string readAheadOwner() {
    return kelp::util::networkOf(kelp::orb::currentPeer());
}

ReadAheadPlace ReadAheadPlace::take(const std::string& owner) {
    const int most = NS_CORBA::CorbaBaseAgentConfig::Instance()->IteratorReadAhead();
    const int mostOfOwner = std::max((most + 1) / 2, 1);
    ReadAheadPlace place;
    place.owner_ = owner;
    Places& all = places();
    const MutexLock lock(all.mutex);
    if (all.taken >= most)
        return place;
    if (!owner.empty()) {
        int& own = all.ofOwner[owner];
        if (own >= mostOfOwner)
            return place;
        ++own;
    }
    ++all.taken;
    place.isTaken_ = true;
    return place;
}

void ReadAheadPlace::giveBack() {
    if (!std::exchange(isTaken_, false))
        return;
    Places& all = places();
    const MutexLock lock(all.mutex);
    --all.taken;
    const auto own = all.ofOwner.find(owner_);
    if (own != all.ofOwner.end() && --own->second == 0)
        all.ofOwner.erase(own);
}

int ReadAheadPlace::taken() {
    Places& all = places();
    const MutexLock lock(all.mutex);
    return all.taken;
}

void ReadAheadHolders::enter(const std::shared_ptr<ReadAheadHolder>& holder) {
    Holders& known = holders();
    const MutexLock lock(known.mutex);
    known.all.emplace(holder.get(), holder);
}

void ReadAheadHolders::leave(const ReadAheadHolder& holder) {
    Holders& known = holders();
    const MutexLock lock(known.mutex);
    known.all.erase(&holder);
}

void ReadAheadHolders::dropStale(ReadAheadHolder::Time now) {
    std::vector<std::shared_ptr<ReadAheadHolder>> living;
    {
        Holders& known = holders();
        const MutexLock lock(known.mutex);
        // reserve first, so that nothing below throws: the last reference to a holder must not be
        // dropped under the lock, because the holder's destructor takes it
        living.reserve(known.all.size());
        for (const auto& [address, holder] : known.all)
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
