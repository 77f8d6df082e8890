#include <kelp/bundlemgr/exceptions.h>
#include <kelp/bundlemgr/service_object.h>
#include <kelp/util/shared_mutex.h>

#include <map>

namespace NS_BUNDLEMGR1 {

using kelp::util::ExclusiveLock;
using kelp::util::LockRank;
using kelp::util::SharedLock;
using kelp::util::SharedMutex;

namespace {

struct Registry {
    SharedMutex mutex{LockRank::Service, "interface registry"};
    std::map<std::string, ServiceInterface*> interfaces KELP_GUARDED_BY(mutex);  ///< borrowed
};

// Never destroyed: service objects remove their interfaces even during static destruction.
Registry& registry() {
    static Registry* const made = new Registry;
    return *made;
}

}  // namespace

void SetIFBuf(const std::string& key, ServiceInterface* serviceInterface) {
    Registry& known = registry();
    const ExclusiveLock lock(known.mutex);
    known.interfaces[key] = serviceInterface;
}

ServiceInterface* CheckIFBuf(const std::string& key) {
    Registry& known = registry();
    const SharedLock lock(known.mutex);
    const auto found = known.interfaces.find(key);
    return found == known.interfaces.end() ? nullptr : found->second;
}

void RemoveIFBuf(ServiceInterface* serviceInterface) {
    Registry& known = registry();
    const ExclusiveLock lock(known.mutex);
    std::erase_if(known.interfaces,
                  [&](const auto& entry) { return entry.second == serviceInterface; });
}

ServiceInterface* RequireIF(const std::string& key) {
    ServiceInterface* const found = CheckIFBuf(key);
    if (found == nullptr)
        throw InterfaceNotExistException();
    return found;
}

}  // namespace NS_BUNDLEMGR1
