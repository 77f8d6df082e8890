#pragma once

#include "oss_networks.h"

#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

namespace NS_CORBA {

/// The configured OSS networks, following the configuration's re-reads. Callable from any thread.
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
    void readWhenChanged();

    std::mutex mutex_;              // guards what follows
    std::uint64_t generation_ = 0;  // of the configuration that was read last
    OssNetworks networks_;
    std::vector<std::string> hostNames_;
};

}  // namespace NS_CORBA
