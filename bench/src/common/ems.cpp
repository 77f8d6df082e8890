#include "common/ems.h"

#include <kelp/orb/references.h>

#include <stdexcept>

#include "harness/eventually.h"

namespace kelp::bench {

namespace {

nms::FoundFactory readyFactory(nms::NmsClient& client, const Product& product) {
    nms::FoundFactory factory = client.factoryByReference(product.factoryReference());
    const bool ready = test::eventually([&] {
        try {
            return !client.interfaceVersion(factory).empty();
        } catch (const nms::Unreachable&) {
            return false;
        }
    });
    if (!ready)
        throw std::runtime_error("kelpd does not start");
    return factory;
}

template <class Manager>
typename Manager::_ptr_type managerOf(emsSession::EmsSession_I_ptr session, const char* name) {
    common::Common_I_var manager;
    session->getManager(name, manager.out());
    return Manager::_narrow(manager.in());
}

}  // namespace

Ems::Ems(nms::NmsClient& client, const Product& product)
    : client_(client), factory_(readyFactory(client, product)) {}

emsSession::EmsSession_I_ptr Ems::logIn(const std::string& nmsAddress) const {
    const CORBA::Object_var object =
        orb::toReference(client_.orb(), "corbaloc:iiop:1.2@" + nmsAddress + "/nms");
    const nmsSession::NmsSession_I_var nms =
        nmsSession::NmsSession_I::_unchecked_narrow(object.in());
    emsSession::EmsSession_I_var session;
    factory_.reference->getEmsSession(Product::kUser, Product::kPassword, nms.in(), session.out());
    return session._retn();
}

std::vector<emsSession::EmsSession_I_var> Ems::logInAll(const NmsFarm& farm,
                                                        std::size_t count) const {
    std::vector<emsSession::EmsSession_I_var> sessions;
    for (std::size_t i = 0; i < count; ++i)
        sessions.emplace_back(logIn(farm.address(i)));
    return sessions;
}

emsMgr::EMSMgr_I_ptr emsManagerOf(emsSession::EmsSession_I_ptr session) {
    return managerOf<emsMgr::EMSMgr_I>(session, "EMS");
}

managedElementManager::ManagedElementMgr_I_ptr elementManagerOf(
    emsSession::EmsSession_I_ptr session) {
    return managerOf<managedElementManager::ManagedElementMgr_I>(session, "ManagedElement");
}

}  // namespace kelp::bench
