#include "requests/interception_adapter.h"

#include <kelp/corbabase/trace.h>
#include <kelp/util/thread_context.h>
#include <kelp/util/thread_work.h>

#include <chrono>
#include <exception>

#include "access/caller_standing.h"
#include "access/connection_log_ins.h"
#include "requests/request_recording.h"

namespace NS_CORBA {

using kelp::util::MutexLock;

RequestInterceptorBase::~RequestInterceptorBase() = default;

const char* ForeignSessionCall::what() const noexcept {
    return "the session is not the caller's";
}

void InterceptionAdapter::set(RequestInterceptorBase* interceptor) {
    const MutexLock lock(mutex_);
    barrier_ = interceptor != nullptr ? Barrier::Waiting : Barrier::Refusing;
    changed_.notify_all();
    while (inside_ != 0)
        changed_.wait(mutex_);
    // not earlier: a request that passed the open barrier reads it without the lock
    interceptor_ = nullptr;
    if (interceptor != nullptr) {
        interceptor_ = interceptor;
        barrier_ = Barrier::Open;
        changed_.notify_all();
    }
}

void InterceptionAdapter::reset() {
    const MutexLock guard(mutex_);
    barrier_ = Barrier::Waiting;
    interceptor_ = nullptr;
    rate_.reset();
}

void InterceptionAdapter::refuse() {
    const MutexLock guard(mutex_);
    barrier_ = Barrier::Refusing;
    changed_.notify_all();
}

void InterceptionAdapter::admit() {
    const MutexLock guard(mutex_);
    if (interceptor_ != nullptr)
        barrier_ = Barrier::Open;
    changed_.notify_all();
}

void InterceptionAdapter::received(const kelp::orb::RequestInfo& request) {
    if (barrier_.load() == Barrier::Refusing)
        throw CORBA::TRANSIENT();
    const bool isLoggedIn = CallerStanding::arrive(request);
    try {
        if (!isLoggedIn)
            limitRate(request);
        if (isOpen())
            return;
        const MutexLock lock(mutex_);
        waitUntilOpen();
    } catch (const CORBA::SystemException&) {
        CallerStanding::leave();
        throw;
    }
}

void InterceptionAdapter::limitRate(const kelp::orb::RequestInfo& request) {
    if (rate_.admits(request.peer(), std::chrono::steady_clock::now()))
        return;
    RequestRecording::writeTooMany(request);
    throw CORBA::TRANSIENT(CORBA::OMGVMCID | 1, CORBA::COMPLETED_NO);
}

void InterceptionAdapter::dispatching(const kelp::orb::RequestInfo& request) {
    struct Visit {
        explicit Visit(InterceptionAdapter& entered)
            : adapter(entered), interceptor(entered.enter()) {}
        ~Visit() { adapter.leave(); }
        InterceptionAdapter& adapter;
        RequestInterceptorBase* interceptor;
    };
    const Visit visit(*this);
    const auto refused = [] {
        NS_UTIL::ThreadContextMgr::Instance()->ClearThreadContext();
        RequestRecording::drop();
        kelp::util::endRequestWork();
        CallerStanding::leave();
    };
    RequestRecording::begin();
    kelp::util::beginRequestWork(request.operationName(), request.peer().withPort);
    try {
        visit.interceptor->receive_request(&request);
        if (RequestRecording::isOfSession(request)) {
            ConnectionLogIns::Instance().Called(request);
            if (!CallerStanding::isLoggedIn(request)) {
                CallerStanding::knowsSession();
                rate_.giveBack(request.peer());
            }
        }
    } catch (const ForeignSessionCall&) {
        const CORBA::NO_PERMISSION refusal(0, CORBA::COMPLETED_NO);
        RequestRecording::writeForeign(request, refusal);
        refused();
        throw refusal;
    } catch (const CORBA::NO_PERMISSION& refusal) {
        RequestRecording::writeRefused(request, &refusal);
        refused();
        throw;
    } catch (const CORBA::Exception& answer) {
        RequestRecording::writeUndelivered(request, &answer);
        refused();
        throw;
    } catch (const std::exception& failure) {
        tracePoint("interceptionadapter");
        TaTrace("[InterceptionAdapter::dispatching] The request interceptor failed: %s",
                failure.what());
        refused();
        throw CORBA::INTERNAL();
    }
}

void InterceptionAdapter::finished(const kelp::orb::RequestInfo& request,
                                   const CORBA::Exception* raised) noexcept {
    NS_UTIL::ThreadContextMgr::Instance()->ClearThreadContext();
    kelp::util::endRequestWork();
    RequestRecording::end(request, raised);
    CallerStanding::leave();
}

void InterceptionAdapter::undelivered(const kelp::orb::RequestInfo& request,
                                      const CORBA::Exception* answer) noexcept {
    // only the notification channel refuses before a servant: callers who are not logged in, and
    // callers who want another NMS's objects
    const bool isAllowed = access_.allows(request.peer());
    const bool isRefused = CORBA::NO_PERMISSION::_downcast(answer) != nullptr;
    if (isAllowed && isRefused && CallerStanding::isLoggedIn(request))
        RequestRecording::writeNotOwn(request, *answer);
    else if (isRefused || !isAllowed)
        RequestRecording::writeRefused(request, answer);
    else
        RequestRecording::writeUndelivered(request, answer);
    CallerStanding::leave();
}

RequestInterceptorBase* InterceptionAdapter::enter() {
    ++inside_;
    if (isOpen())
        return interceptor_;
    leave();
    const MutexLock lock(mutex_);
    waitUntilOpen();
    ++inside_;
    return interceptor_;
}

void InterceptionAdapter::leave() {
    if (--inside_ != 0 || isOpen())
        return;
    // under the lock: set() either has not checked inside_ yet or is already waiting
    const MutexLock guard(mutex_);
    changed_.notify_all();
}

void InterceptionAdapter::waitUntilOpen() {
    while (barrier_ == Barrier::Waiting)
        changed_.wait(mutex_);
    if (barrier_ == Barrier::Refusing)
        throw CORBA::TRANSIENT();
}

}  // namespace NS_CORBA
