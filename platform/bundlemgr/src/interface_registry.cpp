#include <kelp/bundlemgr/exceptions.h>
#include <kelp/bundlemgr/service_object.h>

#include <map>
#include <mutex>
#include <shared_mutex>

namespace NS_BUNDLEMGR1 {

namespace {

struct Registry {
    std::shared_mutex mutex;
    std::map<std::string, ServiceInterface*> interfaces;  ///< guarded by mutex; borrowed
};

// Never destroyed: service objects remove their interfaces even during static destruction.
Registry& registry() {
    static Registry* const made = new Registry;
    return *made;
}

}  // namespace

void SetIFBuf(const std::string& key, ServiceInterface* serviceInterface) {
    const std::unique_lock lock(registry().mutex);
    registry().interfaces[key] = serviceInterface;
}

ServiceInterface* CheckIFBuf(const std::string& key) {
    const std::shared_lock lock(registry().mutex);
    const auto found = registry().interfaces.find(key);
    return found == registry().interfaces.end() ? nullptr : found->second;
}

void RemoveIFBuf(ServiceInterface* serviceInterface) {
    const std::unique_lock lock(registry().mutex);
    std::erase_if(registry().interfaces,
                  [&](const auto& entry) { return entry.second == serviceInterface; });
}

ServiceInterface* RequireIF(const std::string& key) {
    ServiceInterface* const found = CheckIFBuf(key);
    if (found == nullptr)
        throw InterfaceNotExistException();
    return found;
}

}  // namespace NS_BUNDLEMGR1
