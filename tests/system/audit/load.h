#pragma once

#include <atomic>
#include <functional>
#include <thread>
#include <vector>

namespace kelp::test {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool kIsSanitized = true;
#else
inline constexpr bool kIsSanitized = false;
#endif

/// Callers of the EMS, one thread each. They call without a pause until a total number of calls has
/// been answered. A caller whose call fails stops.
class Load {
  public:
    using Call = std::function<void()>;

    Load(const std::vector<Call>& callers, int calls);
    /// Calls stop().
    ~Load();
    Load(const Load&) = delete;
    Load& operator=(const Load&) = delete;

    /// Wait until the calls have been answered or every caller has stopped after a failure.
    void wait();
    /// Let the callers end after their current call.
    void stop();

    int answered() const { return answered_; }
    /// Failed calls, at most one a caller. The caller cannot know whether such a call was carried
    /// out.
    int failed() const { return failed_; }

  private:
    void run(const Call& call);

    std::atomic<int> left_;
    std::atomic<int> answered_{0};
    std::atomic<int> failed_{0};
    std::vector<std::thread> threads_;
};

}  // namespace kelp::test
