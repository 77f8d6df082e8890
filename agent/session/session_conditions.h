#pragma once

namespace NS_KELPCORBA {

/// Show the operator which NMS do not answer pings, and a loss of events, until
/// leaveSessionConditions(). Called on the host's thread.
void enterSessionConditions();
/// Returns after checks in progress have ended. Harmless when nothing was entered.
void leaveSessionConditions();

}  // namespace NS_KELPCORBA
