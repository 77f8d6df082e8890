#pragma once

#include <kelp/corbabase/request_interceptor.h>
#include <kelp/orb/request.h>

#include <atomic>
#include <condition_variable>
#include <mutex>

#include "access/caller_standing.h"

namespace NS_CORBA {

/// Connects the ORB's request hook to the agent's interceptor. Requests wait until an interceptor
/// is set, then pass it. After it was removed they are refused with TRANSIENT. Each request leaves
/// its record: in the security log if the interceptor refused it or its caller's address may not
/// call, in the operation log if the interceptor wants a record or no servant was reached.
///
/// Requests from an address without a log-in that exceed the limit in [access] are refused before
/// anything else is done, with TRANSIENT ("request discarded because of resource exhaustion", OMG
/// minor code 1). TRANSIENT tells the caller to try again; NO_RESOURCES would suggest an error in
/// the request. Such a refusal is recorded in the security log only.
class InterceptionAdapter final : public kelp::orb::RequestHook {
  public:
    /// Set the interceptor and let waiting requests through. Null refuses requests from here on.
    /// Returns after all calls have left the previous interceptor. Must not be called from inside
    /// an interceptor.
    void set(RequestInterceptorBase* interceptor);
    /// Return to the initial state, in which requests wait. For a newly started ORB.
    void reset();
    /// Refuse waiting and later requests, whether or not an interceptor is set.
    void refuse();
    /// End refuse() if an interceptor is set.
    void admit();

    void received(const kelp::orb::RequestInfo& request) override;
    void dispatching(const kelp::orb::RequestInfo& request) override;
    void finished(const kelp::orb::RequestInfo& request,
                  const CORBA::Exception* raised) noexcept override;
    void undelivered(const kelp::orb::RequestInfo& request,
                     const CORBA::Exception* answer) noexcept override;

  private:
    enum class Gate { Waiting, Open, Refusing };

    void limitRate(const kelp::orb::RequestInfo& request);

    RequestInterceptorBase* enter();
    void leave();
    void waitUntilOpen(std::unique_lock<std::mutex>& lock);

    bool isOpen() const { return gate_.load() == Gate::Open; }

    std::mutex mutex_;
    std::condition_variable changed_;
    // These are written under mutex_, except for inside_, and read without it, so that requests do
    // not contend for a lock. A request increments inside_ before it reads the gate. set() closes
    // the gate before it reads inside_. At least one of them thus sees the other's change.
    std::atomic<Gate> gate_{Gate::Waiting};
    std::atomic<RequestInterceptorBase*> interceptor_{nullptr};
    std::atomic<unsigned> inside_{0};
    RequestRate rate_;
};

}  // namespace NS_CORBA
