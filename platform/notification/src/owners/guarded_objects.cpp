#include "owners/guarded_objects.h"

#include <kelp/util/random_octets.h>

#include <algorithm>
#include <array>
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

bool isQuestion(std::string_view operation) {
    return operation == "_non_existent" || operation == "_is_a";
}

bool isDisconnect(std::string_view operation) {
    return operation.starts_with("disconnect_");
}

/// Whether the operation changes a common object for all who use it.
bool isChange(std::string_view operation) {
    constexpr std::array<std::string_view, 10> changes = {"destroy",
                                                          "set_qos",
                                                          "set_admin",
                                                          "add_filter",
                                                          "remove_filter",
                                                          "offer_change",
                                                          "remove_all_filters",
                                                          "subscription_change",
                                                          "_set_priority_filter",
                                                          "_set_lifetime_filter"};
    return std::find(changes.begin(), changes.end(), operation) != changes.end();
}

[[noreturn]] void refuse() {
    throw CORBA::NO_PERMISSION(0, CORBA::COMPLETED_NO);
}

}  // namespace

PortableServer::ObjectId* GuardedObjects::enter(PortableServer::Servant servant,
                                                const ObjectRights& rights) {
    const Key key = randomKey();
    PortableServer::ObjectId_var id = idOf(key);
    servant->_add_ref();
    const PortableServer::ServantBase_var pinned = servant;
    const util::MutexLock guard(mutex_);
    if (closed_)
        throw CORBA::OBJECT_NOT_EXIST(0, CORBA::COMPLETED_NO);
    const auto entered = objects_.emplace(key, Entry{pinned, rights}).first;
    try {
        keys_.emplace(servant, key);
    } catch (const std::bad_alloc&) {
        objects_.erase(entered);  // the entry is in both maps or in none
        throw;
    }
    return id._retn();
}

void GuardedObjects::forget(PortableServer::Servant servant) {
    Entry gone;  // may delete the servant, which must not happen under the lock
    const util::MutexLock guard(mutex_);
    const auto found = keys_.find(servant);
    if (found == keys_.end())
        return;
    const auto entry = objects_.find(found->second);
    gone = entry->second;
    objects_.erase(entry);
    keys_.erase(found);
}

GuardedObjects::Entry GuardedObjects::find(const PortableServer::ObjectId& id) const {
    const util::MutexLock guard(mutex_);
    const auto found = objects_.find(keyOf(id));
    return found == objects_.end() ? Entry() : found->second;
}

PortableServer::Servant GuardedObjects::findOwn(const PortableServer::ObjectId& id) const {
    Entry entry = find(id);
    if (entry.servant.in() != nullptr && !owners_.mayCall(owners_.caller(), entry.rights.owner))
        refuse();
    return entry.servant._retn();
}

std::vector<PortableServer::ServantBase_var> GuardedObjects::of(const OwnerPtr& owner) const {
    std::vector<PortableServer::ServantBase_var> servants;
    const util::MutexLock guard(mutex_);
    for (const auto& [key, entry] : objects_) {
        if (entry.rights.owner == owner)
            servants.push_back(entry.servant);
    }
    return servants;
}

void GuardedObjects::close() {
    std::map<Key, Entry> gone;  // as in forget()
    const util::MutexLock guard(mutex_);
    closed_ = true;
    gone.swap(objects_);
    keys_.clear();
}

PortableServer::Servant GuardedObjects::preinvoke(const PortableServer::ObjectId& id,
                                                  PortableServer::POA_ptr, const char* operation,
                                                  void*& /*cookie*/) {
    Entry entry = find(id);
    if (entry.servant.in() == nullptr)
        throw CORBA::OBJECT_NOT_EXIST(0, CORBA::COMPLETED_NO);
    requirePermission(entry.rights, operation);
    return entry.servant._retn();
}

void GuardedObjects::postinvoke(const PortableServer::ObjectId&, PortableServer::POA_ptr,
                                const char*, void*, PortableServer::Servant servant) {
    if (servant != nullptr)
        servant->_remove_ref();
}

void GuardedObjects::requireCallable(CORBA::Object_ptr reference) const {
    if (guard_ == nullptr || kelp::orb::currentRequest() == nullptr || CORBA::is_nil(reference))
        return;
    if (!guard_->mayCall(reference))
        refuse();
}

void GuardedObjects::requireSupplier() const {
    const kelp::orb::RequestInfo* request = kelp::orb::currentRequest();
    if (guard_ != nullptr && request != nullptr && !guard_->maySupply(request->peer()))
        refuse();
}

void GuardedObjects::requirePermission(const ObjectRights& rights, const char* operation) const {
    const kelp::orb::RequestInfo* request = kelp::orb::currentRequest();
    if (request == nullptr || isQuestion(operation))
        return;
    const bool isEnd = isDisconnect(operation);
    const Caller caller = owners_.caller();
    if (!isEnd && !owners_.mayUse(caller))
        refuse();
    if (!owners_.mayCall(caller, rights.owner))
        refuse();
    if (isEnd)
        return;
    if (rights.isCommon && isChange(operation))
        refuse();
    if (rights.isOfSuppliers)
        requireSupplier();
}

}  // namespace kelp::notification
