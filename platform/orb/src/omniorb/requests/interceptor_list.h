#pragma once

namespace kelp::orb {

/// Add a function to a list of interceptors, and only once. The lists outlive the ORB for which
/// they were filled.
template <class List, class Function>
void addOnce(List& list, Function function) {
    list.remove(function);
    list.add(function);
}

}  // namespace kelp::orb
