#include "orb_surroundings.h"

#include <kelp/orb/request.h>

#include "context_servant.h"

namespace kelp::naming {

namespace {

constexpr const char* kContextType = "IDL:omg.org/CosNaming/NamingContextExt:1.0";
constexpr const char* kIteratorType = "IDL:omg.org/CosNaming/BindingIterator:1.0";

PortableServer::POA_ptr makePoa(PortableServer::POA_ptr parent, const char* name,
                                PortableServer::POAManager_ptr manager,
                                PortableServer::LifespanPolicyValue lifespan) {
    CORBA::PolicyList policies(5);
    policies.length(5);
    policies[0] = parent->create_lifespan_policy(lifespan);
    policies[1] = parent->create_id_assignment_policy(PortableServer::USER_ID);
    policies[2] = parent->create_servant_retention_policy(PortableServer::NON_RETAIN);
    policies[3] = parent->create_request_processing_policy(PortableServer::USE_DEFAULT_SERVANT);
    policies[4] = parent->create_id_uniqueness_policy(PortableServer::MULTIPLE_ID);
    PortableServer::POA_var made = parent->create_POA(name, manager, policies);
    for (CORBA::ULong i = 0; i < policies.length(); ++i)
        policies[i]->destroy();
    return made._retn();
}

PortableServer::ObjectId* idOf(const std::string& text) {
    return PortableServer::string_to_ObjectId(text.c_str());
}

}  // namespace

OrbSurroundings::OrbSurroundings(CORBA::ORB_ptr orb, PortableServer::POA_ptr parent) {
    const CORBA::Object_var current = orb->resolve_initial_references("POACurrent");
    current_ = PortableServer::Current::_narrow(current.in());
    // a separate manager: the process unbinds its object after it has stopped accepting requests
    contexts_ =
        makePoa(parent, "naming", PortableServer::POAManager::_nil(), PortableServer::PERSISTENT);
    const PortableServer::POAManager_var manager = contexts_->the_POAManager();
    iterators_ = makePoa(contexts_.in(), "iterator", manager.in(), PortableServer::TRANSIENT);
}

CosNaming::NamingContextExt_ptr OrbSurroundings::contextAt(const util::NamingPath& path) {
    const PortableServer::ObjectId_var id = idOf(AnyContext::objectIdOf(path));
    const CORBA::Object_var object = contexts_->create_reference_with_id(id.in(), kContextType);
    return CosNaming::NamingContextExt::_unchecked_narrow(object.in());
}

CosNaming::BindingIterator_ptr OrbSurroundings::iteratorOf(const std::string& id) {
    const PortableServer::ObjectId_var objectId = idOf(id);
    const CORBA::Object_var object =
        iterators_->create_reference_with_id(objectId.in(), kIteratorType);
    return CosNaming::BindingIterator::_unchecked_narrow(object.in());
}

std::string OrbSurroundings::currentObjectId() {
    const PortableServer::ObjectId_var kept = current_->get_object_id();
    const PortableServer::ObjectId& id = kept.in();
    return {reinterpret_cast<const char*>(id.get_buffer()), id.length()};
}

std::optional<std::string> OrbSurroundings::caller() {
    const orb::RequestInfo* const request = orb::currentRequest();
    if (request == nullptr)
        return std::nullopt;
    return request->peer().text;
}

}  // namespace kelp::naming
