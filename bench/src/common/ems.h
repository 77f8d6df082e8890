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

/// A product as its clients see it.
class Ems {
  public:
    /// Waits until it takes log-ins. Throws nms::NmsError.
    Ems(nms::NmsClient& client, const Product& product);

    /// Logs in the NMS whose own object is said to be at this address; nothing has to be there as
    /// long as the EMS does not ping. Throws CORBA::Exception.
    emsSession::EmsSession_I_ptr logIn(const std::string& nmsAddress) const;
    /// Logs in the first NMS of a farm.
    std::vector<emsSession::EmsSession_I_var> logInAll(const NmsFarm& farm,
                                                       std::size_t count) const;
    CORBA::ORB_ptr orb() const { return client_.orb(); }

  private:
    nms::NmsClient& client_;
    nms::FoundFactory factory_;
};

/// The manager "EMS" of a session.
emsMgr::EMSMgr_I_ptr emsManagerOf(emsSession::EmsSession_I_ptr session);
/// Its manager "ManagedElement".
managedElementManager::ManagedElementMgr_I_ptr elementManagerOf(
    emsSession::EmsSession_I_ptr session);

}  // namespace kelp::bench
