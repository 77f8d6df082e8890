#pragma once

#include <kelp/util/export.h>

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kelp::util {

/// Records a piece of work of the calling thread for a scope, for the operator and for the
/// watchdog. `what` is cut at 100 bytes. A thread that works for longer than `limit` counts as
/// stuck; give no limit to work whose duration a peer or a disk decides. A scope within another one
/// is not recorded.
class KELP_EXPORT ThreadWork {
  public:
    explicit ThreadWork(std::string_view what, std::optional<std::chrono::seconds> limit = {});
    ~ThreadWork();
    ThreadWork(const ThreadWork&) = delete;
    ThreadWork& operator=(const ThreadWork&) = delete;

  private:
    const bool isRecorded_;
};

/// As ThreadWork, for a request, which begins and ends in separate calls. `caller` is cut at 100
/// bytes. A request that the thread serves within its other work is not recorded.
KELP_EXPORT void beginRequestWork(std::string_view operation, std::string_view caller);
/// Does nothing when no request is recorded.
KELP_EXPORT void endRequestWork() noexcept;

/// The limit of work that the process alone decides: whatever takes longer hangs.
constexpr std::chrono::seconds kHangsAfter{120};

/// What a thread does.
struct ThreadReport {
    int id = 0;            ///< the kernel's number of the thread
    std::string what{};    ///< empty: the thread is idle
    std::string detail{};  ///< not escaped: may come from a peer
    std::chrono::steady_clock::time_point since{};
    std::optional<std::chrono::seconds> limit{};

    bool isStuck(std::chrono::steady_clock::time_point now) const {
        return !what.empty() && limit && now - since > *limit;
    }
};

/// The threads that have recorded work and have not ended, in the order of their numbers. Any
/// thread may call it.
KELP_EXPORT std::vector<ThreadReport> threadReports();

}  // namespace kelp::util
