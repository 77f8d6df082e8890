#include "oss_access.h"

#include <kelp/bundlemgr/config_store.h>
#include <kelp/corbabase/trace.h>

namespace NS_CORBA {

namespace {

std::vector<std::string> configuredEntries() {
    return NS_BUNDLEMGR1::ConfigStore::instance().texts("access.allowed_oss");
}

}  // namespace

bool OssAccess::read(std::string& whyNot) {
    std::vector<std::string> entries = configuredEntries();
    const auto parsed = std::make_shared<OssNetworks>();
    const bool readable = parsed->parse(entries, whyNot);
    const std::lock_guard guard(mutex_);
    entries_ = std::move(entries);
    if (readable)
        networks_ = parsed;
    return readable;
}

bool OssAccess::allowsIpv4(std::uint32_t address) {
    return current()->containsIpv4(address);
}

bool OssAccess::allowsIpv6(const std::string& address) {
    return current()->containsIpv6(address);
}

std::shared_ptr<const OssNetworks> OssAccess::current() {
    const std::vector<std::string> entries = configuredEntries();
    {
        const std::lock_guard guard(mutex_);
        if (entries == entries_)
            return networks_;
    }
    std::string whyNot;
    if (!read(whyNot)) {
        GetTss()->Set("ossaccess", "unknown", __LINE__);
        TaTrace(
            "[CorbaBaseAgentConfig::IsValidOssIP] access.allowed_oss: %s! The networks from before still "
            "hold.",
            whyNot.c_str());
    }
    const std::lock_guard guard(mutex_);
    return networks_;
}

}  // namespace NS_CORBA
