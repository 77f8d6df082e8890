#include "omniorb/requests/trial_encoding.h"

#include <omniORB4/callDescriptor.h>
#include <omniORB4/omniORB.h>

// a request's code set is declared only in the ORB's internal headers, whose order matters
// clang-format off
#include <omniORB4/IOP_S.h>
#include <omniORB4/internal/giopStrand.h>
#include <omniORB4/internal/giopStream.h>
#include <omniORB4/internal/giopStreamImpl.h>
#include <omniORB4/internal/GIOP_S.h>
#include <omniORB4/internal/orbParameters.h>
// clang-format on

namespace kelp::orb {

namespace {

thread_local omni::GIOP_S* requestInHand = nullptr;

/// Return whether texts are converted for the client. A client with this process's own code set
/// needs no trial.
bool isConverted(omni::GIOP_S& request) {
    const omni::omniCodeSet::TCS_C* transmission = request.TCS_C();
    const omni::omniCodeSet::NCS_C* native = omni::orbParameters::nativeCharCodeSet;
    return transmission != nullptr && native != nullptr && transmission->id() != native->id();
}

template <class Write>
void tryWriting(Write write) {
    omni::GIOP_S* const request = requestInHand;
    if (request == nullptr || !request->response_expected() || !isConverted(*request))
        return;
    cdrCountingStream trial(request->TCS_C(), request->TCS_W());
    try {
        write(trial);
    } catch (const CORBA::DATA_CONVERSION& impossible) {
        throw CORBA::DATA_CONVERSION(impossible.minor(), CORBA::COMPLETED_YES);
    }
}

}  // namespace

void TrialEncoding::begin(omni::GIOP_S& request) {
    requestInHand = &request;
}

void TrialEncoding::forget() {
    requestInHand = nullptr;
}

void TrialEncoding::requireWritable(omniCallDescriptor& call) {
    tryWriting([&call](cdrStream& stream) { call.marshalReturnedValues(stream); });
}

void TrialEncoding::requireWritable(const CORBA::UserException& answer) {
    tryWriting([&answer](cdrStream& stream) { answer._NP_marshal(stream); });
}

}  // namespace kelp::orb
