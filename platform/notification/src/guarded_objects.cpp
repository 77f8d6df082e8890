#include "guarded_objects.h"

#include <kelp/util/random_octets.h>

#include <algorithm>
#include <new>
#include <string_view>
#include <utility>

namespace kelp::notification {

namespace {

constexpr std::size_t kKeyBytes = 16;

std::string randomKey() {
    std::string key(kKeyBytes, '\0');
    kelp::util::fillRandomly(key.data(), key.size());
    return key;
}

PortableServer::ObjectId* idOf(const std::string& key) {
    PortableServer::ObjectId_var id = new PortableServer::ObjectId;
    id->length(static_cast<CORBA::ULong>(key.size()));
    for (CORBA::ULong i = 0; i < id->length(); ++i)
        id[i] = static_cast<CORBA::Octet>(key[i]);
    return id._retn();
}

std::string keyOf(const PortableServer::ObjectId& id) {
    return {reinterpret_cast<const char*>(id.get_buffer()), id.length()};
}

bool isFree(std::string_view operation) {
    return operation.rfind("disconnect_", 0) == 0 || operation == "_non_existent" || operation == "_is_a";
}

}  // namespace

PortableServer::ObjectId* GuardedObjects::enter(PortableServer::Servant servant) {
    const Key key = randomKey();
    PortableServer::ObjectId_var id = idOf(key);
    servant->_add_ref();
    const PortableServer::ServantBase_var pinned = servant;
    const std::lock_guard guard(mutex_);
    if (closed_)
        throw CORBA::OBJECT_NOT_EXIST(0, CORBA::COMPLETED_NO);
    const auto entered = servants_.emplace(key, pinned).first;
    try {
        keys_.emplace(servant, key);
    } catch (const std::bad_alloc&) {
        servants_.erase(entered);  // in both or in none
        throw;
    }
    return id._retn();
}

void GuardedObjects::forget(PortableServer::Servant servant) {
    PortableServer::ServantBase_var gone;  // may end here, and must not do so under the lock
    const std::lock_guard guard(mutex_);
    const auto found = keys_.find(servant);
    if (found == keys_.end())
        return;
    const auto entry = servants_.find(found->second);
    gone = entry->second;
    servants_.erase(entry);
    keys_.erase(found);
}

PortableServer::Servant GuardedObjects::find(const PortableServer::ObjectId& id) const {
    const std::lock_guard guard(mutex_);
    const auto found = servants_.find(keyOf(id));
    if (found == servants_.end())
        return nullptr;
    PortableServer::Servant servant = found->second.in();
    servant->_add_ref();
    return servant;
}

void GuardedObjects::close() {
    std::map<Key, PortableServer::ServantBase_var> gone;  // as in forget()
    const std::lock_guard guard(mutex_);
    closed_ = true;
    gone.swap(servants_);
    keys_.clear();
}

PortableServer::Servant GuardedObjects::preinvoke(const PortableServer::ObjectId& id, PortableServer::POA_ptr,
                                                  const char* operation, void*& /*cookie*/) {
    PortableServer::ServantBase_var servant = find(id);
    if (servant.in() == nullptr)
        throw CORBA::OBJECT_NOT_EXIST(0, CORBA::COMPLETED_NO);
    requirePermission(operation);
    return servant._retn();
}

void GuardedObjects::postinvoke(const PortableServer::ObjectId&, PortableServer::POA_ptr, const char*, void*,
                                PortableServer::Servant servant) {
    if (servant != nullptr)
        servant->_remove_ref();
}

void GuardedObjects::requireCallable(CORBA::Object_ptr reference) const {
    if (guard_ == nullptr || kelp::orb::currentRequest() == nullptr || CORBA::is_nil(reference))
        return;
    if (!guard_->mayCall(reference))
        throw CORBA::NO_PERMISSION(0, CORBA::COMPLETED_NO);
}

void GuardedObjects::requirePermission(const char* operation) const {
    const kelp::orb::RequestInfo* request = kelp::orb::currentRequest();
    if (guard_ == nullptr || request == nullptr || isFree(operation))
        return;
    if (!guard_->mayUse(request->peer()))
        throw CORBA::NO_PERMISSION(0, CORBA::COMPLETED_NO);
}

}  // namespace kelp::notification
