#pragma once

#include "managedelement/managed_element_mgr.h"
#include "manager_fixture.h"

namespace kelp::test {

class ManagedElementTest : public ManagerTest<managedelement::ManagedElementMgr_I,
                                              managedElementManager::ManagedElementMgr_I> {
  protected:
    explicit ManagedElementTest(const std::string& network = kNetwork)
        : ManagerTest("ManagedElement", network) {}
};

}  // namespace kelp::test
