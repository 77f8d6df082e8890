#pragma once

#include <kelp/users/oss_networks.h>
#include <kelp/util/mutex.h>

#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

#include "orb/published.h"

namespace NS_CORBA {

/// The configured OSS networks. Follows re-reads of the configuration. Any thread may call it; a
/// query takes a lock only for the first time after a re-read.
class OssAccess {
  public:
    /// Read the configured networks. False, with the reason, keeps the previous ones.
    bool read(std::string& whyNot) KELP_EXCLUDES(mutex_);
    bool allowsIpv4(std::uint32_t address);
    bool allowsIpv6(const std::string& address);
    bool allows(const kelp::util::PeerAddress& peer);
    /// Whether the host name itself is listed. Names are compared as they are, without being
    /// resolved.
    bool allowsHostName(const std::string& name);

  private:
    struct Allowed {
        kelp::users::OssNetworks networks;
        std::vector<std::string> hostNames;
        bool operator==(const Allowed&) const = default;
    };

    bool readLocked(std::string& whyNot) KELP_REQUIRES(mutex_);
    const Allowed& current() KELP_EXCLUDES(mutex_);
    bool isRead() const;

    /// Held while the configuration is read.
    kelp::util::Mutex mutex_{kelp::util::LockRank::ServiceControl, "OssAccess::mutex_"};
    std::atomic<std::uint64_t> generation_{0};  // of the configuration read last
    Published<Allowed> allowed_;
};

}  // namespace NS_CORBA
