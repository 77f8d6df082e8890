#include "harness/naming_client.h"

#include <kelp/orb/references.h>
#include <kelp/orb/timeouts.h>

namespace kelp::test {

namespace {

constexpr std::chrono::seconds kCallLimit{3};

struct Component {
    const char* id;
    const char* kind;
};

constexpr Component kFactoryPath[] = {
    {"TMF_MTNM", "Class"},
    {"Kelp", "Vendor"},
    {"Kelp/EMS", "EmsInstance"},
    {"3_5", "Version"},
    {"Kelp/EMS", "EmsSessionFactory_I"},
};

}  // namespace

CosNaming::Name factoryName() {
    CosNaming::Name name;
    for (const Component& component : kFactoryPath) {
        const CORBA::ULong at = name.length();
        name.length(at + 1);
        name[at].id = CORBA::string_dup(component.id);
        name[at].kind = CORBA::string_dup(component.kind);
    }
    return name;
}

NamingClient::NamingClient(CORBA::ORB_ptr orb, std::uint16_t port)
    : orb_(CORBA::ORB::_duplicate(orb)),
      address_("corbaloc:iiop:1.2@127.0.0.1:" + std::to_string(port) + "/NameService") {
    orb::setProcessTimeout(kCallLimit);
}

CosNaming::NamingContext_ptr NamingClient::root() const {
    const CORBA::Object_var object = orb::toReference(orb_.in(), address_);
    return CosNaming::NamingContext::_unchecked_narrow(object.in());
}

std::string NamingClient::factoryAddress() const {
    try {
        const CosNaming::NamingContext_var context = root();
        const CORBA::Object_var bound = context->resolve(factoryName());
        orb::ReferenceContent content;
        if (!orb::describe(orb_.in(), bound.in(), content) || content.endpoints.empty())
            return {};
        return orb::hostAndPort(content.endpoints.front());
    } catch (const CORBA::Exception&) {
        return {};
    }
}

void NamingClient::bindFactory(CORBA::Object_ptr reference) {
    const CosNaming::NamingContext_var context = root();
    const CosNaming::Name whole = factoryName();
    CosNaming::Name part;
    for (CORBA::ULong i = 0; i + 1 < whole.length(); ++i) {
        part.length(i + 1);
        part[i] = whole[i];
        try {
            const CosNaming::NamingContext_var made = context->bind_new_context(part);
        } catch (const CosNaming::NamingContext::AlreadyBound&) {
            continue;
        }
    }
    context->rebind(whole, reference);
}

void NamingClient::unbindFactory() {
    const CosNaming::NamingContext_var context = root();
    context->unbind(factoryName());
}

}  // namespace kelp::test
