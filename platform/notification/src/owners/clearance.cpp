#include "owners/clearance.h"

#include <kelp/util/trace_log.h>

#include <array>
#include <string>
#include <vector>

#include "channel/channel_core.h"
#include "owners/owned.h"

namespace kelp::notification {

void Clearance::review(Absences::Time now) {
    bool isAnyGone = false;
    absences_.begin(now);
    for (const OwnerPtr& owner : core_->owners()) {
        if (!absences_.isOver(*owner))
            continue;
        drop(owner);
        isAnyGone = true;
    }
    absences_.end();
    if (isAnyGone)
        core_->farewells().giveMemoryBack();
}

void Clearance::drop(const OwnerPtr& owner) {
    const std::vector<PortableServer::ServantBase_var> servants = core_->objectsOf(owner);
    std::array<std::size_t, 3> dropped{};
    for (const Owned::Kind kind : {Owned::Kind::Proxy, Owned::Kind::Admin, Owned::Kind::Filter}) {
        for (const PortableServer::ServantBase_var& servant : servants) {
            auto* const owned = dynamic_cast<Owned*>(servant.in());
            if (owned != nullptr && owned->ownedKind() == kind && owned->drop())
                ++dropped[static_cast<std::size_t>(kind)];
        }
    }
    const std::size_t admins = dropped[static_cast<std::size_t>(Owned::Kind::Admin)];
    const std::size_t filters = dropped[static_cast<std::size_t>(Owned::Kind::Filter)];
    if (admins + filters > 0)
        kelp::util::traceFrom("notification", std::to_string(admins) + " admins and " +
                                                  std::to_string(filters) + " filters of " +
                                                  owner->text() + " are dropped with it");
}

}  // namespace kelp::notification
