#include <ace/svc_export.h>
#include <kelp/bundlemgr/service_object.h>

#include <chrono>
#include <thread>

namespace kelp::test {

/// A bundle that starts, but whose stop never ends.
class WedgedBundle final : public NS_BUNDLEMGR1::ServiceObjectBase {
  public:
    WedgedBundle() : ServiceObjectBase("wedged_bundle", "wedged_bundle") {}
    int init(int, char*[]) override { return 0; }
    int fini() override { return 0; }
    void Shutdown() override {
        for (;;)
            std::this_thread::sleep_for(std::chrono::hours(1));
    }
};

}  // namespace kelp::test

ACE_FACTORY_NAMESPACE_DEFINE(ACE_Svc, wedged_bundle, kelp::test::WedgedBundle)
