#include "corbaenv/manager_interfaces.h"

#include <kelp/corbabase/base_config.h>

#include "util/containment.h"

namespace NS_KELPCORBA {
namespace {

constexpr const char* kSubject = "corbaagent";

std::string nameOf(NS_CORBA::CorbaI& managerInterface) {
    const char* name = managerInterface.Name();
    return name != nullptr ? name : "";
}

}  // namespace

ManagerInterfaces::ListLock::ListLock()
    : list(NS_CORBA::CorbaBaseAgentConfig::Instance()->GetMGRList()) {}

ManagerInterfaces::ListLock::~ListLock() {
    if (list != nullptr)
        NS_CORBA::CorbaBaseAgentConfig::Instance()->FreeMGRList();
}

ManagerInterfaces::ManagerInterfaces() {
    if (lock_.list == nullptr)
        return;
    for (NS_CORBA::CorbaI* each : *lock_.list) {
        if (each != nullptr)
            byOrder_.emplace(each->Order(), each);
    }
}

std::optional<std::string> ManagerInterfaces::Init() {
    for (const auto& [order, each] : byOrder_) {
        const std::string name = nameOf(*each);
        NS_CORBA::tracePoint(kSubject);
        NS_CORBA::TaTrace("[CorbaAgentFacade::Init] Initializing Corba Interface: %s!",
                          name.c_str());
        bool runs = false;
        contained(kSubject, "[CorbaAgentFacade::Init]",
                  [&, target = each] { runs = target->Init(); });
        if (!runs)
            return name;
    }
    return std::nullopt;
}

void ManagerInterfaces::ExitThreads() {
    for (auto each = byOrder_.rbegin(); each != byOrder_.rend(); ++each)
        contained(kSubject, "[CorbaAgentFacade::ExitThrds]", [&] { each->second->ExitThread(); });
}

void ManagerInterfaces::Destroy() {
    for (auto each = byOrder_.rbegin(); each != byOrder_.rend(); ++each) {
        contained(kSubject, "[CorbaAgentFacade::Fini]", [&] {
            NS_CORBA::tracePoint(kSubject);
            NS_CORBA::TaTrace("[CorbaAgentFacade::Fini] Destroy Corba Interface: %s!",
                              nameOf(*each->second).c_str());
            each->second->Destroy();
        });
    }
}

}  // namespace NS_KELPCORBA
