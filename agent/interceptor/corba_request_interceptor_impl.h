#pragma once

#include <kelp/corbabase/request_interceptor.h>

#include <string>

namespace NS_KELPCORBA {

/// Refuses callers from elsewhere than the allowed OSS networks, and callers of a session's objects
/// from elsewhere than the address that logged in (both NO_PERMISSION), sets every request's thread
/// context, has it recorded in the operation log and, under release strategy 2 or with `[session]
/// call_is_life`, counts it as a sign of life of the NMS whose session it belongs to. Stateless;
/// called on the request's thread, concurrently.
class Corba_Request_InterceptorImpl : public NS_CORBA::RequestInterceptorBase {
  public:
    void receive_request(const kelp::orb::RequestInfo* ri) override;
    void SetThreadContext(const kelp::orb::RequestInfo* ri) override;

  private:
    [[noreturn]] void refuse(const kelp::orb::RequestInfo* ri);
    /// Lets a call on a session's object pass only from where its NMS logged in.
    static void requireSessionsOwn(const kelp::orb::RequestInfo& ri);
    /// Tells the sessions of that client that their NMS has called, and those who wait for it if
    /// that counts.
    void tellSessions(const std::string& clientKey, bool isActivity);
};

}  // namespace NS_KELPCORBA
