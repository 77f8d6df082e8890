#include "pull_suppliers.h"

#include <algorithm>

namespace kelp::notification {

namespace {

CosNotification::EventBatch* batchOf(const std::vector<EventPtr>& events) {
    CosNotification::EventBatch_var batch = new CosNotification::EventBatch;
    batch->length(static_cast<CORBA::ULong>(events.size()));
    for (CORBA::ULong i = 0; i < batch->length(); ++i)
        batch[i] = events[i]->decoded();
    return batch._retn();
}

/// The event returned with hasEvent = false.
CosNotification::StructuredEvent* emptyEvent() {
    return new CosNotification::StructuredEvent;
}

}  // namespace

CosNotification::StructuredEvent* StructuredPullSupplier::pull_structured_event() {
    return new CosNotification::StructuredEvent(pull(1, true).front()->decoded());
}

CosNotification::StructuredEvent* StructuredPullSupplier::try_pull_structured_event(
    CORBA::Boolean_out hasEvent) {
    const std::vector<EventPtr> events = pull(1, false);
    hasEvent = !events.empty();
    return events.empty() ? emptyEvent()
                          : new CosNotification::StructuredEvent(events.front()->decoded());
}

CosNotification::EventBatch* SequencePullSupplier::pull_structured_events(CORBA::Long most) {
    return batchOf(pullBatch(most, true));
}

CosNotification::EventBatch* SequencePullSupplier::try_pull_structured_events(
    CORBA::Long most, CORBA::Boolean_out hasEvent) {
    const std::vector<EventPtr> events = pullBatch(most, false);
    hasEvent = !events.empty();
    return batchOf(events);
}

std::vector<EventPtr> SequencePullSupplier::pullBatch(CORBA::Long most, bool wait) {
    return pull(std::min<CORBA::Long>(most, path()->qos.get().maximumBatchSize), wait);
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
