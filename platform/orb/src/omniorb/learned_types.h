#pragma once

#include <kelp/util/mutex.h>

#include <memory>

#include "giop/events/known_types.h"

namespace kelp::orb {

/// The TypeCodes in events that the ORB has accepted or made. One for the process. Callable from
/// any thread.
class LearnedTypes {
  public:
    static LearnedTypes& instance();

    std::shared_ptr<const giop::KnownTypes> current() const KELP_EXCLUDES(mutex_);
    /// Add a TypeCode as KnownTypes::learn() does.
    bool learn(giop::KnownTypes::Octets typeCode) KELP_EXCLUDES(mutex_);

  private:
    mutable util::Mutex mutex_{util::LockRank::Service, "LearnedTypes::mutex_"};
    std::shared_ptr<const giop::KnownTypes> types_ KELP_GUARDED_BY(mutex_) =
        std::make_shared<const giop::KnownTypes>();
};

}  // namespace kelp::orb
