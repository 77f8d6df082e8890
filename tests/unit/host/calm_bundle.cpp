#include <ace/svc_export.h>
#include <kelp/bundlemgr/service_object.h>

namespace kelp::test {

/// A bundle that does nothing, so that the host runs without an agent.
class CalmBundle final : public NS_BUNDLEMGR1::ServiceObjectBase {
  public:
    CalmBundle() : ServiceObjectBase("calm_bundle", "calm_bundle") {}
    int init(int, char*[]) override { return 0; }
    int fini() override { return 0; }
    void Shutdown() override {}
};

}  // namespace kelp::test

ACE_FACTORY_NAMESPACE_DEFINE(ACE_Svc, calm_bundle, kelp::test::CalmBundle)
