#include "oss_access.h"

#include <kelp/bundlemgr/config_store.h>
#include <kelp/corbabase/trace.h>
#include <kelp/util/host_name.h>

#include <algorithm>
#include <utility>

namespace NS_CORBA {

bool OssAccess::read(std::string& whyNot) {
    const NS_BUNDLEMGR1::ConfigStore& config = NS_BUNDLEMGR1::ConfigStore::instance();
    const std::lock_guard guard(mutex_);
    // first: what changes meanwhile is then read next time
    generation_ = config.generation();
    std::vector<std::string> networks = config.texts("access.allowed_oss");
    const auto names = std::stable_partition(networks.begin(), networks.end(), [](const std::string& each) {
        return !kelp::util::isHostName(each);
    });
    std::vector<std::string> hostNames(names, networks.end());
    networks.erase(names, networks.end());
    OssNetworks read;
    if (!read.parse(networks, whyNot))
        return false;
    networks_ = std::move(read);
    hostNames_ = std::move(hostNames);
    return true;
}

bool OssAccess::allowsIpv4(std::uint32_t address) {
    readWhenChanged();
    const std::lock_guard guard(mutex_);
    return networks_.containsIpv4(address);
}

bool OssAccess::allowsIpv6(const std::string& address) {
    readWhenChanged();
    const std::lock_guard guard(mutex_);
    return networks_.containsIpv6(address);
}

bool OssAccess::allows(const kelp::orb::PeerAddress& peer) {
    readWhenChanged();
    const std::lock_guard guard(mutex_);
    return networks_.contains(peer);
}

bool OssAccess::allowsHostName(const std::string& name) {
    readWhenChanged();
    const std::lock_guard guard(mutex_);
    return std::any_of(hostNames_.begin(), hostNames_.end(),
                       [&](const std::string& each) { return kelp::util::isSameHostName(each, name); });
}

void OssAccess::readWhenChanged() {
    {
        const std::lock_guard guard(mutex_);
        if (generation_ == NS_BUNDLEMGR1::ConfigStore::instance().generation())
            return;
    }
    std::string whyNot;
    if (!read(whyNot)) {
        GetTss()->Set("ossaccess", "unknown", __LINE__);
        TaTrace(
            "[CorbaBaseAgentConfig::IsValidOssIP] access.allowed_oss: %s! The networks from before still "
            "hold.",
            whyNot.c_str());
    }
}

}  // namespace NS_CORBA
