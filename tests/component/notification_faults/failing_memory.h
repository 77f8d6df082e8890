#pragma once

#include <gtest/gtest.h>

namespace kelp::test {

/// While it lives, one of the calling thread's next allocations fails with std::bad_alloc. Only
/// those count that code of this program makes (the channel is part of it), not those of shared
/// libraries.
class FailingMemory {
  public:
    /// The `nth`, from 1 on.
    explicit FailingMemory(int nth);
    ~FailingMemory();
    FailingMemory(const FailingMemory&) = delete;
    FailingMemory& operator=(const FailingMemory&) = delete;
    /// False when there were fewer allocations than that.
    bool hasHappened() const;
};

/// Calls `attempt` with the first allocation failing, the second, and so on until none does any
/// more.
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
