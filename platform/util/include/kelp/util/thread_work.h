#pragma once

#include <kelp/util/export.h>

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kelp::util {

/// Record that the calling thread begins a piece of work, for the operator and for the watchdog.
/// It replaces the thread's current work. `what` and `detail` are cut at 100 bytes. A thread that
/// works for longer than `limit` counts as stuck; give no limit to work whose duration a peer or a
/// disk decides.
KELP_EXPORT void beginWork(std::string_view what, std::string_view detail = {},
                           std::optional<std::chrono::seconds> limit = {});
/// Record that the calling thread is idle.
KELP_EXPORT void endWork() noexcept;

/// Records a piece of work of the calling thread for a scope. Not nested.
class ThreadWork {
  public:
    explicit ThreadWork(std::string_view what, std::optional<std::chrono::seconds> limit = {}) {
        beginWork(what, {}, limit);
    }
    ~ThreadWork() { endWork(); }
    ThreadWork(const ThreadWork&) = delete;
    ThreadWork& operator=(const ThreadWork&) = delete;
};

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
