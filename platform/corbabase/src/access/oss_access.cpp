#include "access/oss_access.h"

#include <kelp/bundlemgr/config_store.h>
#include <kelp/corbabase/trace.h>
#include <kelp/util/host_name.h>

#include <algorithm>
#include <utility>

namespace NS_CORBA {

using kelp::util::MutexLock;

bool OssAccess::read(std::string& whyNot) {
    const MutexLock guard(mutex_);
    return readLocked(whyNot);
}

bool OssAccess::readLocked(std::string& whyNot) {
    const NS_BUNDLEMGR1::ConfigStore& config = NS_BUNDLEMGR1::ConfigStore::instance();
    // read the generation first: a change during the reading then causes another one
    const std::uint64_t generation = config.generation();
    std::vector<std::string> networks = config.texts("access.allowed_oss");
    const auto names = std::stable_partition(
        networks.begin(), networks.end(),
        [](const std::string& each) { return !kelp::util::isHostName(each); });
    Allowed read;
    read.hostNames.assign(names, networks.end());
    networks.erase(names, networks.end());
    const bool isUsable = read.networks.parse(networks, whyNot);
    if (isUsable)
        allowed_.publish(std::move(read));
    // set last: whoever sees the new generation also sees the networks
    generation_ = generation;
    return isUsable;
}

bool OssAccess::allowsIpv4(std::uint32_t address) {
    return current().networks.containsIpv4(address);
}

bool OssAccess::allowsIpv6(const std::string& address) {
    return current().networks.containsIpv6(address);
}

bool OssAccess::allows(const kelp::util::PeerAddress& peer) {
    return current().networks.contains(peer);
}

bool OssAccess::allowsHostName(const std::string& name) {
    const std::vector<std::string>& hostNames = current().hostNames;
    return std::any_of(hostNames.begin(), hostNames.end(), [&](const std::string& each) {
        return kelp::util::isSameHostName(each, name);
    });
}

bool OssAccess::isRead() const {
    return generation_ == NS_BUNDLEMGR1::ConfigStore::instance().generation();
}

const OssAccess::Allowed& OssAccess::current() {
    static const Allowed nobody;
    if (!isRead()) {
        const MutexLock guard(mutex_);
        std::string whyNot;
        // another request may have read them meanwhile
        if (!isRead() && !readLocked(whyNot)) {
            tracePoint("ossaccess");
            TaTrace(
                "[CorbaBaseAgentConfig::IsValidOssIP] access.allowed_oss: %s! The networks from "
                "before still "
                "hold.",
                whyNot.c_str());
        }
    }
    const Allowed* const allowed = allowed_.get();
    return allowed == nullptr ? nobody : *allowed;
}

}  // namespace NS_CORBA
