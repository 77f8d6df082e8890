#include "faulty_platform.h"

#include <dlfcn.h>
#include <kelp/corbabase/agent_server.h>
#include <kelp/corbabase/base_config.h>

#include <stdexcept>

namespace kelp::test {

int PlatformFaults::getRootPoaAfter = -1;
bool PlatformFaults::activateFails = false;
std::function<void()> PlatformFaults::onGetSslMode = [] {};

namespace {

template <class Function>
Function behind(const char* mangledName) {
    void* const found = ::dlsym(RTLD_NEXT, mangledName);
    if (found == nullptr)
        throw std::logic_error(mangledName);
    return reinterpret_cast<Function>(found);
}

}  // namespace
}  // namespace kelp::test

namespace NS_CORBA {

PortableServer::POA_ptr CorbaBaseAgentConfig::GetRootPoa() const {
    if (kelp::test::PlatformFaults::getRootPoaAfter >= 0 &&
        kelp::test::PlatformFaults::getRootPoaAfter-- == 0)
        throw CORBA::INTERNAL();
    using Operation = PortableServer::POA_ptr (*)(const CorbaBaseAgentConfig*);
    static const auto real =
        kelp::test::behind<Operation>("_ZNK8NS_CORBA20CorbaBaseAgentConfig10GetRootPoaEv");
    return real(this);
}

int CorbaBaseAgentConfig::GetSSLMode() const {
    kelp::test::PlatformFaults::onGetSslMode();
    using Operation = int (*)(const CorbaBaseAgentConfig*);
    static const auto real =
        kelp::test::behind<Operation>("_ZNK8NS_CORBA20CorbaBaseAgentConfig10GetSSLModeEv");
    return real(this);
}

int AgentServer::Activate() {
    if (kelp::test::PlatformFaults::activateFails)
        return -1;
    static const auto real = kelp::test::behind<int (*)()>("_ZN8NS_CORBA11AgentServer8ActivateEv");
    return real();
}

}  // namespace NS_CORBA
