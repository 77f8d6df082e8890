#pragma once

#include <cstddef>
#include <functional>

namespace NS_KELPCORBA {

/// Work on the entries of a list, by index. None of the steps may throw.
struct OrderedSteps {
    std::function<void(std::size_t)> begin;     ///< one at a time, in the list's order
    std::function<void(std::size_t)> run;       ///< at the same time as others'
    std::function<void(std::size_t)> conclude;  ///< on the caller's thread, in the list's order
};

/// Does the steps for every index below `count`, `run` for at most `threadsMax` at a time, each on
/// a thread that ends with this call. An entry is concluded as soon as it and all before it have
/// run. Returns when all are concluded. Without any thread to be had everything is done on the
/// caller's.
void runInOrder(std::size_t count, std::size_t threadsMax, const OrderedSteps& steps);

}  // namespace NS_KELPCORBA
