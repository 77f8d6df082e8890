#pragma once

#include <kelp/inventory/row_ids.h>

#include <functional>

#include "database/connection.h"
#include "rows/outbox.h"

namespace kelp::inventory {

/// Record that every object is deleted: contained objects before those that contain them. CTPs are
/// left out, because TMF 814 has no notification of their deletion.
void recordDeletions(Connection& connection, Outbox& outbox);

/// Delete every object whose row `isKept` does not know, and record it. Foreign keys must be off,
/// because rows are deleted without regard to the rows that refer to them.
void removeOthers(Connection& connection, Outbox& outbox,
                  const std::function<bool(ObjectKind, std::int64_t)>& isKept);

}  // namespace kelp::inventory
