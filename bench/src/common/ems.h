#pragma once

#include <kelp/nms/client.h>
#include <mtnm/emsMgr.h>
#include <mtnm/emsSession.h>
#include <mtnm/managedElementManager.h>

#include <string>
#include <vector>

#include "common/nms_farm.h"
#include "common/product.h"

namespace kelp::bench {

/// A running product from the point of view of its clients.
class Ems {
  public:
    /// Wait until the product accepts log-ins. Throws nms::NmsError.
    Ems(nms::NmsClient& client, const Product& product);

    /// Log in an NMS whose session object has this address. Nothing needs to listen there as long
    /// as the EMS does not ping. Throws CORBA::Exception.
    emsSession::EmsSession_I_ptr logIn(const std::string& nmsAddress) const;
    /// Log in the first `count` NMSs of a farm.
    std::vector<emsSession::EmsSession_I_var> logInAll(const NmsFarm& farm,
                                                       std::size_t count) const;
    CORBA::ORB_ptr orb() const { return client_.orb(); }

  private:
    nms::NmsClient& client_;
    nms::FoundFactory factory_;
};

/// Return the manager "EMS" of a session.
emsMgr::EMSMgr_I_ptr emsManagerOf(emsSession::EmsSession_I_ptr session);
/// Return the manager "ManagedElement" of a session.
managedElementManager::ManagedElementMgr_I_ptr elementManagerOf(
    emsSession::EmsSession_I_ptr session);

}  // namespace kelp::bench
