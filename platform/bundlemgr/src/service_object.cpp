#include <kelp/bundlemgr/service_object.h>

#include <memory>
#include <utility>

namespace NS_BUNDLEMGR1 {

ServiceInterfaceRoot::~ServiceInterfaceRoot() = default;
ServiceInterface::~ServiceInterface() = default;

NULLServiceInterface::~NULLServiceInterface() = default;

const char* NULLServiceInterface::GetInterfaceName() const {
    return "NULLServiceInterface!";
}

int NULLServiceInterface::GetInterfaceVersion() const {
    return 0;
}

ErrorCodeBufIf::~ErrorCodeBufIf() = default;

const char* ErrorCodeBufIf::GetInterfaceName() const {
    return "ErrorCodeBufIf";
}

int ErrorCodeBufIf::GetInterfaceVersion() const {
    return 1;
}

ServiceObjectBase::ServiceObjectBase(const char* bundleName, const char* serviceName)
    : name_(serviceName != nullptr ? serviceName : ""),
      bundleName_(bundleName != nullptr ? bundleName : "") {}

ServiceObjectBase::~ServiceObjectBase() {
    ServiceObjectBase::RemoveInterface();
}

int ServiceObjectBase::UnRegistSvc() {
    if (interface_ != nullptr)
        RemoveIFBuf(interface_);
    return 0;
}

const char* ServiceObjectBase::GetName() const {
    return name_.c_str();
}

void ServiceObjectBase::Shutdown() {}

ServiceInterface* ServiceObjectBase::GetInterface() {
    return interface_;
}

ServiceInterface* ServiceObjectBase::CreateInterface() {
    return interface_;
}

void ServiceObjectBase::RemoveInterface() {
    // out of the registry first, so that nobody finds a deleted interface there
    ServiceObjectBase::UnRegistSvc();
    std::unique_ptr<ServiceInterface>(std::exchange(interface_, nullptr)).reset();
}

}  // namespace NS_BUNDLEMGR1
