#include "reference_creation.h"

#include <omniORB4/CORBA.h>
#include <omniORB4/omniInterceptors.h>

#include "omniorb/requests/interceptor_list.h"

namespace kelp::orb {

namespace {

using Interceptors = omni::omniInterceptors;

/// Choose the profile that the ORB itself would choose: the first IIOP profile.
void chooseProfile(omniIOR& ior) {
    const IOP::TaggedProfileList& profiles = ior.iopProfiles();
    for (CORBA::ULong i = 0; i < profiles.length() && ior.addr_selected_profile_index() < 0; ++i) {
        if (profiles[i].tag == IOP::TAG_INTERNET_IOP)
            ior.addr_selected_profile_index(static_cast<_CORBA_Long>(i));
    }
}

/// Decode the reference before the ORB does, which then finds it decoded. When decoding fails,
/// release it once more: the ORB has counted one reference more than it releases.
CORBA::Boolean onIdentity(Interceptors::createIdentity_T::info_T& info) {
    try {
        chooseProfile(*info.ior);
        info.ior->getIORInfo();
    } catch (...) {
        info.ior->release();
        throw;
    }
    return true;
}

}  // namespace

void freeBrokenReferences() {
    addOnce(omniORB::getInterceptors()->createIdentity, onIdentity);
}

}  // namespace kelp::orb
