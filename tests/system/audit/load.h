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

/// Callers of the EMS, a thread each, that call without a pause until so many calls in all were
/// answered. One whose call fails gives up.
class Load {
  public:
    using Call = std::function<void()>;

    Load(const std::vector<Call>& callers, int calls);
    /// Stops.
    ~Load();
    Load(const Load&) = delete;
    Load& operator=(const Load&) = delete;

    /// Waits until the calls were answered or every caller has given up.
    void wait();
    /// The callers end after the call in hand.
    void stop();

    int answered() const { return answered_; }
    /// Calls of which the callers cannot tell whether they were carried out: at most one a caller.
    int failed() const { return failed_; }

  private:
    void run(const Call& call);

    std::atomic<int> left_;
    std::atomic<int> answered_{0};
    std::atomic<int> failed_{0};
    std::vector<std::thread> threads_;
};

}  // namespace kelp::test
