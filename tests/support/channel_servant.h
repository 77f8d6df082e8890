#pragma once

#include <kelp/orb/corba.h>

#include <stdexcept>

namespace kelp::test {

/// Return the servant of an embedded channel's root object. The caller owns the returned reference.
/// It allows a test to publish the channel under another key, where no guard checks the callers.
inline PortableServer::Servant channelServant(PortableServer::POA_ptr root,
                                              CORBA::Object_ptr channel) {
    const PortableServer::POA_var poa = root->find_POA("notification", false);
    const PortableServer::ServantManager_var manager = poa->get_servant_manager();
    auto* locator = dynamic_cast<PortableServer::ServantLocator*>(manager.in());
    if (locator == nullptr)
        throw std::runtime_error("not the adapter of a channel");
    const PortableServer::ObjectId_var id = poa->reference_to_id(channel);
    void* cookie = nullptr;
    return locator->preinvoke(id.in(), poa.in(), "_non_existent", cookie);
}

}  // namespace kelp::test
