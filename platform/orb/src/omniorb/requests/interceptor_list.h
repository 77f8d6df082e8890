#pragma once

namespace kelp::orb {

/// Lists of interceptors survive the ORB they were made for and would otherwise hold a function
/// twice.
template <class List, class Function>
void addOnce(List& list, Function function) {
    list.remove(function);
    list.add(function);
}

}  // namespace kelp::orb
