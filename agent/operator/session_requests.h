#pragma once

namespace NS_KELPCORBA {

/// Open the history of ended sessions, as configured. Called before the first log-in.
void openSessionHistory();
/// Write what waits and close the history. Called after the last session's end, while the channel
/// exists.
void closeSessionHistory();

/// Answer the operator's requests about sessions until leaveSessionRequests(): /sessions,
/// /sessions/*, /sessions/ended and /drain. Called on the host's thread.
void enterSessionRequests();
/// Returns after requests in progress, and ends a drain. Harmless when nothing was entered.
void leaveSessionRequests();

}  // namespace NS_KELPCORBA
