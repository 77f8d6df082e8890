#include "pull_suppliers.h"

#include <algorithm>

namespace kelp::notification {

namespace {

/// So many events are one reply at most, whatever the consumer asks for.
constexpr CORBA::Long kMostAtOnce = 1000;

CosNotification::EventBatch* batchOf(const std::vector<EventPtr>& events) {
    CosNotification::EventBatch_var batch = new CosNotification::EventBatch;
    batch->length(static_cast<CORBA::ULong>(events.size()));
    for (CORBA::ULong i = 0; i < batch->length(); ++i)
        batch[i] = events[i]->body;
    return batch._retn();
}

/// The event to return beside "there is none".
CosNotification::StructuredEvent* emptyEvent() {
    return new CosNotification::StructuredEvent;
}

}  // namespace

CosNotification::StructuredEvent* StructuredPullSupplier::pull_structured_event() {
    return new CosNotification::StructuredEvent(pull(1, true).front()->body);
}

CosNotification::StructuredEvent* StructuredPullSupplier::try_pull_structured_event(
    CORBA::Boolean_out hasEvent) {
    const std::vector<EventPtr> events = pull(1, false);
    hasEvent = !events.empty();
    return events.empty() ? emptyEvent() : new CosNotification::StructuredEvent(events.front()->body);
}

CosNotification::EventBatch* SequencePullSupplier::pull_structured_events(CORBA::Long most) {
    return batchOf(pull(std::min(most, kMostAtOnce), true));
}

CosNotification::EventBatch* SequencePullSupplier::try_pull_structured_events(CORBA::Long most,
                                                                              CORBA::Boolean_out hasEvent) {
    const std::vector<EventPtr> events = pull(std::min(most, kMostAtOnce), false);
    hasEvent = !events.empty();
    return batchOf(events);
}

CORBA::Any* AnyPullSupplier::pull() {
    return new CORBA::Any(asAny(*pull(1, true).front()));
}

CORBA::Any* AnyPullSupplier::try_pull(CORBA::Boolean_out hasEvent) {
    const std::vector<EventPtr> events = pull(1, false);
    hasEvent = !events.empty();
    return events.empty() ? new CORBA::Any : new CORBA::Any(asAny(*events.front()));
}

}  // namespace kelp::notification
