#include "session/manager_servants.h"

#include <utility>

namespace NS_KELPCORBA {

using kelp::util::MutexLock;
using Servant = ServantRef<POA_common::Common_I>;

void ManagerServants::add(const std::string& name, POA_common::Common_I* servant) {
    // declared before the lock, so that a servant that is not entered is released without it
    Servant entered = Servant::take(servant);
    const MutexLock lock(mutex_);
    servants_.try_emplace(name, std::move(entered));
}

void ManagerServants::replace(const std::string& name, POA_common::Common_I* servant) {
    // declared before the lock, so that the servant it replaces is released without it
    Servant exchanged = Servant::pin(servant);
    const MutexLock lock(mutex_);
    std::swap(servants_[name], exchanged);
}

POA_common::Common_I* ManagerServants::find(std::string_view name) {
    const MutexLock lock(mutex_);
    const auto found = servants_.find(name);
    return found == servants_.end() ? nullptr : found->second.get();
}

ServantRef<POA_common::Common_I> ManagerServants::pin(std::string_view name) {
    const MutexLock lock(mutex_);
    const auto found = servants_.find(name);
    return Servant::pin(found == servants_.end() ? nullptr : found->second.get());
}

void ManagerServants::clear() {
    Servants released;
    {
        const MutexLock lock(mutex_);
        released.swap(servants_);
    }
    for (auto& [name, servant] : released)
        servant.reset();
}

}  // namespace NS_KELPCORBA
