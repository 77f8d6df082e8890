#pragma once

#include <kelp/orb/corba.h>

#include <functional>

#include "support/test_manager.h"

namespace kelp::test {

/// An iterator as the session manager sees it: a servant with a separate POA.
class TestIterator : public TestManager {
  public:
    TestIterator(PortableServer::POA_ptr poa, std::atomic<int>& alive)
        : TestManager(alive), poa_(PortableServer::POA::_duplicate(poa)) {}

    PortableServer::POA_ptr _default_POA() override {
        onPoa();
        return isWithoutPoa ? PortableServer::POA::_nil()
                            : PortableServer::POA::_duplicate(poa_.in());
    }
    /// Runs whenever the POA is requested. Set this member and the next one only while no other
    /// thread requests the POA.
    std::function<void()> onPoa = [] {};
    bool isWithoutPoa = false;

  private:
    const PortableServer::POA_var poa_;
};

}  // namespace kelp::test
