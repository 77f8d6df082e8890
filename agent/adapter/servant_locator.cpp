#include "adapter/servant_locator.h"

#include <kelp/agent/session_mgr.h>
#include <kelp/corbabase/trace.h>
#include <kelp/orb/poas.h>
#include <mtnm/common.h>

#include <optional>
#include <string_view>

namespace NS_KELPCORBA {
namespace {

/// Return the manager's name in the object id, as bytes. An id that is not text names no manager.
/// None for an id with a wrong token.
std::optional<std::string_view> managerName(const PortableServer::ObjectId& oid,
                                            const NS_CORBA::SessionToken* token) {
    const std::string_view id = NS_CORBA::octetsOf(oid);
    if (token == nullptr)
        return id;
    if (!token->isIn(id))
        return std::nullopt;
    return NS_CORBA::SessionToken::nameIn(id);
}

}  // namespace

PortableServer::Servant TAServantLocator::preinvoke(const PortableServer::ObjectId& oid,
                                                    PortableServer::POA_ptr adapter,
                                                    const char* operation, void*& /*cookie*/) {
    if (CORBA::is_nil(adapter) || operation == nullptr) {
        NS_CORBA::tracePoint("sessionsource");
        NS_CORBA::TaTrace("[preinvoke] exception for input parameter is null!");
        return nullptr;
    }
    const std::optional<std::string_view> name = managerName(oid, token_.get());
    if (!name || isEnding(adapter))
        throw kelp::orb::unknownObject();
    SessionMgr* sessions = SessionMgr::Existing();
    POA_common::Common_I* servant = sessions == nullptr ? nullptr : sessions->pin_servant(*name);
    if (servant == nullptr)
        throw kelp::orb::unknownObject();
    return servant;
}

// In some ORBs a dying POA serves new requests as long as an old one is in progress.
bool TAServantLocator::isEnding(PortableServer::POA_ptr adapter) const {
    return ending_ == Ending::IsTold ? refusing_.load() : kelp::orb::isDying(adapter);
}

void TAServantLocator::beginRefusing(PortableServer::POA_ptr poa) {
    try {
        const PortableServer::ServantManager_var manager = poa->get_servant_manager();
        if (auto* locator = dynamic_cast<TAServantLocator*>(manager.in()))
            locator->refusing_ = true;
    } catch (const PortableServer::POA::WrongPolicy&) {
        // a POA of another kind has no servant manager
    }
}

void TAServantLocator::postinvoke(const PortableServer::ObjectId&, PortableServer::POA_ptr,
                                  const char*, void*, PortableServer::Servant servant) {
    if (servant != nullptr)
        servant->_remove_ref();
}

}  // namespace NS_KELPCORBA
