#pragma once

#include <kelp/oplog/log_entry.h>
#include <kelp/orb/forwards.h>
#include <kelp/orb/references.h>
#include <kelp/orb/request.h>

#include <string>

#include "access/oss_access.h"

namespace NS_CORBA {

/// Whether the EMS may call a reference that an NMS brings, by `[access] nms_reference`: its
/// session object, its consumers and callbacks, and where it forwards calls to.
class NmsReferenceCheck final : public kelp::orb::ForwardCheck {
  public:
    explicit NmsReferenceCheck(OssAccess& access) : access_(access) {}

    /// For the request in hand. False is traced and stands in the security log, as this event; the
    /// address is written to `refused`, if given.
    bool allows(CORBA::Object_ptr reference, kelp::oplog::SecurityEvent event,
                std::string* refused = nullptr) const;
    /// Likewise, for what a peer that is called answers.
    bool mayFollow(const kelp::orb::PeerAddress& from,
                   const kelp::orb::Endpoint& to) const override;

  private:
    bool allows(const kelp::orb::Endpoint& endpoint, const kelp::orb::PeerAddress& peer,
                const std::string& rule) const;

    OssAccess& access_;
};

}  // namespace NS_CORBA
