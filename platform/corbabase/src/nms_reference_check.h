#pragma once

#include <kelp/orb/references.h>
#include <kelp/orb/request.h>

#include <string>

#include "oss_access.h"

namespace NS_CORBA {

/// Whether the EMS may call back the reference that an NMS logs in with, by `[access] nms_reference`.
class NmsReferenceCheck {
  public:
    explicit NmsReferenceCheck(OssAccess& access) : access_(access) {}

    /// For the request in hand. False is traced and stands in the security log.
    bool allows(CORBA::Object_ptr reference) const;

  private:
    bool allows(const kelp::orb::Endpoint& endpoint, const kelp::orb::PeerAddress& peer,
                const std::string& rule) const;

    OssAccess& access_;
};

}  // namespace NS_CORBA
