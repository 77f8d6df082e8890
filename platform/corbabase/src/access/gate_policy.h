#pragma once

#include <kelp/orb/gate.h>

#include <string_view>

#include "access/oss_access.h"

namespace NS_CORBA {

/// Answers the gate's questions about callers: allowed networks and live log-ins. Writes the gate's
/// refusals to the security log, floods of them as one record a minute.
class GatePolicy final : public kelp::orb::GatePolicy {
  public:
    explicit GatePolicy(OssAccess& access) : access_(access) {}

    bool admits(const kelp::util::PeerAddress& peer) override;
    bool isLoggedIn(const kelp::util::PeerAddress& peer) override;
    void refused(const kelp::util::PeerAddress& peer, std::string_view reason) override;
    void ended(const kelp::util::PeerAddress& peer) override;

  private:
    OssAccess& access_;
};

}  // namespace NS_CORBA
