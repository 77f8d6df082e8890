#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include "orb/published.h"
#include "users/oss_networks.h"

namespace NS_CORBA {

/// The configured OSS networks, following the configuration's re-reads. Callable from any thread;
/// asking takes no lock unless the configuration was read again.
class OssAccess {
  public:
    /// Takes over what is configured. False, with the reason, keeps the networks that hold.
    bool read(std::string& whyNot);
    bool allowsIpv4(std::uint32_t address);
    bool allowsIpv6(const std::string& address);
    bool allows(const kelp::orb::PeerAddress& peer);
    /// For host names, which are compared as they stand: only those that are listed themselves.
    bool allowsHostName(const std::string& name);

  private:
    struct Allowed {
        OssNetworks networks;
        std::vector<std::string> hostNames;
        bool operator==(const Allowed&) const = default;
    };

    bool readLocked(std::string& whyNot);
    const Allowed& current();
    bool isRead() const;

    std::mutex mutex_;                          // one reading at a time
    std::atomic<std::uint64_t> generation_{0};  // of the configuration that was read last
    Published<Allowed> allowed_;
};

}  // namespace NS_CORBA
