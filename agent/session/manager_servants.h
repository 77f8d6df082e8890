#pragma once

#include <kelp/orb/corba.h>
#include <kelp/util/mutex.h>
#include <mtnm/common.h>

#include <functional>
#include <map>
#include <string>
#include <string_view>

#include "util/servant_ref.h"

namespace NS_KELPCORBA {

/// The manager servants by name. Case matters. Owns one reference on each. Any thread may call it.
/// No servant is released under the mutex.
class ManagerServants {
  public:
    /// Enter a servant and take over one reference. When the name is already registered, release
    /// the servant instead.
    void add(const std::string& name, POA_common::Common_I* servant);
    /// Enter a servant and take a reference on it. A servant of the same name is replaced and
    /// released. A null servant releases the name's servant and keeps the name registered.
    void replace(const std::string& name, POA_common::Common_I* servant);
    /// Return the servant of this name, borrowed. Null when there is none.
    POA_common::Common_I* find(std::string_view name);
    /// The same, pinned under the mutex.
    ServantRef<POA_common::Common_I> pin(std::string_view name);
    /// Remove and release all servants, in the order of their names.
    void clear();

  private:
    using Servants = std::map<std::string, ServantRef<POA_common::Common_I>, std::less<>>;

    kelp::util::Mutex mutex_{kelp::util::LockRank::Leaf, "ManagerServants::mutex_"};
    Servants servants_ KELP_GUARDED_BY(mutex_);
};

}  // namespace NS_KELPCORBA
