#pragma once

#include <kelp/orb/request.h>
#include <kelp/util/export.h>

namespace NS_CORBA {

/// What the agent does with every request before its servant runs; called on the request's thread,
/// concurrently. The order of the virtual operations is the contract with the agent.
class KELP_EXPORT RequestInterceptorBase {
  public:
    virtual ~RequestInterceptorBase();
    /// May throw CORBA::NO_PERMISSION, which the caller gets.
    virtual void receive_request(const kelp::orb::RequestInfo* ri) = 0;
    virtual void SetThreadContext(const kelp::orb::RequestInfo* ri) = 0;
};

}  // namespace NS_CORBA
