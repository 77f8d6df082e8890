#pragma once

#include <kelp/orb/request.h>
#include <kelp/util/export.h>

#include <exception>

namespace NS_CORBA {

/// Thrown for a call on a session's object from an address that may not use it. The caller gets
/// NO_PERMISSION.
class KELP_EXPORT ForeignSessionCall : public std::exception {
  public:
    const char* what() const noexcept override;
};

/// The agent's check of every request before its servant runs. Called concurrently, each time on
/// the thread of the request. The order of the virtual operations is the contract with the agent.
class KELP_EXPORT RequestInterceptorBase {
  public:
    virtual ~RequestInterceptorBase();
    /// May throw ForeignSessionCall or a system exception; the caller gets the exception.
    /// NO_PERMISSION means that the caller's address may not call at all. After any other exception
    /// the request is recorded as one that reached no servant.
    virtual void receive_request(const kelp::orb::RequestInfo* ri) = 0;
    virtual void SetThreadContext(const kelp::orb::RequestInfo* ri) = 0;
};

}  // namespace NS_CORBA
