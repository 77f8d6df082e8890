#pragma once

#include <gtest/gtest.h>

namespace kelp::test {

/// During its lifetime, one of the calling thread's next allocations fails with std::bad_alloc.
/// Only allocations by this program's code count, which includes the channel, not those by shared
/// libraries.
class FailingMemory {
  public:
    /// Let the `nth` allocation fail, counted from 1.
    explicit FailingMemory(int nth);
    ~FailingMemory();
    FailingMemory(const FailingMemory&) = delete;
    FailingMemory& operator=(const FailingMemory&) = delete;
    /// False if there were fewer than `nth` allocations.
    bool hasHappened() const;
};

/// Call `attempt` with the first allocation failing, then the second, and so on until none fails
/// any more.
template <class Attempt>
void withEachAllocationFailing(Attempt attempt) {
    constexpr int kFarMoreThanThereAre = 10000;
    int nth = 1;
    while (nth < kFarMoreThanThereAre && attempt(nth))
        ++nth;
    EXPECT_GT(nth, 1) << "no allocation has failed";
    EXPECT_LT(nth, kFarMoreThanThereAre);
    testing::Test::RecordProperty("allocations", nth - 1);
}

}  // namespace kelp::test
