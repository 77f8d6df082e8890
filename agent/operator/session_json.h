#pragma once

#include <kelp/admin/registry.h>

#include "history/session_record.h"
#include "operator/session_explanation.h"
#include "operator/session_figures.h"

namespace NS_KELPCORBA {

using kelp::admin::Json;

/// "2025-03-01T12:00:00.123Z"
std::string utcText(UtcMs time);
/// The session with its pings, calls, iterators, events and consumers.
Json jsonOf(const SessionFigures& session);
/// A session that has ended.
Json jsonOf(const SessionRecord& session);
Json jsonOf(const Explanation& explanation);
/// What a consumer gets, as text.
Json jsonOf(const kelp::notification::ConsumerSubscription& subscription);

}  // namespace NS_KELPCORBA
