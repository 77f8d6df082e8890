#include "system/audit/nms_group.h"

#include <kelp/orb/timeouts.h>

namespace kelp::test {

namespace {

constexpr std::chrono::seconds kCallLimit{30};

orb::OrbOptions withPorts(std::size_t count) {
    orb::OrbOptions options;
    options.listen.assign(count, "127.0.0.1:0");
    return options;
}

emsSessionFactory::EmsSessionFactory_I_ptr factoryAt(CORBA::ORB_ptr orb,
                                                     const std::string& reference) {
    const CORBA::Object_var object = orb::toReference(orb, reference);
    return emsSessionFactory::EmsSessionFactory_I::_unchecked_narrow(object.in());
}

}  // namespace

NmsGroup::NmsGroup(const Host& host, std::size_t count)
    : orb_(nullptr, withPorts(count)), factory_(factoryAt(orb_.orb(), host.factoryReference())) {
    orb::setProcessTimeout(kCallLimit);
    for (std::size_t i = 0; i < count; ++i)
        all_.emplace_back(orb_.orb(), orb_.root(), i);
}

std::string NmsGroup::addressOf(std::size_t number) {
    orb::ReferenceContent content;
    if (!orb::decodeReference(all_.at(number).ownReference(), content))
        throw std::runtime_error("this NMS has no reference");
    return orb::hostAndPort(content.endpoints.at(0));
}

void NmsGroup::logIn(std::size_t number, const std::string& user) {
    all_.at(number).logIn(factory_.in(), user, Host::kPassword);
}

emsMgr::EMSMgr_I_var NmsGroup::manager(std::size_t number) {
    common::Common_I_var any;
    all_.at(number).session()->getManager("EMS", any.out());
    return emsMgr::EMSMgr_I_var(emsMgr::EMSMgr_I::_narrow(any.in()));
}

emsSessionFactory::EmsSessionFactory_I_var NmsGroup::factoryOver(const TcpRelay& relay) const {
    return emsSessionFactory::EmsSessionFactory_I_var(factoryAt(
        orb_.orb(), "corbaloc:iiop:1.2@" + relay.hostAndPort() + "/%ffV4800%00EMSSessionFactory"));
}

}  // namespace kelp::test
