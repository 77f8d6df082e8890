#pragma once

#include <kelp/corbabase/request_interceptor.h>
#include <kelp/orb/request.h>

#include <atomic>
#include <condition_variable>
#include <mutex>

#include "access/caller_standing.h"

namespace NS_CORBA {

/// Between the ORB's request hook and the agent's interceptor. Requests wait until an interceptor
/// is set, pass it then, and are refused with TRANSIENT after it was taken out. Each leaves its
/// record: in the security log if the interceptor refused it or its caller's address may not call,
/// in the operation log if the interceptor wants one or no servant was reached.
///
/// An address without a log-in that makes more requests than [access] allows is refused with
/// TRANSIENT
/// ("request discarded because of resource exhaustion", OMG minor code 1) before anything else is
/// done: the caller may try again, and unlike after NO_RESOURCES it knows that nothing is wrong
/// with its request. Such a refusal is recorded in the security log alone.
class InterceptionAdapter final : public kelp::orb::RequestHook {
  public:
    /// Sets the interceptor and lets waiting requests through; null refuses requests from here on.
    /// Returns after the calls running inside the former interceptor have left it. Not to be called
    /// from inside an interceptor.
    void set(RequestInterceptorBase* interceptor);
    /// Back to the beginning: requests wait. For a newly started ORB.
    void reset();
    /// Refuses the requests that wait and those still to come, whether or not an interceptor is
    /// set.
    void refuse();
    /// Ends refuse() when an interceptor is set.
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
    // Written under mutex_ (inside_ excepted) and read without it, so that requests do not meet at
    // a lock. A request counts itself in before it looks at the gate, and set() closes the gate
    // before it looks at the count: one of them sees the other.
    std::atomic<Gate> gate_{Gate::Waiting};
    std::atomic<RequestInterceptorBase*> interceptor_{nullptr};
    std::atomic<unsigned> inside_{0};
    RequestRate rate_;
};

}  // namespace NS_CORBA
