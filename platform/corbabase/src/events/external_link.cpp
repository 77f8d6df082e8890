#include "events/external_link.h"

#include <cos/CosEventComm.h>
#include <kelp/corbabase/trace.h>
#include <kelp/orb/exception_text.h>

#include <utility>

#include "orb/call_failure.h"

namespace NS_CORBA {

namespace {

using kelp::orb::exceptionText;

/// Time limit of the disconnect call, so that a service that does not answer delays nobody.
constexpr std::chrono::milliseconds kFarewellLimit{1000};

void point(int line = __builtin_LINE()) {
    tracePoint("externallink", line);
}

}  // namespace

EventChannelLink::Outcome ExternalLink::handOver(const std::vector<StructuredEventPtr>& events) {
    const BoundedCalls calls(around_.timeout, cancelled_);
    if (!isAtItsPlace() && !connect(calls))
        return Outcome::Unanswered;
    try {
        calls([&] { connection_->push(events); });
        lastRefusal_.clear();
        return Outcome::Accepted;
    } catch (const CosEventComm::Disconnected&) {
        connection_.reset();
        problem("it has disconnected us");
        return Outcome::Unanswered;
    } catch (const CORBA::SystemException& failure) {
        return failed(failure);
    } catch (const CORBA::Exception& failure) {
        refused(exceptionText(failure));
        return Outcome::Refused;
    }
}

EventChannelLink::Outcome ExternalLink::failed(const CORBA::SystemException& failure) {
    const CallFailure kind = kindOf(failure);
    if (kind == CallFailure::Refused) {
        refused(exceptionText(failure));
        return Outcome::Refused;
    }
    if (kind == CallFailure::Gone)
        connection_.reset();
    answers_ = false;
    problem(exceptionText(failure));
    return Outcome::Unanswered;
}

bool ExternalLink::probe() {
    const BoundedCalls calls(around_.timeout, cancelled_);
    if (!isAtItsPlace())
        return connect(calls);
    const bool answered = std::exchange(answers_, isReachable(calls));
    if (answers_)
        return true;
    // perhaps only the connection broke: check our proxy once more before creating another one
    return (!connection_ || !answered) && connect(calls);
}

/// Check our proxy. It is kept while nobody answers, because the service may come back and would
/// then have one proxy too many.
bool ExternalLink::isReachable(const BoundedCalls& calls) {
    try {
        // the rest of the time is needed to find out whether the service has moved
        if (calls.within(around_.timeout / 2, [&] { return connection_->exists(); })) {
            if (!lastProblem_.empty()) {
                point();
                TaTrace("[ExternalLink] The notification service %s answers again.",
                        connection_->address().c_str());
            }
            lastProblem_.clear();
            return true;
        }
        connection_.reset();
    } catch (const CORBA::SystemException& failure) {
        if (kindOf(failure) != CallFailure::Later)
            connection_.reset();
        problem(exceptionText(failure));
    }
    return false;
}

bool ExternalLink::connect(const BoundedCalls& calls) {
    const std::string address = around_.address();
    try {
        std::unique_ptr<SupplierConnection> made =
            SupplierConnection::make(around_.orb.in(), address, calls);
        if (connection_ && connection_->address() != address)
            leave();
        connection_ = std::move(made);
        around_.found(connection_->channel());
        point();
        TaTrace("[ExternalLink] Connected to the notification service %s.", address.c_str());
        lastProblem_.clear();
        answers_ = true;
        return true;
    } catch (const CORBA::Exception& failure) {
        problem(exceptionText(failure));
    } catch (const SupplierConnection::NoChannel& failure) {
        problem(failure.what());
    }
    answers_ = false;
    return false;
}

void ExternalLink::problem(const std::string& why) {
    if (why == lastProblem_)
        return;
    lastProblem_ = why;
    point();
    TaTrace("[ExternalLink] No events reach the notification service %s: %s!",
            around_.address().c_str(), why.c_str());
}

void ExternalLink::refused(const std::string& why) {
    if (why == lastRefusal_)
        return;
    lastRefusal_ = why;
    point();
    TaTrace("[ExternalLink] The notification service %s refuses events: %s!",
            connection_->address().c_str(), why.c_str());
}

void ExternalLink::leave() {
    try {
        const kelp::orb::ScopedThreadTimeout limit(kFarewellLimit);
        connection_->disconnect();
    } catch (const CORBA::Exception& failure) {
        point();
        TaException(failure,
                    "[ExternalLink] The notification service could not be notified of our end!");
    }
    connection_.reset();
}

void ExternalLink::close() {
    if (connection_ && answers_)
        leave();
    connection_.reset();
}

}  // namespace NS_CORBA
