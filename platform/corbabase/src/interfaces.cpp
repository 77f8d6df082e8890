// The interfaces' out-of-line destructors: their type information is emitted here only.
#include <kelp/corbabase/manager_interface.h>
#include <kelp/corbabase/request_interceptor.h>
#include <kelp/corbabase/supplier_mgr.h>

namespace NS_CORBA {

CorbaI::~CorbaI() = default;
NorthMgrFactory::~NorthMgrFactory() = default;
RequestInterceptorBase::~RequestInterceptorBase() = default;

const char* ForeignSessionCall::what() const noexcept {
    return "the session is not the caller's";
}
CallBackProcessBase::~CallBackProcessBase() = default;

}  // namespace NS_CORBA
