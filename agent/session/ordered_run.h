#pragma once

#include <cstddef>
#include <functional>

namespace NS_KELPCORBA {

/// The steps of the work on the entries of a list, by index. No step may throw.
struct OrderedSteps {
    std::function<void(std::size_t)> begin;     ///< one at a time, in list order
    std::function<void(std::size_t)> run;       ///< concurrently with other entries
    std::function<void(std::size_t)> conclude;  ///< on the caller's thread, in list order
};

/// Do the steps for every index below `count`. `run` runs for at most `threadsMax` entries at a
/// time, on threads that end with this call. An entry is concluded as soon as it and all entries
/// before it have run. Returns when all are concluded. When no thread can be started the caller's
/// thread does everything.
void runInOrder(std::size_t count, std::size_t threadsMax, const OrderedSteps& steps);

}  // namespace NS_KELPCORBA
