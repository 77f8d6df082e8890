#pragma once

namespace NS_KELPCORBA {

/// Offer the figures of sessions as metrics, and the iterators as a part, until
/// leaveSessionMetrics(). Called on the host's thread.
void enterSessionMetrics();
/// Returns after requests in progress have ended. Harmless when nothing was entered.
void leaveSessionMetrics();

}  // namespace NS_KELPCORBA
