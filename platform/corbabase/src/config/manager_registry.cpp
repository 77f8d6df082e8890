#include "config/manager_registry.h"

#include <algorithm>

namespace NS_CORBA {

CorbaI::~CorbaI() = default;
NorthMgrFactory::~NorthMgrFactory() = default;

using kelp::util::MutexLock;

void ManagerRegistry::waitUntilMine() {
    while (holds_ != 0 && holder_ != std::this_thread::get_id())
        released_.wait(mutex_);
}

void ManagerRegistry::enter(CorbaI* managerInterface) {
    if (managerInterface == nullptr)
        return;
    const MutexLock lock(mutex_);
    waitUntilMine();
    everEntered_ = true;
    if (std::find(interfaces_.begin(), interfaces_.end(), managerInterface) == interfaces_.end())
        interfaces_.push_back(managerInterface);
}

void ManagerRegistry::leave(CorbaI* managerInterface) {
    const MutexLock lock(mutex_);
    waitUntilMine();
    interfaces_.remove(managerInterface);
}

const MGRList* ManagerRegistry::hold() {
    const MutexLock lock(mutex_);
    waitUntilMine();
    if (!everEntered_)
        return nullptr;
    holder_ = std::this_thread::get_id();
    ++holds_;
    return &interfaces_;
}

void ManagerRegistry::release() {
    const MutexLock lock(mutex_);
    if (holds_ == 0 || holder_ != std::this_thread::get_id())
        return;
    if (--holds_ == 0)
        released_.notify_all();
}

void ManagerRegistry::renewMap() {
    NorthMgrMap offered;
    for (const NorthMgrMap* each : {&entered_, &fallbacks_}) {
        for (const auto& [name, factory] : *each) {
            if (isOffered_(name))
                offered.emplace(name, factory);  // an entered factory of this name takes precedence
        }
    }
    if (lastHandedOut_ || factoryMaps_.empty())
        factoryMaps_.push_back(std::move(offered));
    else
        factoryMaps_.back() = std::move(offered);
    lastHandedOut_ = false;
}

bool ManagerRegistry::enter(const std::string& name, NorthMgrFactory* factory) {
    const MutexLock lock(mutex_);
    if (!entered_.emplace(name, factory).second)
        return false;
    renewMap();
    return true;
}

void ManagerRegistry::leave(const std::string& name) {
    const MutexLock lock(mutex_);
    if (entered_.erase(name) != 0)
        renewMap();
}

void ManagerRegistry::enterFallback(const std::string& name, NorthMgrFactory* factory) {
    const MutexLock lock(mutex_);
    fallbacks_[name] = factory;
    renewMap();
}

void ManagerRegistry::leaveFallback(const std::string& name) {
    const MutexLock lock(mutex_);
    if (fallbacks_.erase(name) != 0)
        renewMap();
}

const NorthMgrMap* ManagerRegistry::factories() {
    const MutexLock lock(mutex_);
    if (factoryMaps_.empty())
        return nullptr;
    lastHandedOut_ = true;
    return &factoryMaps_.back();
}

}  // namespace NS_CORBA
