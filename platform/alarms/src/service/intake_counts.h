#pragma once

#include <kelp/alarms/alarm_service.h>
#include <kelp/util/mutex.h>

#include <map>
#include <string>
#include <vector>

namespace kelp::alarms {

/// Counts the changes that each source submits. Any thread may call it.
class IntakeCounts {
  public:
    void accepted(const std::string& source, const std::vector<Result>& results)
        KELP_EXCLUDES(mutex_);
    void refused(const std::string& source, std::size_t changes) KELP_EXCLUDES(mutex_);
    std::vector<SourceCounts> all() const KELP_EXCLUDES(mutex_);

  private:
    SourceCounts& of(const std::string& source) KELP_REQUIRES(mutex_);

    mutable util::Mutex mutex_{util::LockRank::Leaf, "IntakeCounts::mutex_"};
    std::map<std::string, SourceCounts> bySource_ KELP_GUARDED_BY(mutex_);
};

}  // namespace kelp::alarms
