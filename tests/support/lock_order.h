#pragma once

#include <gtest/gtest.h>
#include <kelp/util/lock_rank.h>
#include <kelp/util/thread_safety.h>

#include <string>

namespace kelp::test {

/// Take two locks and hold both at the end. Not checked by clang, because the order may be wrong on
/// purpose.
template <class FirstLock, class SecondLock>
void lockBoth(auto& first, auto& second) KELP_NOT_CHECKED {
    const FirstLock firstLock(first);
    const SecondLock secondLock(second);
}

/// Expect that the process aborts, with the names of both, when `second` is locked while `first` is
/// held.
template <class FirstLock, class SecondLock>
void expectWrongOrder(auto& first, auto& second) {
    EXPECT_DEATH((lockBoth<FirstLock, SecondLock>(first, second)),
                 std::string("lock order violated: locking ") + second.name() + " while " +
                     first.name() + " is held");
}

}  // namespace kelp::test
