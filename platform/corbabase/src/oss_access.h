#pragma once

#include "oss_networks.h"

#include <cstdint>
#include <memory>
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

  private:
    std::shared_ptr<const OssNetworks> current();

    std::mutex mutex_;
    std::vector<std::string>
        entries_;  // what was configured when last looked; these two are guarded by mutex_
    std::shared_ptr<const OssNetworks> networks_ = std::make_shared<OssNetworks>();
};

}  // namespace NS_CORBA
