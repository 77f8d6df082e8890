#pragma once

#include <kelp/corbabase/request_interceptor.h>

#include <string>

namespace NS_KELPCORBA {

/// Checks and records every request before it is served. It rejects callers outside the allowed OSS
/// networks, and callers of a session's objects from another address than the one that logged in
/// (both NO_PERMISSION). It sets the thread context and writes the operation log. Under release
/// strategy 2, or with `[session] call_is_life`, it also counts the request as a sign of life of
/// the session's NMS. Stateless. Called on the threads of the requests, concurrently.
class Corba_Request_InterceptorImpl : public NS_CORBA::RequestInterceptorBase {
  public:
    void receive_request(const kelp::orb::RequestInfo* ri) override;
    void SetThreadContext(const kelp::orb::RequestInfo* ri) override;

  private:
    [[noreturn]] void refuse(const kelp::orb::RequestInfo* ri);
    /// Reject a call on a session's object unless it comes from the address that logged in.
    static void requireSessionsOwn(const kelp::orb::RequestInfo& ri);
    /// Record in the sessions of that client that their NMS has called. With `isActivity` also wake
    /// the threads that wait for a call.
    void tellSessions(const std::string& clientKey, bool isActivity);
};

}  // namespace NS_KELPCORBA
