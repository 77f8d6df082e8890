#pragma once

#include <kelp/corbabase/request_interceptor.h>
#include <kelp/util/mutex.h>

#include <atomic>

#include "access/oss_access.h"
#include "access/request_rate.h"
#include "orb/start_barrier.h"

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
class InterceptionAdapter final : public StartBarrier {
  public:
    /// `access` is borrowed.
    explicit InterceptionAdapter(OssAccess& access) : access_(access) {}

    /// Set the interceptor and let waiting requests through. Null refuses requests from here on.
    /// Returns after all calls have left the previous interceptor. Must not be called from inside
    /// an interceptor.
    void set(RequestInterceptorBase* interceptor) KELP_EXCLUDES(mutex_);
    void reset() override KELP_EXCLUDES(mutex_);
    /// Refuse waiting and later requests, whether or not an interceptor is set.
    void refuse() override KELP_EXCLUDES(mutex_);
    /// End refuse() if an interceptor is set.
    void admit() override KELP_EXCLUDES(mutex_);

    void received(const kelp::orb::RequestInfo& request) override;
    void dispatching(const kelp::orb::RequestInfo& request) override;
    void finished(const kelp::orb::RequestInfo& request,
                  const CORBA::Exception* raised) noexcept override;
    void undelivered(const kelp::orb::RequestInfo& request,
                     const CORBA::Exception* answer) noexcept override;

  private:
    enum class Barrier { Waiting, Open, Refusing };

    void limitRate(const kelp::orb::RequestInfo& request);

    RequestInterceptorBase* enter() KELP_EXCLUDES(mutex_);
    void leave() KELP_EXCLUDES(mutex_);
    void waitUntilOpen() KELP_REQUIRES(mutex_);

    bool isOpen() const { return barrier_.load() == Barrier::Open; }

    OssAccess& access_;
    kelp::util::Mutex mutex_{kelp::util::LockRank::Leaf, "InterceptionAdapter::mutex_"};
    kelp::util::ConditionVariable changed_;
    // These are written under mutex_, except for inside_, and read without it, so that requests do
    // not contend for a lock. A request increments inside_ before it reads the barrier. set()
    // closes the barrier before it reads inside_. At least one of them thus sees the other's
    // change.
    std::atomic<Barrier> barrier_{Barrier::Waiting};
    std::atomic<RequestInterceptorBase*> interceptor_{nullptr};
    std::atomic<unsigned> inside_{0};
    RequestRate rate_;
};

}  // namespace NS_CORBA
