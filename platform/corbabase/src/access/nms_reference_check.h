#pragma once

#include <kelp/oplog/log_entry.h>
#include <kelp/orb/forwards.h>
#include <kelp/orb/references.h>
#include <kelp/orb/request.h>

#include <string>

#include "access/oss_access.h"

namespace NS_CORBA {

/// Checks by `[access] nms_reference` whether the EMS may call a reference from an NMS: its session
/// object, its consumers and callbacks, and the targets that it forwards calls to.
class NmsReferenceCheck final : public kelp::orb::ForwardCheck {
  public:
    explicit NmsReferenceCheck(OssAccess& access) : access_(access) {}

    /// Check a reference for the current request. A refusal is traced and recorded in the security
    /// log as `event`, and the address is written to `refused` unless that is null.
    bool allows(CORBA::Object_ptr reference, kelp::oplog::SecurityEvent event,
                std::string* refused = nullptr) const;
    /// Check a forward that a called peer answered. A refusal is traced and recorded likewise.
    bool mayFollow(const kelp::util::PeerAddress& from,
                   const kelp::orb::Endpoint& to) const override;

  private:
    bool allows(const kelp::orb::Endpoint& endpoint, const kelp::util::PeerAddress& peer,
                const std::string& rule) const;

    OssAccess& access_;
};

}  // namespace NS_CORBA
