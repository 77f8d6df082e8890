#pragma once

#include <kelp/corbabase/manager_interface.h>
#include <kelp/orb/corba.h>
#include <mtnm/common.h>

#include <atomic>
#include <functional>

namespace kelp::test {

/// A manager whose getCapabilities runs a function that the test supplies. The other operations
/// throw.
class TestManager : public virtual POA_common::Common_I {
  public:
    explicit TestManager(std::atomic<int>& alive) : alive_(alive) { ++alive_; }

    std::atomic<int> calls{0};
    /// Runs in every getCapabilities, on the request's thread. Set it before the first call.
    std::function<void()> onCall = [] {};

    void getCapabilities(common::CapabilityList_T_out capabilities) override {
        ++calls;
        onCall();
        capabilities = new common::CapabilityList_T;
    }
    void setNativeEMSName(const globaldefs::NamingAttributes_T&, const char*) override { refuse(); }
    void setUserLabel(const globaldefs::NamingAttributes_T&, const char*, CORBA::Boolean) override {
        refuse();
    }
    void setOwner(const globaldefs::NamingAttributes_T&, const char*) override { refuse(); }
    void setAdditionalInfo(const globaldefs::NamingAttributes_T&, globaldefs::NVSList_T&) override {
        refuse();
    }

  protected:
    ~TestManager() override { --alive_; }

  private:
    static void refuse() { throw CORBA::NO_IMPLEMENT(); }
    std::atomic<int>& alive_;
};

/// Creates TestManagers, or nothing if the test says so. Borrows the last one it created.
class TestManagerFactory : public NS_CORBA::NorthMgrFactory {
  public:
    ~TestManagerFactory() override = default;

    POA_common::Common_I* CreateServant() override {
        if (refuses)
            return nullptr;
        ++made;
        return last = new TestManager(alive);
    }

    bool refuses = false;
    int made = 0;
    std::atomic<int> alive{0};
    TestManager* last = nullptr;
};

}  // namespace kelp::test
